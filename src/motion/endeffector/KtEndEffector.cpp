#include "motion/endeffector/KtEndEffector.h"

#include <charconv>

#include "foundation/Print.h"
#include "manipulator/KtModelRevision.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlSimpleType.h"

KtEndEffector::KtEndEffector(std::initializer_list<const char*> editingLabels)
    : m_editingLabelCount(editingLabels.size()) {
  for (const char* label : editingLabels)
    m_editingLabels.push_back(std::pair<std::string, std::string>(label, ""));
}

void KtEndEffector::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken link(ktNamespaceCt, "linkIdentifier"), relative(ktNamespaceCt, "relativeLinkData"),
      hard(ktNamespaceCt, "isHardConstraint"), labels(ktNamespaceCt, "editingLabels");
  registerComponent(link, m_linkIdentifier);
  registerComponent(relative, m_relativeLinkData);
  registerComponent(hard, m_isHardConstraint);
  registerComponent(labels, m_editingLabels);
}

bool KtEndEffector::read(KtXmlReader& reader) {
  m_carryingLink = ResolvedLink{};
  return KtXmlCompoundType::read(reader);
}

const KtManipulatorLink* KtEndEffector::resolvedLink(const KtIndividualManipulator& manipulator,
                                                     const std::string& label, ResolvedLink& cache,
                                                     bool labelKept) {
  if (cache.manipulator != &manipulator || cache.revision != KtModelRevision::current() ||
      (!labelKept && cache.label != label)) {
    const KtManipulatorLink* link = manipulator.findLink(label);
    cache.manipulator = &manipulator;
    cache.revision = KtModelRevision::current();
    cache.label = label;
    cache.index = link == nullptr ? KtManipulatorLink::kNoIndex : link->linkIndex();
  }
  // Looked up again through the index, so that a stale cache can never hand out a freed link.
  if (cache.index == KtManipulatorLink::kBaseLinkIndex) return &manipulator;
  if (cache.index < 0 || static_cast<std::size_t>(cache.index) >= manipulator.jointDof()) return nullptr;
  return &manipulator.link(static_cast<std::size_t>(cache.index));
}

void KtEndEffector::setLinkIndices(const KtIndividualManipulator& manipulator) const {
  carryingLink(manipulator);
  if (m_relativeLinkData.isRelativeLink()) referenceLink(manipulator, m_relativeLinkData);
}

bool KtEndEffector::makeRelative(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                 Kt::coordinateSystemTransformation& placement) const {
  if (!m_relativeLinkData.isRelativeLink()) return true;
  const KtManipulatorLink* reference = referenceLink(manipulator, m_relativeLinkData);
  if (reference == nullptr) return false;
  placement = reference->primaryFrameInSystem(state).inverse() * placement;
  return true;
}

namespace {

// The motion of the point `point` (system coordinates) rigidly fixed to the link, system axes.
bool pointVelocity(const KtManipulatorLink& link, KtManipulatorActiveState& state, const Kt::Vector& point,
                   KtGeneralMotion& velocity) {
  KtGeneralMotion frame;
  if (!link.dhFrameVelocityInSystem(state, frame)) return false;
  const Kt::Vector arm = point - link.dhFrameInSystem(state).translation();
  velocity.setLinear(frame.linear() + frame.angular().cross(arm));
  velocity.setAngular(frame.angular());
  return true;
}

bool pointAcceleration(const KtManipulatorLink& link, KtManipulatorActiveState& state,
                       const Kt::Vector& point, KtGeneralMotion& acceleration) {
  KtGeneralMotion local, velocity;
  if (!link.dhFrameAccelerationInLocal(state, local) || !link.dhFrameVelocityInSystem(state, velocity))
    return false;
  const Kt::coordinateSystemTransformation& frame = link.dhFrameInSystem(state);
  const Kt::Vector linear = frame.orientation() * local.linear();
  const Kt::Vector angular = frame.orientation() * local.angular();
  const Kt::Vector arm = point - frame.translation();
  const Kt::Vector& w = velocity.angular();
  acceleration.setLinear(linear + angular.cross(arm) + w.cross(w.cross(arm)));
  acceleration.setAngular(angular);
  return true;
}

}  // namespace

bool KtEndEffector::calculateVelocity(const KtIndividualManipulator& manipulator,
                                      KtManipulatorActiveState& state, KtGeneralMotion& velocity) const {
  Kt::coordinateSystemTransformation placement;
  const KtManipulatorLink* link = carryingLink(manipulator);
  if (link == nullptr || !calculateAbsolutePlacement(manipulator, state, placement)) return false;
  KtGeneralMotion own;
  if (!pointVelocity(*link, state, placement.translation(), own)) return false;
  if (m_relativeLinkData.isRelativeLink()) {
    const KtManipulatorLink* reference = referenceLink(manipulator, m_relativeLinkData);
    KtGeneralMotion carried;
    if (reference == nullptr || !pointVelocity(*reference, state, placement.translation(), carried))
      return false;
    own.setLinear(own.linear() - carried.linear());
    own.setAngular(own.angular() - carried.angular());
  }
  velocity = own;
  return true;
}

bool KtEndEffector::calculateAcceleration(const KtIndividualManipulator& manipulator,
                                          KtManipulatorActiveState& state,
                                          KtGeneralMotion& acceleration) const {
  Kt::coordinateSystemTransformation placement;
  const KtManipulatorLink* link = carryingLink(manipulator);
  if (link == nullptr || !calculateAbsolutePlacement(manipulator, state, placement)) return false;
  KtGeneralMotion own;
  if (!pointAcceleration(*link, state, placement.translation(), own)) return false;
  if (m_relativeLinkData.isRelativeLink()) {
    const KtManipulatorLink* reference = referenceLink(manipulator, m_relativeLinkData);
    KtGeneralMotion carried;
    if (reference == nullptr || !pointAcceleration(*reference, state, placement.translation(), carried))
      return false;
    own.setLinear(own.linear() - carried.linear());
    own.setAngular(own.angular() - carried.angular());
  }
  acceleration = own;
  return true;
}

bool KtEndEffector::blockFits(const Kt::ReArray& matrix, std::size_t firstRow, std::size_t rowCount,
                              std::size_t columnCount, const char* operation) {
  if (firstRow + rowCount <= matrix.rows() && columnCount <= matrix.columns()) return true;
  ktPrint(KtSeverity::Error, "%s: rows %zu to %zu and %zu columns do not fit a %zu x %zu matrix.\n",
          operation, firstRow, firstRow + rowCount - 1, columnCount, matrix.rows(), matrix.columns());
  return false;
}

bool KtEndEffector::openRowWalk(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                                const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                                const Kt::ReArray& matrix, const RowWalkTexts& texts, RowWalk& walk) const {
  const std::size_t columns = manipulator.jointDof() + (isFixedBase ? 0 : 6);
  if (!blockFits(matrix, firstRow, rowCount(), columns, texts.operation)) return false;
  walk.link = nullptr;
  if (texts.badLabel != nullptr) {
    walk.link = carryingLink(manipulator);
    if (walk.link == nullptr) {
      ktPrint(KtSeverity::Error, texts.badLabel, texts.labelOperation, linkIdentifier().c_str());
      return false;
    }
  }
  walk.relative = relative.isRelativeLink();
  walk.reference = resolvedReference(manipulator, relative, texts.labelOperation, texts.badReference);
  return true;
}

const KtManipulatorLink* KtEndEffector::resolvedReference(const KtIndividualManipulator& manipulator,
                                                          const KtEndEffectorRelativeLinkData& relative,
                                                          const char* operation,
                                                          const char* badReference) const {
  if (!relative.isRelativeLink()) return nullptr;
  const KtManipulatorLink* reference = referenceLink(manipulator, relative);
  if (reference == nullptr) ktPrint(KtSeverity::Error, badReference, operation, KtManipulatorLink::kNoIndex);
  return reference;
}

bool KtEndEffector::setEditingValue(const std::string& label, const std::string& value) {
  KtEditingValues values = editingValues();
  for (auto& [name, text] : values) {
    if (name != label) continue;
    text = value;
    setEditingValues(values);
    return true;
  }
  return false;
}

std::string KtEndEffector::editingText(KtReal value) {
  char text[32];
  const std::to_chars_result result = std::to_chars(text, text + sizeof text, value);
  return std::string(text, result.ptr);
}

std::string KtEndEffector::editingText(bool value) { return value ? "1" : "0"; }

void KtEndEffector::parseEditingReal(const std::string& text, KtReal& value) {
  KtReal parsed = value;
  if (ktXmlParseSimple(text, parsed)) value = parsed;
}
