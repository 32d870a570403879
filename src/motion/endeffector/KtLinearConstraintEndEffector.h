#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "motion/endeffector/KtEndEffector.h"

// One weighted sum of joint values, s = Σ wᵢ·qᵢ over the joints named in `jointLabels` with
// the weights of `jointWeights` (paired in order; a label without a weight has weight 1). Its
// single Jacobian row holds the weights in the columns of the named joints and nothing in the
// base columns. Labels that name no joint, or the base, are reported once when resolved and
// left out.
//
// Placement: the translation (s, 0, 0) with the identity orientation, so that the filter and
// the distances work on the sum itself. A desired sum is given as a placement the same way;
// `weightedSum` is the sum the constraint holds when the caller has no other: desiredPlacement()
// gives it as such a placement. The relative-link data and the link identifier play no part.
// The filter is the one-dimensional point filter with `gain` and `threshold`; the feed-forward
// has one entry or none. `isInteractive` is kept for the caller.
//
// Editing labels: link (the first joint label: empty when there is none; setting it on an
// empty list adds that label, setting an empty text changes nothing), joint_value
// (`weightedSum`), gain, threshold.
class KtLinearConstraintEndEffector : public KtXmlCloneable<KtLinearConstraintEndEffector, KtEndEffector> {
 public:
  KtLinearConstraintEndEffector();
  const KtToken& elementToken() const override;

  const std::vector<std::string>& jointLabels() const { return m_jointLabels; }
  void setJointLabels(const std::vector<std::string>& labels) { m_jointLabels = labels; }
  const std::vector<KtReal>& jointWeights() const { return m_jointWeights; }
  void setJointWeights(const std::vector<KtReal>& weights) { m_jointWeights = weights; }
  KtReal weightedSum() const { return m_weightedSum; }
  void setWeightedSum(KtReal sum) { m_weightedSum = sum; }
  KtReal gain() const { return m_gain; }
  void setGain(KtReal gain) { m_gain = gain; }
  bool isInteractive() const { return m_isInteractive; }
  void setIsInteractive(bool interactive) { m_isInteractive = interactive; }
  Kt::coordinateSystemTransformation desiredPlacement() const {
    return Kt::coordinateSystemTransformation(Kt::Vector(m_weightedSum, 0.0, 0.0));
  }

  std::size_t rowCount() const override { return 1; }

  void insertJacobianComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& jacobian) const override;
  void insertSparsityComponent(const KtIndividualManipulator& manipulator, std::size_t firstRow,
                               const KtEndEffectorRelativeLinkData& relative, bool isFixedBase,
                               KtManipulatorActiveState& state, Kt::ReArray& sparsity) const override;

  bool calculatePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                          Kt::coordinateSystemTransformation& placement) const override {
    return calculateAbsolutePlacement(manipulator, state, placement);
  }
  // The sum's rate Σ wᵢ·q̇ᵢ as the linear x entry; its velocity-product acceleration is zero.
  bool calculateVelocity(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                         KtGeneralMotion& velocity) const override;
  bool calculateAcceleration(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                             KtGeneralMotion& acceleration) const override;

  // |s₂ − s₁|, and that over the threshold.
  KtReal normalizedDistance(const Kt::coordinateSystemTransformation& first,
                            const Kt::coordinateSystemTransformation& second) const override;
  KtReal linearDistance(const Kt::coordinateSystemTransformation& first,
                        const Kt::coordinateSystemTransformation& second) const override;

  KtEditingValues editingValues() const override;
  void setEditingValues(const KtEditingValues& values) override;

  KtReal motionThreshold() const override { return m_threshold; }
  void setMotionThreshold(KtReal threshold) override { m_threshold = threshold; }
  KtReal errorWeight() const override { return m_errorWeight; }
  void setErrorWeight(KtReal weight) override { m_errorWeight = weight; }

  void filterVelocityAndScale(const Kt::coordinateSystemTransformation& actual,
                              const Kt::coordinateSystemTransformation& desired,
                              const KtEndEffectorVelocityEntries& feedForward, KtReal dt,
                              KtEndEffectorVelocityEntries& commanded, KtReal& scale) const override;

  // Resolves the joint labels to joint indices, once per manipulator, label list and model
  // revision; the queries above call it themselves.
  void setLinkIndices(const KtIndividualManipulator& manipulator) const override;

 protected:
  void registerComponents() override;
  bool calculateAbsolutePlacement(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                  Kt::coordinateSystemTransformation& placement) const override;

 private:
  // The resolved joints: per label its joint index, or kNoIndex when it names none.
  struct ResolvedJoints {
    const KtIndividualManipulator* manipulator = nullptr;
    std::uint64_t revision = 0;
    std::vector<std::string> labels;
    std::vector<int> indices;
  };
  // Calls visit(jointIndex, weight) for every resolved joint label.
  template <typename Visit>
  void forEachJoint(const KtIndividualManipulator& manipulator, Visit&& visit) const {
    setLinkIndices(manipulator);
    for (std::size_t i = 0; i < m_joints.indices.size(); ++i) {
      if (m_joints.indices[i] < 0) continue;
      visit(static_cast<std::size_t>(m_joints.indices[i]),
            i < m_jointWeights.size() ? m_jointWeights[i] : 1.0);
    }
  }
  // Whether the rows fit, with the message of `operation` otherwise.
  bool rowFits(const KtIndividualManipulator& manipulator, std::size_t firstRow, bool isFixedBase,
               const Kt::ReArray& matrix, const char* operation) const {
    return blockFits(matrix, firstRow, 1, manipulator.jointDof() + (isFixedBase ? 0 : 6), operation);
  }

  KtXmlVectorType<std::string> m_jointLabels;
  KtXmlVectorType<KtReal> m_jointWeights;
  KtXmlBasicType<KtReal> m_weightedSum = 0.0;
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_gain{50.0};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_threshold{1.0};
  KtXmlDefaulted<KtXmlBasicType<bool>> m_isInteractive{false};
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_errorWeight{1.0};

  mutable ResolvedJoints m_joints;
};
