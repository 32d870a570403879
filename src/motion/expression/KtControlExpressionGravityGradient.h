#pragma once

#include <string>
#include <vector>

#include "math/ReArray.h"
#include "motion/expression/KtControlExpressionDynamics.h"
#include "xml/KtXmlBasicType.h"

// The gradient of the manipulator's potential energy in gravity (9.81 m/s² along the system's
// −z) over the joint-space columns: the torques and forces that hold the arm still. As the
// gradient F of a core with α > 0 the redundant motion lowers the arm.
class KtControlExpressionPotentialEnergyGradient
    : public KtXmlCloneable<KtControlExpressionPotentialEnergyGradient, KtControlExpressionDynamics> {
 public:
  const KtToken& elementToken() const override;
  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;
};

// The gradient over the columns of ½‖τ‖², τ the gravity load that the links from
// `linkIdentifier` outward (every link when the label is empty) put on the columns: Dᵀτ with
// D = ∂τ/∂q. As the gradient F of a core with α > 0 the redundant motion relieves the joints of
// that load, which keeps the motors cool and the arm strong for its task. A label naming no link
// prints "KtControlExpressionGravitationalTorqueGradient::prepare(): no link labelled <label>.\n".
class KtControlExpressionGravitationalTorqueGradient
    : public KtXmlCloneable<KtControlExpressionGravitationalTorqueGradient, KtControlExpressionDynamics> {
 public:
  const KtToken& elementToken() const override;
  const std::string& linkIdentifier() const { return m_linkIdentifier; }
  void setLinkIdentifier(const std::string& label);

  bool prepare(const KtControlContext& context) override;
  bool evaluate(const KtControlContext& context) override;

 protected:
  void registerComponents() override;

 private:
  KtXmlBasicType<std::string> m_linkIdentifier;
  // Resolved in prepare.
  int m_outwardFrom = KtManipulatorLink::kBaseLinkIndex;
  std::vector<KtReal> m_torques;
  Kt::ReArray m_derivative;
};
