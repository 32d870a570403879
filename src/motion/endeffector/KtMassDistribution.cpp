#include "motion/endeffector/KtMassDistribution.h"

KtReal KtMassDistribution::centerOfMass(const KtIndividualManipulator& manipulator,
                                        KtManipulatorActiveState& state, Kt::Vector& center) {
  KtReal total = 0.0;
  Kt::Vector firstMoment;
  forEachBody(manipulator, state, [&](const KtManipulatorLink& link, const Kt::Vector& bodyCenter) {
    total += link.massProperties().mass();
    firstMoment += bodyCenter * link.massProperties().mass();
  });
  center = total > 0.0 ? firstMoment / total : Kt::Vector();
  return total;
}

bool KtMassDistribution::centerOfMassMotion(const KtIndividualManipulator& manipulator,
                                            KtManipulatorActiveState& state,
                                            const KtManipulatorLink* reference, Kt::Vector& velocity,
                                            Kt::Vector& acceleration) {
  KtReal total = 0.0;
  Kt::Vector momentum, force, firstMoment;
  forEachBody(manipulator, state, [&](const KtManipulatorLink& link, const Kt::Vector& center) {
    KtGeneralMotion v, a;
    link.comVelocityInLocal(state, v);
    link.comAccelerationInLocal(state, a);
    const Kt::Orientation& toSystem = link.dhFrameInSystem(state).orientation();
    const KtReal mass = link.massProperties().mass();
    total += mass;
    firstMoment += center * mass;
    momentum += toSystem * v.linear() * mass;
    force += toSystem * a.linear() * mass;
  });
  if (!(total > 0.0)) return false;
  velocity = momentum / total;
  acceleration = force / total;
  if (reference == nullptr) return true;
  // The reference point p moves as a point of its link: v + w × r and a + α × r + w × (w × r).
  KtGeneralMotion frameVelocity, localAcceleration;
  reference->dhFrameVelocityInSystem(state, frameVelocity);
  reference->dhFrameAccelerationInLocal(state, localAcceleration);
  const Kt::coordinateSystemTransformation& frame = reference->dhFrameInSystem(state);
  const Kt::Vector r = firstMoment / total - frame.translation();
  const Kt::Vector& w = frameVelocity.angular();
  velocity -= frameVelocity.linear() + w.cross(r);
  acceleration -= frame.orientation() * localAcceleration.linear() +
                  (frame.orientation() * localAcceleration.angular()).cross(r) + w.cross(w.cross(r));
  return true;
}
