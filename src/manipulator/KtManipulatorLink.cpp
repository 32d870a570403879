#include "manipulator/KtManipulatorLink.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "foundation/Print.h"
#include "manipulator/KtDeformableManipulatorLink.h"
#include "manipulator/KtFrameChain.h"
#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "manipulator/KtModelRevision.h"
#include "xml/KtXmlNamespaces.h"

namespace {

const Kt::coordinateSystemTransformation& outOfRangeFrame() {
  return Kt::coordinateSystemTransformation::identity();
}

// The elements that stand as a link's joint kinematics and as its child links. A manipulator,
// though a link, roots a tree of its own and never stands in one.
const KtXmlElementSet& kinematicsElements() {
  static const KtXmlElementSet elements = KtXmlElementSet::of<KtDenavitHartenberg>();
  return elements;
}

const KtXmlElementSet& linkElements() {
  static const KtXmlElementSet elements =
      KtXmlElementSet::of<KtManipulatorLink, KtDeformableManipulatorLink>();
  return elements;
}

}  // namespace

KtManipulatorLink::KtManipulatorLink()
    : m_upperLimitConstraint(std::numeric_limits<KtReal>::infinity()),
      m_lowerLimitConstraint(-std::numeric_limits<KtReal>::infinity()) {
  ensureKinematics();
}

KtManipulatorLink::KtManipulatorLink(const KtManipulatorLink& other)
    : KtXmlCloneable(other),
      m_identifier(other.m_identifier),
      m_kinematicsContainer(other.m_kinematicsContainer),
      m_childLinks(other.m_childLinks),
      m_shapeContainer(other.m_shapeContainer),
      m_massProperties(other.m_massProperties),
      m_compositeJointActuator(other.m_compositeJointActuator),
      m_jointActuator(other.m_jointActuator),
      m_jointActuatorContainer(other.m_jointActuatorContainer),
      m_springProperties(other.m_springProperties),
      m_damperProperties(other.m_damperProperties),
      m_linkReferenceDescription(other.m_linkReferenceDescription),
      m_isDeformable(other.m_isDeformable),
      m_deformedShapeIndexVec(other.m_deformedShapeIndexVec),
      m_upperLimitConstraint(other.m_upperLimitConstraint),
      m_lowerLimitConstraint(other.m_lowerLimitConstraint) {}

KtManipulatorLink::~KtManipulatorLink() = default;

const KtToken& KtManipulatorLink::elementToken() const {
  static const KtToken token(ktNamespaceSm, "manipulatorLink");
  return token;
}

void KtManipulatorLink::registerBaseLinkComponents() {
  static const KtToken identifier(ktNamespaceSm, "identifier"),
      kinematics(ktNamespaceSm, "linkKinematicsContainer"), children(ktNamespaceSm, "childLinks"),
      mass(ktNamespaceSm, "massProperties"), shapes(ktNamespaceSm, "shapeContainer");
  registerComponent(identifier, m_identifier);
  registerComponent(kinematics, m_kinematicsContainer, kinematicsElements());
  registerComponent(children, m_childLinks, linkElements());
  registerComponent(mass, m_massProperties);
  registerComponent(shapes, m_shapeContainer);
}

void KtManipulatorLink::registerComponents() {
  static const KtToken identifier(ktNamespaceSm, "identifier"),
      kinematics(ktNamespaceSm, "linkKinematicsContainer"), children(ktNamespaceSm, "childLinks"),
      shapes(ktNamespaceSm, "shapeContainer"), composite(ktNamespaceSm, "compositeJointActuator"),
      actuator(ktNamespaceSm, "jointActuator"), actuators(ktNamespaceSm, "jointActuatorContainer"),
      mass(ktNamespaceSm, "massProperties"), spring(ktNamespaceSm, "springProperties"),
      damper(ktNamespaceSm, "damperProperties"), reference(ktNamespaceSm, "linkReferenceDescription"),
      deformable(ktNamespaceSm, "isDeformable"), deformedShapes(ktNamespaceSm, "deformedShapeIndexVec"),
      upper(ktNamespaceSm, "upperLimitConstraint"), lower(ktNamespaceSm, "lowerLimitConstraint");
  registerComponent(identifier, m_identifier);
  registerComponent(kinematics, m_kinematicsContainer, kinematicsElements());
  registerComponent(children, m_childLinks, linkElements());
  registerComponent(shapes, m_shapeContainer);
  registerComponent(composite, m_compositeJointActuator);
  registerUnwrittenComponent(actuator, m_jointActuator);
  registerUnwrittenComponent(actuators, m_jointActuatorContainer);
  registerComponent(mass, m_massProperties);
  registerComponent(spring, m_springProperties);
  registerComponent(damper, m_damperProperties);
  registerComponent(reference, m_linkReferenceDescription);
  registerComponent(deformable, m_isDeformable);
  registerComponent(deformedShapes, m_deformedShapeIndexVec);
  registerComponent(upper, m_upperLimitConstraint);
  registerComponent(lower, m_lowerLimitConstraint);
}

// A link always has kinematics: a document without any gets the default joint.
void KtManipulatorLink::ensureKinematics() {
  if (m_kinematicsContainer.empty()) m_kinematicsContainer.push_back(std::make_unique<KtDenavitHartenberg>());
}

namespace {

// An interval, possibly unbounded on either side; NaN fails the first comparison.
bool jointLimitsValid(KtReal lower, KtReal upper) {
  return lower <= upper && lower < std::numeric_limits<KtReal>::infinity() &&
         upper > -std::numeric_limits<KtReal>::infinity();
}

}  // namespace

bool KtManipulatorLink::read(KtXmlReader& reader) {
  bool read = KtXmlCompoundType::read(reader);
  ensureKinematics();
  if (read && !jointLimitsValid(lowerLimitConstraint(), upperLimitConstraint())) {
    char limits[96];
    std::snprintf(limits, sizeof limits, ": lower limit %g and upper limit %g do not form an interval.",
                  lowerLimitConstraint(), upperLimitConstraint());
    reader.reportError("manipulatorLink " + identifier() + limits);
    read = false;
  }
  KtModelRevision::advance();
  return read;
}

bool KtManipulatorLink::setJointLimits(KtReal lower, KtReal upper) {
  if (!jointLimitsValid(lower, upper)) {
    ktPrint(
        KtSeverity::Error,
        "KtManipulatorLink::setJointLimits(): lower limit %g and upper limit %g do not form an interval.\n",
        lower, upper);
    return false;
  }
  m_lowerLimitConstraint = lower;
  m_upperLimitConstraint = upper;
  return true;
}

void KtManipulatorLink::setKinematics(std::unique_ptr<KtLinkKinematics> kinematics) {
  m_kinematicsContainer.clear();
  m_kinematicsContainer.push_back(std::move(kinematics));
  KtModelRevision::advance();
}

void KtManipulatorLink::copyPropertiesFrom(const KtManipulatorLink& source) {
  m_kinematicsContainer = source.m_kinematicsContainer;
  m_shapeContainer = source.m_shapeContainer;
  m_massProperties = source.m_massProperties;
  m_compositeJointActuator = source.m_compositeJointActuator;
  m_jointActuator = source.m_jointActuator;
  m_jointActuatorContainer = source.m_jointActuatorContainer;
  m_springProperties = source.m_springProperties;
  m_damperProperties = source.m_damperProperties;
  m_linkReferenceDescription = source.m_linkReferenceDescription;
  m_isDeformable = source.m_isDeformable;
  m_deformedShapeIndexVec = source.m_deformedShapeIndexVec;
  m_upperLimitConstraint = source.m_upperLimitConstraint;
  m_lowerLimitConstraint = source.m_lowerLimitConstraint;
  ensureKinematics();
  KtModelRevision::advance();
}

// One sweep computes the frames of the links on the way from the nearest ancestor with a valid
// frame out to this link, and on along the chain beyond it as long as each link has a single
// child: on a serial arm the distal frames are nearly always asked next (the end effector, the
// Jacobian), and computing them together costs far less than link by link. A branching link
// ends the sweep, so that a query never computes the frames of another branch.
//
// Here the path is a stretch of the link's chain of link indices, which the state builds with
// its joint plans; the arithmetic is KtFrameChain's, which reads what it needs of each joint
// from the plans, so that its loops walk plain arrays.
const KtLinkFrames& KtManipulatorLink::locate(KtManipulatorActivePositionState& positions) const {
  const KtLinkFrames& record = positions.linkFrames(static_cast<std::size_t>(m_linkIndex));
  return record.isValid() ? record : sweepFrames(positions);
}

// Kept out of line so that a query finding its record valid does not pay for the sweep's
// registers and stack.
//
// Indices grow away from the base, and a change drops the records of a range of indices to the
// end, so every ancestor of a valid record is valid and every descendant of an invalid one
// invalid: the path starts after the last valid ancestor on the link's chain. A state with
// fewer records than links (read from a document) ends it at its last record.
[[gnu::noinline]] const KtLinkFrames& KtManipulatorLink::sweepFrames(
    KtManipulatorActivePositionState& positions) const {
  KtLinkFrames* const frames = positions.linkFramesData();
  KtFrameSweep& sweep = positions.frameSweep();
  const auto index = static_cast<std::size_t>(m_linkIndex);
  const KtSweepChain& chain = sweep.chains[index];
  const std::size_t* const links = sweep.chainLinks.data() + chain.begin;
  std::size_t first = chain.at;
  while (first > 0 && !frames[links[first - 1]].isValid()) --first;
  const std::size_t end = std::min(chain.end, chain.at + positions.linkCount() - index);

  KtFrameChainRun run;
  run.plans = positions.jointPlanData();
  run.frames = frames;
  run.path = links + first;
  run.count = end - first;
  const KtManipulatorLink* const base = m_manipulator;  // the root links' parent
  run.start = first > 0 ? &frames[links[first - 1]] : &base->locate(positions);
  run.joints = &positions.positionState().jointPositions();
  run.scratch = &sweep;
  KtFrameChain::compose(run);
  return frames[index];
}

bool KtManipulatorLink::hasRecord(KtManipulatorActiveState& state, const char* message) const {
  KtManipulatorActivePositionState& positions = state.activePositionState();
  if (m_manipulator != nullptr) positions.synchronize(*m_manipulator);
  if (m_linkIndex == kBaseLinkIndex ||
      (m_linkIndex >= 0 && static_cast<std::size_t>(m_linkIndex) < positions.linkCount())) {
    return true;
  }
  if (message != nullptr) ktPrint(KtSeverity::Error, "%s", message);
  return false;
}

namespace {

// Whether the state is bound to the link's manipulator and has a record for the link's index
// (which for a negative index wraps to beyond every count).
bool hasBoundRecord(const KtManipulatorActivePositionState& positions,
                    const KtIndividualManipulator* manipulator, int linkIndex) {
  return positions.isBoundTo(manipulator) && static_cast<std::size_t>(linkIndex) < positions.linkCount();
}

}  // namespace

// A query whose record is valid costs the state's binding, a bound check and one flag, with no
// call, so that asking for frames already computed stays a handful of instructions; a stale
// record runs the sweep, and anything else (binding the state, the base link, an index outside
// the state) goes through updatedFrame. The swept record is taken as it comes rather than
// through currentRecord's pointer, which the compiler cannot tell is never null: then nothing is
// kept across the sweep's call, and the valid path runs without a stack frame.
const Kt::coordinateSystemTransformation& KtManipulatorLink::dhFrameInSystem(
    KtManipulatorActiveState& state) const {
  KtManipulatorActivePositionState& positions = state.activePositionState();
  if (!hasBoundRecord(positions, m_manipulator, m_linkIndex)) return updatedFrame(state, false);
  const KtLinkFrames& record = positions.linkFrames(static_cast<std::size_t>(m_linkIndex));
  return (record.isValid() ? record : sweepFrames(positions)).dhFrame();
}

const Kt::coordinateSystemTransformation& KtManipulatorLink::primaryFrameInSystem(
    KtManipulatorActiveState& state) const {
  const KtLinkFrames* record = currentRecord(state.activePositionState());
  return record != nullptr ? record->primaryFrame() : updatedFrame(state, true);
}

const KtLinkFrames* KtManipulatorLink::currentRecord(KtManipulatorActivePositionState& positions) const {
  if (!hasBoundRecord(positions, m_manipulator, m_linkIndex)) return nullptr;
  const KtLinkFrames& record = positions.linkFrames(static_cast<std::size_t>(m_linkIndex));
  return record.isValid() ? &record : &sweepFrames(positions);
}

[[gnu::noinline]] const Kt::coordinateSystemTransformation& KtManipulatorLink::updatedFrame(
    KtManipulatorActiveState& state, bool primary) const {
  if (!hasRecord(state, primary ? nullptr : "KtManipulatorLink::dhFrameInSystem(): index out of range.\n")) {
    if (primary) {
      ktPrint(KtSeverity::Error, "KtManipulatorLink::primaryFrameInSystem(): index %d out of range %d.\n",
              m_linkIndex, static_cast<int>(state.activePositionState().linkCount()));
    }
    return outOfRangeFrame();
  }
  const KtLinkFrames& record = locate(state.activePositionState());
  return primary ? record.primaryFrame() : record.dhFrame();
}

void KtManipulatorLink::setLinkReference(const std::string& label) {
  m_referencedLink = m_manipulator != nullptr ? m_manipulator->findLink(label) : nullptr;
  if (m_referencedLink != nullptr) return;
  ktPrint(KtSeverity::Warning,
          "KtManipulatorLink::setLinkReference(): could not find link with label %s for referencing.  Using "
          "self.\n",
          label.c_str());
  m_referencedLink = this;
}
