#include "motion/expression/KtControlExpressionErrorSensitivity.h"

#include "foundation/Print.h"
#include "motion/expression/KtControlContextRequirements.h"
#include "xml/KtXmlNamespaces.h"

const KtToken& KtControlExpressionErrorSensitivity::elementToken() const {
  static const KtToken token(ktNamespaceCt, "errorSensitivity");
  return token;
}

void KtControlExpressionErrorSensitivity::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken link(ktNamespaceCt, "linkIdentifier"), weights(ktNamespaceCt, "endEffectorWeights");
  registerComponent(link, m_linkIdentifier);
  registerComponent(weights, m_weights);
}

void KtControlExpressionErrorSensitivity::setLinkIdentifier(const std::string& label) {
  m_linkIdentifier = label;
  noteTreeChanged();
}

void KtControlExpressionErrorSensitivity::setEndEffectorWeights(const std::vector<KtReal>& weights) {
  m_weights = weights;
  noteTreeChanged();
}

bool KtControlExpressionErrorSensitivity::prepare(const KtControlContext& context) {
  const char* operation = "KtControlExpressionErrorSensitivity::prepare()";
  if (!ktContextHasManipulator(context, operation)) return false;
  const int link = context.manipulator->linkIndexOf(m_linkIdentifier);
  if (link < 0) {
    ktPrint(KtSeverity::Error, "%s: no link is labelled \"%s\".\n", operation,
            m_linkIdentifier.value().c_str());
    return false;
  }
  if (!m_weights.empty() && m_weights.size() != 6) {
    ktPrint(KtSeverity::Error, "%s: %zu end-effector weights where 6 are needed.\n", operation,
            m_weights.size());
    return false;
  }
  m_jacobian.prepare(context, static_cast<std::size_t>(link));
  m_value.shapeAsMatrix(context.columnCount, context.columnCount);
  return true;
}

bool KtControlExpressionErrorSensitivity::evaluate(const KtControlContext& context) {
  if (!ktContextHasState(context, "KtControlExpressionErrorSensitivity::evaluate()") ||
      !m_jacobian.update(context))
    return false;
  const Kt::ReArray& j = m_jacobian.matrix();
  Kt::ReArray& w = m_value.matrix();
  const std::size_t n = j.columns();
  for (std::size_t a = 0; a < n; ++a)
    for (std::size_t b = a; b < n; ++b) {
      KtReal sum = 0.0;
      for (std::size_t r = 0; r < 6; ++r) sum += (m_weights.empty() ? 1.0 : m_weights[r]) * j[r][a] * j[r][b];
      w[a][b] = w[b][a] = sum;
    }
  return true;
}
