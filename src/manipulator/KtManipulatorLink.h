#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "foundation/Types.h"
#include "manipulator/KtDenavitHartenberg.h"
#include "manipulator/KtLinkKinematics.h"
#include "manipulator/KtMassProperties.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlKeptElement.h"
#include "xml/KtXmlVariableVectorType.h"
#include "xml/KtXmlVectorType.h"

class KtIndividualManipulator;
class KtManipulatorActivePositionState;
class KtManipulatorActiveState;
struct KtLinkFrames;
struct KtLinkMotion;

// One link of a manipulator's tree: its label, its joint kinematics, its child links (the
// tree is stored by nesting), its joint limits, its mass model, and the elements that geometry
// and dynamics interpret (kept unchanged here).
//
// Within its manipulator a link has an index: the links are numbered in depth-first
// pre-order (a link before its children, children in their stored order), starting at 0;
// joint i belongs to link i. The manipulator itself is its own base link, index -2. The
// manipulator sets the indices and parent links whenever its tree changes, which is why the
// tree is changed only through the manipulator.
class KtManipulatorLink : public KtXmlCloneable<KtManipulatorLink, KtXmlCompoundType> {
 public:
  static constexpr int kBaseLinkIndex = -2;
  static constexpr int kNoIndex = -1;

  KtManipulatorLink();
  // A copy belongs to no manipulator until one adopts it.
  KtManipulatorLink(const KtManipulatorLink& other);
  KtManipulatorLink& operator=(const KtManipulatorLink&) = delete;
  ~KtManipulatorLink() override;

  const KtToken& elementToken() const override;
  bool read(KtXmlReader& reader) override;

  const std::string& identifier() const { return m_identifier; }
  void setIdentifier(const std::string& identifier) { m_identifier = identifier; }

  const KtLinkKinematics& kinematics() const { return m_kinematicsContainer[0]; }
  KtLinkKinematics& kinematics() { return m_kinematicsContainer[0]; }
  // The kinematics as Denavit-Hartenberg joint, or null when it is of another kind.
  KtDenavitHartenberg* denavitHartenberg() { return dynamic_cast<KtDenavitHartenberg*>(&kinematics()); }
  const KtDenavitHartenberg* denavitHartenberg() const {
    return dynamic_cast<const KtDenavitHartenberg*>(&kinematics());
  }
  void setKinematics(std::unique_ptr<KtLinkKinematics> kinematics);

  std::size_t childCount() const { return m_childLinks.size(); }
  const KtManipulatorLink& child(std::size_t index) const { return m_childLinks[index]; }

  KtReal upperLimitConstraint() const { return m_upperLimitConstraint; }
  KtReal lowerLimitConstraint() const { return m_lowerLimitConstraint; }
  // Limits must satisfy lower <= upper, be no NaN, and use an infinity only on its own side
  // (-inf below, +inf above: unlimited). Otherwise a message, false, and nothing changes.
  bool setJointLimits(KtReal lower, KtReal upper);
  bool isDeformable() const { return m_isDeformable; }

  // The place of the link in its manipulator (see above).
  int linkIndex() const { return m_linkIndex; }
  const KtManipulatorLink* parentLink() const { return m_parent; }
  const KtIndividualManipulator* manipulator() const { return m_manipulator; }

  // Frames of the link in system coordinates for the state, computed on demand toward the
  // base and cached in the state's link records. Out of range: a message and the identity.
  virtual const Kt::coordinateSystemTransformation& dhFrameInSystem(KtManipulatorActiveState& state) const;
  const Kt::coordinateSystemTransformation& primaryFrameInSystem(KtManipulatorActiveState& state) const;

  // Motions of the link for the state's position and velocity states, computed on demand
  // toward the base and cached in the state's link motion records. Linear parts are those of
  // the named frame's origin; "InSystem" gives system axes, "InLocal" the D-H frame's axes.
  // Accelerations are those that the velocities alone cause: no joint accelerates and the base
  // moves at constant velocity. Out of range: a message, a zero motion and false.
  bool dhFrameVelocityInSystem(KtManipulatorActiveState& state, KtGeneralMotion& velocity) const;
  bool dhFrameVelocityInLocal(KtManipulatorActiveState& state, KtGeneralMotion& velocity) const;
  bool primaryFrameVelocityInSystem(KtManipulatorActiveState& state, KtGeneralMotion& velocity) const;
  bool dhFrameAccelerationInLocal(KtManipulatorActiveState& state, KtGeneralMotion& acceleration) const;
  // The motion of the link's centre of mass (a massless link's is its primary frame's origin),
  // in the D-H frame's axes; the angular part is the link's.
  bool comVelocityInLocal(KtManipulatorActiveState& state, KtGeneralMotion& velocity) const;
  bool comAccelerationInLocal(KtManipulatorActiveState& state, KtGeneralMotion& acceleration) const;
  // The joint force (force and moment, local axes) needs the dynamics, which are not
  // interpreted yet: every link counts as free of outside loads, so it checks the index and
  // gives zero vectors. It exists for the joints only, not for the base.
  bool dhFrameForceInLocal(KtManipulatorActiveState& state, Kt::Vector& force, Kt::Vector& moment) const;
  // Momenta in the D-H frame's axes: the linear momentum (mass times the velocity of the centre
  // of mass) and the angular momentum about the centre of mass. The composite ones are those of
  // the link and all links outboard of it, the angular one about their common centre of mass
  // (for the base: the whole manipulator). The rates are the time derivatives of the momenta as
  // vectors in system axes (then given in local axes) for the velocity-product accelerations:
  // no joint accelerates and the base moves at constant velocity.
  bool spatialMomentumInLocal(KtManipulatorActiveState& state, Kt::Vector& linear, Kt::Vector& angular) const;
  bool spatialMomentumRateInLocal(KtManipulatorActiveState& state, Kt::Vector& linear,
                                  Kt::Vector& angular) const;
  bool compositeSpatialMomentumInLocal(KtManipulatorActiveState& state, Kt::Vector& linear,
                                       Kt::Vector& angular) const;
  bool compositeSpatialMomentumRateInLocal(KtManipulatorActiveState& state, Kt::Vector& linear,
                                           Kt::Vector& angular) const;

  const KtMassProperties& massProperties() const { return m_massProperties; }
  void setMassProperties(const KtMassProperties& properties) { m_massProperties = properties; }

  // Makes the link refer to the link of its manipulator with that label, or to itself when
  // there is none.
  void setLinkReference(const std::string& label);
  const KtManipulatorLink* referencedLink() const { return m_referencedLink; }

  // Replaces the kinematics, the limits and the kept elements by those of another link; the
  // label, the children and the place in the tree stay.
  void copyPropertiesFrom(const KtManipulatorLink& source);

  // Operations that need the shapes (geometry) or loads (dynamics), which are not interpreted
  // yet: they report that and give a neutral answer.
  KtReal physicalExtent() const;
  bool estimateMassProperties();
  Kt::Vector totalLocalTorque(const KtIndividualManipulator* manipulator) const;
  bool checkIntersect(const KtManipulatorLink& other, const KtIndividualManipulator* manipulator) const;
  // Proximity to another link, each placed by the active state of its manipulator: their
  // distance and the point of each link nearest to the other, in system coordinates. These
  // answer neutrally until shapes are interpreted: there is nothing to measure between, so
  // they give false and leave the outputs as they were (distanceTo says so in a message).
  bool distanceAndWitnessPointsTo(const KtManipulatorLink& other, const KtIndividualManipulator* manipulator,
                                  const KtIndividualManipulator* otherManipulator,
                                  KtManipulatorActiveState& state, KtManipulatorActiveState& otherState,
                                  KtReal& distance, Kt::Vector& witness, Kt::Vector& otherWitness) const;
  bool distanceTo(const KtManipulatorLink& other, const KtIndividualManipulator* manipulator,
                  const KtIndividualManipulator* otherManipulator, KtManipulatorActiveState& state,
                  KtManipulatorActiveState& otherState, KtReal& distance) const;
  // What a proximity query between two links found; `valid` tells whether it found anything.
  struct CollisionInformation {
    bool valid = false;
    KtReal distance = 0.0;
    Kt::Vector witness;
    Kt::Vector otherWitness;
  };
  // Runs the proximity query and stores its outcome in `information`, which a failed query
  // leaves marked invalid.
  bool computeAndStoreCollisionInformation(const KtManipulatorLink& other,
                                           const KtIndividualManipulator* manipulator,
                                           const KtIndividualManipulator* otherManipulator,
                                           KtManipulatorActiveState& state,
                                           KtManipulatorActiveState& otherState,
                                           CollisionInformation& information) const;

 protected:
  friend class KtIndividualManipulator;

  void registerComponents() override;
  // The five fields that a manipulator, as its own base link, shares with a link.
  void registerBaseLinkComponents();

  // The record of this link's frames, computed (with its ancestors') when not valid.
  virtual const KtLinkFrames& locate(KtManipulatorActivePositionState& positions) const;
  // The frame sweep that locate() runs when this link's record is stale.
  const KtLinkFrames& sweepFrames(KtManipulatorActivePositionState& positions) const;
  // This link's record, computed when stale, if the state is bound to the link's manipulator
  // and has a record for it; else null.
  const KtLinkFrames* currentRecord(KtManipulatorActivePositionState& positions) const;
  // The joint (or primary) frame after binding the state and computing what is stale; for an
  // index outside the state the query's message and the identity.
  const Kt::coordinateSystemTransformation& updatedFrame(KtManipulatorActiveState& state, bool primary) const;
  // Whether the state has a record for this link; prints the operation's message otherwise.
  bool hasRecord(KtManipulatorActiveState& state, const char* message) const;
  // The motion record of this link, computed (with its ancestors') when not valid; the link
  // must have a record (see hasRecord).
  const KtLinkMotion& motion(KtManipulatorActiveState& state) const;
  // The link's centre of mass and its motion, with the momenta of the link, all in system axes
  // (the angular momentum about the centre of mass). The link must have a record.
  struct MassMotion {
    KtReal mass = 0.0;
    Kt::Vector center, velocity, acceleration, angularVelocity, angularAcceleration;
    Kt::Vector angularMomentum, angularMomentumRate;
  };
  MassMotion massMotion(KtManipulatorActiveState& state) const;
  // Sums over this link and its subtree, about the system origin, for the composite momenta.
  struct MomentumSums {
    KtReal mass = 0.0;
    Kt::Vector firstMoment, linear, angular, linearRate, angularRate;
  };
  void addSubtreeMomenta(KtManipulatorActiveState& state, MomentumSums& sums) const;
  // Checks the index for a momentum query; out of range: a message, zero vectors and false.
  bool momentumQuery(KtManipulatorActiveState& state, const char* operation, Kt::Vector& linear,
                     Kt::Vector& angular) const;
  // Gives system-axis vectors in the D-H frame's axes.
  void toLocal(KtManipulatorActiveState& state, Kt::Vector& linear, Kt::Vector& angular) const;

  void ensureKinematics();
  // Kinds of link that deform start out marked so.
  void setDeformable(bool deformable) { m_isDeformable = deformable; }

  KtXmlBasicType<std::string> m_identifier;
  KtXmlVariableVectorType<KtLinkKinematics> m_kinematicsContainer;
  KtXmlVariableVectorType<KtManipulatorLink> m_childLinks;
  KtXmlKeptElement m_shapeContainer;
  KtMassProperties m_massProperties;

  int m_linkIndex = kNoIndex;
  const KtManipulatorLink* m_parent = nullptr;
  const KtIndividualManipulator* m_manipulator = nullptr;

 private:
  KtXmlKeptElement m_compositeJointActuator;
  KtXmlKeptElement m_jointActuator;
  KtXmlKeptElement m_jointActuatorContainer;
  KtXmlKeptElement m_springProperties;
  KtXmlKeptElement m_damperProperties;
  KtXmlKeptElement m_linkReferenceDescription;
  KtXmlBasicType<bool> m_isDeformable = false;
  KtXmlVectorType<long> m_deformedShapeIndexVec;
  // Infinite when the joint is unlimited that way.
  KtXmlBasicType<KtReal, KtXmlReals::finiteOrInfinite> m_upperLimitConstraint;
  KtXmlBasicType<KtReal, KtXmlReals::finiteOrInfinite> m_lowerLimitConstraint;

  const KtManipulatorLink* m_referencedLink = nullptr;
};
