#include "manipulator/KtManipulatorActivePositionState.h"

#include <algorithm>

#include "manipulator/KtDenavitHartenberg.h"
#include "manipulator/KtIndividualManipulator.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtManipulatorActivePositionState::elementToken() const {
  static const KtToken token(ktNamespaceSm, "manipulatorActivePositionState");
  return token;
}

void KtManipulatorActivePositionState::registerComponents() {
  static const KtToken position(ktNamespaceSm, "positionState"), links(ktNamespaceSm, "linkPositionStates"),
      base(ktNamespaceSm, "basePositionState");
  registerComponent(position, m_positionState);
  registerComponent(links, m_linkPositionStates);
  registerComponent(base, m_basePositionState);
}

void KtManipulatorActivePositionState::exportFrames() const {
  m_linkPositionStates.resize(m_linkFrames.size());
  for (std::size_t i = 0; i < m_linkFrames.size(); ++i) m_linkPositionStates[i].assign(m_linkFrames[i]);
  m_basePositionState.assign(m_baseFrames);
}

bool KtManipulatorActivePositionState::read(KtXmlReader& reader) {
  const bool read = KtXmlCompoundType::read(reader);
  resizeLinkFrames(m_linkPositionStates.size());
  for (std::size_t i = 0; i < m_linkFrames.size(); ++i) m_linkFrames[i] = m_linkPositionStates[i].frames();
  m_baseFrames = m_basePositionState.frames();
  ++m_frameChanges;
  return read;
}

bool KtManipulatorActivePositionState::write(KtXmlWriter& writer) const {
  exportFrames();
  return KtXmlCompoundType::write(writer);
}

bool KtManipulatorActivePositionState::isEqual(const KtXmlObject& other) const {
  const auto* state = dynamic_cast<const KtManipulatorActivePositionState*>(&other);
  if (state == nullptr) return false;
  exportFrames();
  state->exportFrames();
  return KtXmlCompoundType::isEqual(other);
}

void KtManipulatorActivePositionState::invalidateFrom(std::size_t firstLink) {
  if (firstLink >= m_linkCount) return;
  ++m_frameChanges;
  KtLinkFrames* const end = m_linkFrames.data() + m_linkCount;
  for (KtLinkFrames* record = m_linkFrames.data() + firstLink; record != end; ++record) record->valid = false;
}

void KtManipulatorActivePositionState::invalidateAll() {
  m_baseFrames.valid = false;
  ++m_frameChanges;
  invalidateFrom(0);
}

void KtManipulatorActivePositionState::rebind(const KtIndividualManipulator& manipulator) {
  invalidateAll();
  const std::size_t count = manipulator.jointDof();
  resizeLinkFrames(count);
  m_jointPlans.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    const KtManipulatorLink& link = manipulator.link(i);
    const KtLinkKinematics& joint = link.kinematics();
    const auto* row = dynamic_cast<const KtDenavitHartenberg*>(&joint);
    KtJointPlan& plan = m_jointPlans[i];
    plan = KtJointPlan{};
    plan.kinematics = &joint;
    plan.primaryOffset = KtLinkFrames::offsetOrNull(joint.primaryFrame());
    plan.soleChild = link.childCount() == 1;
    if (row == nullptr || !row->isHalfAngleRow()) continue;
    plan.halfAngleRow = row;
    plan.row = row->halfAngleRow();
    KtGeneralMotion unit;
    row->getUnitFrameMotion(unit);
    plan.unitLinear = unit.linear();
    plan.unitAngular = unit.angular();
    plan.turnsAboutOwnZ = plan.unitLinear == Kt::Vector() && plan.unitAngular == Kt::Vector(0.0, 0.0, 1.0);
  }
  m_frameSweep.angles.resize(KtFrameSweep::groups(count));
  bool classic = false, modified = false;
  for (const KtJointPlan& plan : m_jointPlans) {
    if (plan.halfAngleRow != nullptr) (plan.row.classic ? classic : modified) = true;
  }
  m_frameSweep.rows = classic && modified ? KtFrameSweep::Rows::mixed
                      : classic           ? KtFrameSweep::Rows::classicOnly
                                          : KtFrameSweep::Rows::modifiedOnly;
  buildSweepChains(manipulator);
  m_model = &manipulator;
  m_revision = KtModelRevision::current();
}

void KtManipulatorActivePositionState::buildSweepChains(const KtIndividualManipulator& manipulator) {
  std::vector<std::size_t>& links = m_frameSweep.chainLinks;
  links.clear();
  m_frameSweep.chains.resize(m_jointPlans.size());
  for (std::size_t i = 0; i < m_jointPlans.size(); ++i) {
    const KtManipulatorLink* const parent = manipulator.link(i).parentLink();
    KtSweepChain& chain = m_frameSweep.chains[i];
    if (parent->linkIndex() >= 0 && m_jointPlans[static_cast<std::size_t>(parent->linkIndex())].soleChild) {
      chain = m_frameSweep.chains[static_cast<std::size_t>(parent->linkIndex())];
      ++chain.at;
      continue;
    }
    chain.begin = links.size();
    for (const KtManipulatorLink* link = &manipulator.link(i); link->linkIndex() >= 0;
         link = link->parentLink())
      links.push_back(static_cast<std::size_t>(link->linkIndex()));
    std::reverse(links.begin() + static_cast<std::ptrdiff_t>(chain.begin), links.end());
    chain.at = links.size() - 1 - chain.begin;
    for (std::size_t last = i; m_jointPlans[last].soleChild && last + 1 < m_jointPlans.size();)
      links.push_back(++last);
    chain.end = links.size() - chain.begin;
  }
}

void KtManipulatorActivePositionState::setJointPositions(const std::vector<KtReal>& positions) {
  std::vector<KtReal>& joints = m_positionState.jointPositions();
  if (joints.size() != positions.size()) {
    invalidateFrom(0);
    joints.assign(positions.begin(), positions.end());
    return;
  }
  std::size_t firstChange = 0;
  while (firstChange < joints.size() && joints[firstChange] == positions[firstChange]) ++firstChange;
  invalidateFrom(firstChange);
  // Copied whole all the same: zeros of either sign compare equal.
  std::copy(positions.begin(), positions.end(), joints.begin());
}

void KtManipulatorActivePositionState::setJointPosition(std::size_t index, KtReal position) {
  std::vector<KtReal>& joints = m_positionState.jointPositions();
  if (index >= joints.size()) joints.resize(index + 1, 0.0);
  if (joints[index] == position) return;
  joints[index] = position;
  invalidateFrom(index);
}

void KtManipulatorActivePositionState::setBasePose(const Kt::coordinateSystemTransformation& pose) {
  const Kt::coordinateSystemTransformation& current = m_positionState.coordinateSystemTransform();
  if (current == pose && current.mode() == pose.mode()) return;
  m_positionState.setCoordinateSystemTransform(pose);
  invalidateAll();
}

void KtManipulatorActivePositionState::setPositionState(const KtPositionState& state) {
  setBasePose(state.coordinateSystemTransform());
  setJointPositions(state.jointPositions());
}
