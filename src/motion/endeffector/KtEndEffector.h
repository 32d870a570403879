#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "manipulator/KtGeneralMotion.h"
#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtJointColumns.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "math/ReArray.h"
#include "math/coordinateSystemTransformation.h"
#include "motion/endeffector/KtEndEffectorRelativeLinkData.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlPairType.h"
#include "xml/KtXmlVectorType.h"

// An end effector's parameters as text for interactive editing: (label, value) pairs.
using KtEditingValues = std::vector<std::pair<std::string, std::string>>;

// A velocity of an end effector as the control path passes it around: as many entries as the
// end effector has rows, or, for the frame-like ones, the six-entry general velocity (linear
// then angular, system axes) that their filter reduces. An empty feed-forward counts as zero.
using KtEndEffectorVelocityEntries = std::vector<KtReal>;

// One task-space constraint on a manipulator: a point or frame on a link, the centre of mass,
// the momentum, or a weighted sum of joint values. It knows its row count, its placement for a
// state, its rows of the manipulator Jacobian, its motion filter (desired placement to commanded
// velocity) and how far two of its placements lie apart.
//
// Frames. "The link frame" of the carrying link is its primary frame in system coordinates.
// Jacobian columns are the joints in index order, then six base columns (translation along,
// then rotation about the system's x, y, z through the base origin) when the base is free.
// Rows are in system axes unless a class says otherwise.
//
// Labels are resolved to link indices once per manipulator and model revision (see
// resolvedLink); a label that names no link is reported by the operation that needed it.
// Nothing here throws; a failure prints and leaves its output as it was.
class KtEndEffector : public KtXmlCompoundType {
 public:
  // Reading may bring a new carrying label, so it drops the link resolved for the old one.
  bool read(KtXmlReader& reader) override;
  const std::string& linkIdentifier() const { return m_linkIdentifier; }
  void setLinkIdentifier(const std::string& label) {
    m_linkIdentifier = label;
    m_carryingLink = ResolvedLink{};
  }
  const KtEndEffectorRelativeLinkData& relativeLinkData() const { return m_relativeLinkData; }
  void setRelativeLinkData(const KtEndEffectorRelativeLinkData& data) { m_relativeLinkData = data; }
  bool isHardConstraint() const { return m_isHardConstraint; }
  void setIsHardConstraint(bool hard) { m_isHardConstraint = hard; }

  // Number of scalar constraint rows this end effector contributes.
  virtual std::size_t rowCount() const = 0;

  // Writes this end effector's rows, from firstRow on, into a Jacobian whose columns are the
  // manipulator's joints (plus six when isFixedBase is false). `state` is the manipulator's
  // up-to-date active state. Entries of other columns are left as they were.
  virtual void insertJacobianComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                                       const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                                       KtManipulatorActiveState& state, Kt::ReArray& jacobian) const = 0;
  // Writes 1.0 wherever insertJacobianComponent can write a non-zero entry.
  virtual void insertSparsityComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                                       const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                                       KtManipulatorActiveState& state, Kt::ReArray& sparsity) const = 0;

  // The current placement: in system coordinates, or in the reference link's frame while the
  // own relative-link data says so. False (with the class's message) when a label is bad.
  virtual bool calculatePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                  Kt::coordinateSystemTransformation& placement) const = 0;
  // Velocity and velocity-product acceleration (system axes) of the end effector's point or
  // frame origin, as for a point rigidly fixed to the carrying link; relative to the reference
  // link's point at the same place while the own relative-link data says so.
  virtual bool calculateVelocity(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                 KtGeneralMotion& velocity) const;
  virtual bool calculateAcceleration(const KtIndividualManipulator& manipulator,
                                     KtManipulatorActiveState& state, KtGeneralMotion& acceleration) const;

  // How far apart two placements are: as a length, and in units of the filter's threshold.
  virtual KtReal normalizedDistance(const Kt::coordinateSystemTransformation& first,
                                    const Kt::coordinateSystemTransformation& second) const = 0;
  virtual KtReal linearDistance(const Kt::coordinateSystemTransformation& first,
                                const Kt::coordinateSystemTransformation& second) const = 0;

  // The class's editing labels with the current values as text, and their parsing back. A
  // list of another length than the class's label count is ignored.
  virtual KtEditingValues editingValues() const = 0;
  virtual void setEditingValues(const KtEditingValues& values) = 0;
  // Sets the one label through the two above; false when the class has no such label.
  bool setEditingValue(const std::string& label, const std::string& value);
  std::size_t editingLabelCount() const { return m_editingLabelCount; }

  virtual KtReal motionThreshold() const = 0;
  virtual void setMotionThreshold(KtReal threshold) = 0;
  virtual KtReal errorWeight() const = 0;
  virtual void setErrorWeight(KtReal weight) = 0;

  // The commanded velocity (rowCount() entries, in the axes of the rows) that drives the
  // actual placement toward the desired one over a step of dt, plus the feed-forward.
  void filterEndEffectorVelocity(const Kt::coordinateSystemTransformation& actual,
                                 const Kt::coordinateSystemTransformation& desired,
                                 const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                                 KtEndEffectorVelocityEntries& commanded) const {
    KtReal scale = 1.0;
    filterVelocityAndScale(actual, desired, feedForward, dt, commanded, scale);
  }
  // The same, also giving the factor in [0, 1] by which the filter's threshold shortened the
  // correction (the commanded velocity less the feed-forward); 1 when it did not.
  virtual void filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                                      const Kt::coordinateSystemTransformation& desired,
                                      const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                                      KtEndEffectorVelocityEntries& commanded, KtReal& scale) const = 0;

  // Resolves the labels for this manipulator now (the set calls it when it or the model
  // changes); the queries above resolve on their own when the revision has moved on.
  virtual void setLinkIndices(const KtIndividualManipulator& manipulator) const;

 protected:
  explicit KtEndEffector(std::initializer_list<const char*> editingLabels);
  void registerComponents() override;

  // The link with that label (the manipulator itself for its base label), or null, looked up
  // once per manipulator, label and model revision and remembered in `cache`. A cache whose
  // label can only change together with it (`labelKept`) is not compared by label.
  struct ResolvedLink {
    const KtIndividualManipulator* manipulator = nullptr;
    std::uint64_t revision = 0;
    std::string label;
    int index = KtManipulatorLink::kNoIndex;
  };
  static const KtManipulatorLink* resolvedLink(const KtIndividualManipulator& manipulator,
                                               const std::string& label, ResolvedLink& cache,
                                               bool labelKept = false);
  // The carrying label changes only through setLinkIdentifier and read, which drop its cache.
  const KtManipulatorLink* carryingLink(const KtIndividualManipulator& manipulator) const {
    return resolvedLink(manipulator, m_linkIdentifier, m_carryingLink, true);
  }
  const KtManipulatorLink* referenceLink(const KtIndividualManipulator& manipulator,
                                         const KtEndEffectorRelativeLinkData& relative) const {
    return resolvedLink(manipulator, relative.relativeLinkId(), m_referenceLink);
  }

  // Calls visit(columnIndex, column) for every Jacobian column that the motion of `point`
  // (system coordinates), rigidly fixed to `link`, depends on; column is a KtJointColumn.
  // Absolute: the columns of the link's chain, then the six base columns when `freeBase`.
  // Relative (`relative` set): the motion relative to the point fixed to `reference` at the
  // same place, so the joints both chains share give exactly zero, the reference chain's own
  // joints give their negated columns, and no base column is visited; with no reference
  // (a bad label) only the own chain is visited.
  template <typename Visit>
  static void forEachColumn(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                            const KtManipulatorLink& link, bool relative, const KtManipulatorLink* reference,
                            bool freeBase, const Kt::Vector& point, Visit&& visit) {
    const bool ownRecorded = KtJointColumns::chainRecorded(link, state);
    for (const KtManipulatorLink* own = &link; own->linkIndex() >= 0; own = own->parentLink()) {
      const bool shared = reference != nullptr && isOnChainOf(*own, *reference);
      visit(static_cast<std::size_t>(own->linkIndex()),
            shared ? KtJointColumn{} : columnAt(*own, ownRecorded, state, point));
    }
    if (relative) {
      if (reference == nullptr) return;
      const bool referenceRecorded = KtJointColumns::chainRecorded(*reference, state);
      for (const KtManipulatorLink* other = reference; other->linkIndex() >= 0; other = other->parentLink()) {
        if (isOnChainOf(*other, link)) break;  // from here on toward the base the joints are shared
        const KtJointColumn column = columnAt(*other, referenceRecorded, state, point);
        visit(static_cast<std::size_t>(other->linkIndex()), KtJointColumn{-column.linear, -column.angular});
      }
      return;
    }
    if (!freeBase) return;
    const Kt::Vector r =
        point - state.activePositionState().positionState().coordinateSystemTransform().translation();
    for (std::size_t k = 0; k < 6; ++k) visit(manipulator.jointDof() + k, KtJointColumns::freeBase(k, r));
  }
  // The column of the link's joint at `point`: straight from its frame record when the chain's
  // records are known to be up to date (KtJointColumns::chainRecorded), else through at().
  static KtJointColumn columnAt(const KtManipulatorLink& link, bool recorded, KtManipulatorActiveState& state,
                                const Kt::Vector& point) {
    if (!recorded) return KtJointColumns::at(link, state, point);
    const KtManipulatorActivePositionState& positions = state.activePositionState();
    const auto index = static_cast<std::size_t>(link.linkIndex());
    return KtJointColumns::fromRecord(link, positions.linkFrames(index), positions.jointPlan(index), point);
  }
  // Whether `candidate` lies on the chain from `link` to the base (the link itself included).
  static bool isOnChainOf(const KtManipulatorLink& candidate, const KtManipulatorLink& link) {
    for (const KtManipulatorLink* l = &link; l != nullptr; l = l->parentLink())
      if (l == &candidate) return true;
    return false;
  }

  // The absolute placement the velocity and acceleration are taken at (its origin); classes
  // whose point is not on one link (centre of mass) override the motion queries instead.
  virtual bool calculateAbsolutePlacement(const KtIndividualManipulator& manipulator,
                                          KtManipulatorActiveState& state,
                                          Kt::coordinateSystemTransformation& placement) const = 0;
  // `placement` (absolute) re-expressed in the reference link's frame when the own
  // relative-link data asks for it; false (placement unchanged) for a bad reference label.
  bool makeRelative(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                    Kt::coordinateSystemTransformation& placement) const;

  // Whether rows firstRow.. (rowCount of them) and `columnCount` columns exist in `matrix`;
  // otherwise "<operation>: rows a to b and c columns do not fit an r x c matrix." and false.
  static bool blockFits(const Kt::ReArray& matrix, std::size_t firstRow, std::size_t rowCount,
                        std::size_t columnCount, const char* operation);

  // Message formats of the row walks; the first argument is the operation's name, the second
  // the bad label or the reference's index.
  static constexpr const char* kBadPointLabel = "%s: bad label on point end effector: %s.\n";
  static constexpr const char* kBadFrameLabel = "%s: bad label on frame end effector: %s.\n";
  static constexpr const char* kBadReferenceLink = "%s: bad index on relative link: %d.\n";
  static constexpr const char* kBadReferencePLink = "%s: bad index on relative pLink: %d.\n";

  // What the opening of a row walk prints: `operation` names the block-size message, and the
  // formats `badLabel` and `badReference` are printed with `labelOperation`. A null `badLabel`
  // marks rows that hang on no single link; the carrying label is then not looked at.
  struct RowWalkTexts {
    const char* operation;
    const char* labelOperation;
    const char* badLabel;
    const char* badReference;
  };
  // The links a row walk visits the columns of: the carrying link (null for rows on no single
  // link) and, while the rows are relative, the reference (null when its label is bad: the own
  // chains are then still walked, without base columns).
  struct RowWalk {
    const KtManipulatorLink* link = nullptr;
    bool relative = false;
    const KtManipulatorLink* reference = nullptr;
  };
  // Opens a walk over rows firstRow.. of `matrix`: checks that rowCount() rows and the
  // manipulator's columns (six more for a free base) fit, then resolves the carrying link and
  // the reference. False, with the message, when the block does not fit or the carrying label
  // is bad, so that the caller writes nothing.
  bool openRowWalk(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                   const KtEndEffectorRelativeLinkData& relative, bool isFixedBase, const Kt::ReArray& matrix,
                   const RowWalkTexts& texts, RowWalk& walk) const;
  // The reference link while `relative` asks for one, else null; a label that names no link
  // prints `badReference` with `operation` and the index -1, and gives null.
  const KtManipulatorLink* resolvedReference(const KtIndividualManipulator& manipulator,
                                             const KtEndEffectorRelativeLinkData& relative,
                                             const char* operation, const char* badReference) const;

  // Text forms of editing values: reals in shortest round-trip form, flags as "1" or "0".
  static std::string editingText(KtReal value);
  static std::string editingText(bool value);
  // Parses a real; on text that is no finite number the value stays as it was.
  static void parseEditingReal(const std::string& text, KtReal& value);
  // "0" means false, any other text true.
  static bool parseEditingFlag(const std::string& text) { return text != "0"; }

 private:
  KtXmlBasicType<std::string> m_linkIdentifier;
  KtEndEffectorRelativeLinkData m_relativeLinkData;
  KtXmlBasicType<bool> m_isHardConstraint = true;
  KtXmlVectorType<KtXmlPairType<std::string, std::string>> m_editingLabels;
  std::size_t m_editingLabelCount = 0;

  mutable ResolvedLink m_carryingLink;
  mutable ResolvedLink m_referenceLink;
};
