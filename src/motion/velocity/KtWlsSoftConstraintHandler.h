#pragma once

#include <vector>

#include "math/ReArray.h"
#include "motion/expression/KtControlContext.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlDefaulted.h"

// Turns the rows of the end effectors that are not hard constraints into a weighted
// least-squares cost: the control core then minimises
//   ½·q̇ᵀ·W·q̇ + g·q̇ + ½·Σₛ wₛ·‖Jₛ·q̇ − Vₛ‖²
// subject to the hard rows only, with wₛ = weight × the end effector's error weight. Expanding
// the sum adds wₛ·JₛᵀJₛ to W and −wₛ·JₛᵀVₛ to the gradient g; the constant ½wₛ‖Vₛ‖² does not
// move the minimum. With no hard rows this is damped least squares: W keeps the solution
// bounded where Jₛ loses rank, at the price of not meeting Vₛ exactly.
class KtWlsSoftConstraintHandler : public KtXmlCloneable<KtWlsSoftConstraintHandler, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;

  KtReal weight() const { return m_weight; }
  void setWeight(KtReal weight) { m_weight = weight; }

  // Checks that the context names a manipulator; prints
  // "KtWlsSoftConstraintHandler::getPointers()-> bad manipulator index, %d.\n" otherwise.
  bool getPointers(const KtControlContext& context) const;
  // Adds the soft rows of the context's end-effector set (those whose end effector is not a
  // hard constraint) into `weighting` (n x n) and `gradient` (n entries).
  bool integrateSoftConstraints(const KtControlContext& context, Kt::ReArray& weighting,
                                std::vector<KtReal>& gradient) const;

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_weight{1.0};
};
