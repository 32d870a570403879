#include "manipulator/KtIndividualManipulator.h"

#include <algorithm>
#include <cmath>

#include "foundation/Print.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "manipulator/KtModelRevision.h"
#include "math/Finite.h"
#include "xml/KtXmlNamespaces.h"

KtIndividualManipulator::KtIndividualManipulator() { rebuildLinkTable(); }

KtIndividualManipulator::KtIndividualManipulator(const KtIndividualManipulator& other)
    : KtXmlCloneable(other),
      m_coordinateSystemTransform(other.m_coordinateSystemTransform),
      m_absoluteBoundingSphere(other.m_absoluteBoundingSphere),
      m_isFixedBase(other.m_isFixedBase),
      m_optimizeOnLoad(other.m_optimizeOnLoad),
      m_isControllable(other.m_isControllable),
      m_manipulatorReferenceDescription(other.m_manipulatorReferenceDescription),
      m_generalBoundObjectVector(other.m_generalBoundObjectVector),
      m_stateConstraintVector(other.m_stateConstraintVector),
      m_surfaces(other.m_surfaces),
      m_manipSelfCollisionLinkMap(other.m_manipSelfCollisionLinkMap) {
  rebuildLinkTable();
}

KtIndividualManipulator::~KtIndividualManipulator() = default;

const KtToken& KtIndividualManipulator::elementToken() const {
  static const KtToken token(ktNamespaceSm, "individualManipulator");
  return token;
}

void KtIndividualManipulator::registerComponents() {
  registerBaseLinkComponents();
  static const KtToken placement(ktNamespaceSm, "coordinateSystemTransform"),
      sphere(ktNamespaceSm, "absoluteBoundingSphere"), fixedBase(ktNamespaceSm, "isFixedBase"),
      optimize(ktNamespaceSm, "optimizeOnLoad"), controllable(ktNamespaceSm, "isControllable"),
      reference(ktNamespaceSm, "manipulatorReferenceDescription"),
      bounds(ktNamespaceSm, "generalBoundObjectVector"), constraints(ktNamespaceSm, "stateConstraintVector"),
      surfaces(ktNamespaceSm, "surfaces"), selfCollision(ktNamespaceSm, "manipSelfCollisionLinkMap");
  registerComponent(placement, m_coordinateSystemTransform);
  registerComponent(sphere, m_absoluteBoundingSphere);
  registerComponent(fixedBase, m_isFixedBase);
  registerComponent(optimize, m_optimizeOnLoad);
  registerComponent(controllable, m_isControllable);
  registerComponent(reference, m_manipulatorReferenceDescription);
  registerComponent(bounds, m_generalBoundObjectVector);
  registerComponent(constraints, m_stateConstraintVector);
  registerComponent(surfaces, m_surfaces);
  registerComponent(selfCollision, m_manipSelfCollisionLinkMap);
}

bool KtIndividualManipulator::read(KtXmlReader& reader) {
  const bool read = KtManipulatorLink::read(reader);
  rebuildLinkTable();
  return read;
}

void KtIndividualManipulator::addToTable(KtManipulatorLink& link, const KtManipulatorLink* parent) {
  link.m_linkIndex = static_cast<int>(m_links.size());
  link.m_parent = parent;
  link.m_manipulator = this;
  m_links.push_back(&link);
  for (std::size_t i = 0; i < link.m_childLinks.size(); ++i) addToTable(link.m_childLinks[i], &link);
}

void KtIndividualManipulator::rebuildLinkTable() {
  m_linkIndex = kBaseLinkIndex;
  m_parent = nullptr;
  m_manipulator = this;
  m_links.clear();
  for (std::size_t i = 0; i < m_childLinks.size(); ++i) addToTable(m_childLinks[i], this);
  KtModelRevision::advance();
}

const KtManipulatorLink* KtIndividualManipulator::findLink(const std::string& label) const {
  if (identifier() == label) return this;
  const int index = linkIndexOf(label);
  return index >= 0 ? m_links[static_cast<std::size_t>(index)] : nullptr;
}

KtManipulatorLink* KtIndividualManipulator::findMutableLink(const std::string& label) {
  const int index = linkIndexOf(label);
  return index >= 0 ? m_links[static_cast<std::size_t>(index)] : nullptr;
}

int KtIndividualManipulator::linkIndexOf(const std::string& label) const {
  const auto found = std::find_if(m_links.begin(), m_links.end(), [&label](const KtManipulatorLink* link) {
    return link->identifier() == label;
  });
  return found == m_links.end() ? -1 : static_cast<int>(found - m_links.begin());
}

void KtIndividualManipulator::setCoordinateSystemTransform(
    const Kt::coordinateSystemTransformation& placement) {
  m_coordinateSystemTransform = placement;
  KtModelRevision::advance();
}

int KtIndividualManipulator::addLink(int parentIndex, std::unique_ptr<KtManipulatorLink> link) {
  KtManipulatorLink* parent = nullptr;
  if (parentIndex == kBaseLinkIndex) {
    parent = this;
  } else if (parentIndex >= 0 && static_cast<std::size_t>(parentIndex) < m_links.size()) {
    parent = m_links[static_cast<std::size_t>(parentIndex)];
  }
  if (parent == nullptr || !link) return -1;
  KtManipulatorLink& added = *link;
  parent->m_childLinks.push_back(std::move(link));
  rebuildLinkTable();
  return added.m_linkIndex;
}

bool KtIndividualManipulator::replaceLinkAndChildren(const std::string& label,
                                                     const KtManipulatorLink& replacement) {
  KtManipulatorLink* target = findMutableLink(label);
  if (target == nullptr) {
    ktPrint(KtSeverity::Error,
            "KtIndividualManipulator::replaceLinkAndChildren(): unexpected NULL pointer for link %s.\n",
            label.c_str());
    return false;
  }
  // The replacement may lie inside the subtree being replaced: copy it first.
  const KtManipulatorLink copy(replacement);
  target->copyPropertiesFrom(copy);
  target->m_identifier = copy.m_identifier;
  target->m_childLinks = copy.m_childLinks;
  rebuildLinkTable();
  return true;
}

bool KtIndividualManipulator::transformLinkSubtreeBy(const std::string& label,
                                                     const Kt::coordinateSystemTransformation& t) {
  KtManipulatorLink* target = findMutableLink(label);
  KtDenavitHartenberg* joint = target != nullptr ? target->denavitHartenberg() : nullptr;
  if (joint == nullptr) {
    ktPrint(KtSeverity::Error,
            "KtIndividualManipulator::transformLinkSubtreeBy(): unexpected NULL pointer for link %s.\n",
            label.c_str());
    return false;
  }
  joint->composePrecursor(t);
  return true;
}

void KtIndividualManipulator::excludeSelfCollision(const std::string& label, const std::string& otherLabel) {
  m_manipSelfCollisionLinkMap[label].insert(otherLabel);
}

bool KtIndividualManipulator::canCollide(int first, int second) const {
  const int count = static_cast<int>(m_links.size());
  if (first < 0 || second < 0 || first >= count || second >= count) {
    ktPrint(KtSeverity::Error,
            "KtIndividualManipulator::canCollide(): indices (%d,%d) out of range.  Returning False.\n", first,
            second);
    return false;
  }
  if (first == second) return false;
  const auto& exclusions = m_manipSelfCollisionLinkMap.value();
  const auto excludes = [&exclusions](const std::string& label, const std::string& other) {
    const auto found = exclusions.find(label);
    return found != exclusions.end() && found->second.contains(other);
  };
  const std::string& a = m_links[static_cast<std::size_t>(first)]->identifier();
  const std::string& b = m_links[static_cast<std::size_t>(second)]->identifier();
  return !excludes(a, b) && !excludes(b, a);
}

KtReal KtIndividualManipulator::heldInLimits(std::size_t joint, KtReal value) const {
  if (joint >= jointDof()) return value;
  const KtManipulatorLink& limits = link(joint);
  return std::clamp(value, limits.lowerLimitConstraint(), limits.upperLimitConstraint());
}

void KtIndividualManipulator::integrateState(const KtVelocityState& velocities, KtReal dt,
                                             KtPositionState& positions, KtIntegrationStatus& status) const {
  const std::vector<KtReal>& rates = velocities.jointVelocities();
  std::vector<KtReal>& joints = positions.jointPositions();
  const std::size_t n = std::min({m_links.size(), rates.size(), joints.size()});
  for (std::size_t i = 0; i < n; ++i) {
    KtReal q = joints[i] + rates[i] * dt;
    // A NaN would pass both limit comparisons and stay for good: keep the joint where it was.
    if (!std::isfinite(q)) {
      status.nonFiniteRejected = true;
      continue;
    }
    const KtManipulatorLink& joint = *m_links[i];
    if (joint.upperLimitConstraint() <= q) {
      status.limitReached = true;
      q = joint.upperLimitConstraint();
    }
    if (q <= joint.lowerLimitConstraint()) {
      status.limitReached = true;
      q = joint.lowerLimitConstraint();
    }
    joints[i] = q;
  }
  const KtGeneralMotion& base = velocities.generalVelocity();
  // A base at rest keeps its pose as it is: a fixed-base arm's every step takes this way.
  if (base.linear() == Kt::Vector() && base.angular() == Kt::Vector()) return;
  const Kt::coordinateSystemTransformation& pose = positions.coordinateSystemTransform();
  Kt::Vector translation = pose.translation() + base.linear() * dt;
  Kt::Orientation orientation = pose.orientation();
  orientation.integrateReferenceFrameAngularVelocity(base.angular(), dt);
  if (!ktIsFinite(translation)) {
    status.nonFiniteRejected = true;
    translation = pose.translation();
  }
  if (!ktIsFinite(orientation)) {
    status.nonFiniteRejected = true;
    orientation = pose.orientation();
  }
  positions.setCoordinateSystemTransform(Kt::coordinateSystemTransformation(translation, orientation));
}

const KtLinkFrames& KtIndividualManipulator::locate(KtManipulatorActivePositionState& positions) const {
  KtLinkFrames& record = positions.baseFrames();
  if (!record.isValid()) {
    record.store(positions.positionState().coordinateSystemTransform(), m_coordinateSystemTransform,
                 KtLinkFrames::offsetOrNull(kinematics().primaryFrame()));
  }
  return record;
}

const Kt::coordinateSystemTransformation& KtIndividualManipulator::dhFrameInSystem(
    KtManipulatorActiveState& state) const {
  KtManipulatorActivePositionState& positions = state.activePositionState();
  positions.synchronize(*this);
  return locate(positions).dhFrame();
}
