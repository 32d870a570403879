#include "motion/expression/KtControlExpressionSingularityAvoidance.h"

#include <algorithm>
#include <cmath>

#include "foundation/Print.h"
#include "motion/expression/KtControlContextRequirements.h"
#include "xml/KtXmlNamespaces.h"

namespace {

// A Cholesky pivot at most this fraction of the largest diagonal entry of M marks M as singular:
// log det M would then be dominated by rounding.
constexpr KtReal kSingularPivot = 1e-12;

using Matrix6 = std::array<std::array<KtReal, 6>, 6>;

// The inverse of the symmetric positive-definite M through its Cholesky factor; false when M is
// singular to working precision.
bool invertPositiveDefinite(const Matrix6& m, Matrix6& inverse) {
  KtReal largest = 0.0;
  for (std::size_t i = 0; i < 6; ++i) largest = std::max(largest, m[i][i]);
  Matrix6 l{};
  for (std::size_t j = 0; j < 6; ++j) {
    KtReal pivot = m[j][j];
    for (std::size_t k = 0; k < j; ++k) pivot -= l[j][k] * l[j][k];
    if (!(pivot > kSingularPivot * largest)) return false;
    l[j][j] = std::sqrt(pivot);
    for (std::size_t i = j + 1; i < 6; ++i) {
      KtReal sum = m[i][j];
      for (std::size_t k = 0; k < j; ++k) sum -= l[i][k] * l[j][k];
      l[i][j] = sum / l[j][j];
    }
  }
  // Column by column: L·y = e_c, then Lᵀ·x = y.
  for (std::size_t c = 0; c < 6; ++c) {
    std::array<KtReal, 6> x{};
    for (std::size_t i = 0; i < 6; ++i) {
      KtReal sum = i == c ? 1.0 : 0.0;
      for (std::size_t k = 0; k < i; ++k) sum -= l[i][k] * x[k];
      x[i] = sum / l[i][i];
    }
    for (std::size_t i = 6; i-- > 0;) {
      KtReal sum = x[i];
      for (std::size_t k = i + 1; k < 6; ++k) sum -= l[k][i] * x[k];
      x[i] = sum / l[i][i];
    }
    for (std::size_t i = 0; i < 6; ++i) inverse[i][c] = x[i];
  }
  return true;
}

}  // namespace

const KtToken& KtControlExpressionSingularityAvoidance::elementToken() const {
  static const KtToken token(ktNamespaceCt, "singularityAvoidance");
  return token;
}

void KtControlExpressionSingularityAvoidance::registerComponents() {
  KtControlExpression::registerComponents();
  static const KtToken input(ktNamespaceCt, "inputWeights"), output(ktNamespaceCt, "outputWeights");
  registerComponent(input, m_inputWeights);
  registerComponent(output, m_outputWeights);
}

void KtControlExpressionSingularityAvoidance::setInputWeights(const std::vector<KtReal>& weights) {
  m_inputWeights = weights;
  noteTreeChanged();
}

void KtControlExpressionSingularityAvoidance::setOutputWeights(const std::vector<KtReal>& weights) {
  m_outputWeights = weights;
  noteTreeChanged();
}

bool KtControlExpressionSingularityAvoidance::prepare(const KtControlContext& context) {
  const char* operation = "KtControlExpressionSingularityAvoidance::prepare()";
  if (!ktContextHasManipulator(context, operation)) return false;
  const std::size_t n = context.columnCount, links = context.manipulator->jointDof();
  if (links == 0) {
    ktPrint(KtSeverity::Error, "%s: the manipulator has no links.\n", operation);
    return false;
  }
  if (!m_inputWeights.empty() && m_inputWeights.size() != n) {
    ktPrint(KtSeverity::Error, "%s: %zu input weights for %zu columns.\n", operation, m_inputWeights.size(),
            n);
    return false;
  }
  if (!m_outputWeights.empty() && m_outputWeights.size() != 6) {
    ktPrint(KtSeverity::Error, "%s: %zu output weights where 6 are needed.\n", operation,
            m_outputWeights.size());
    return false;
  }
  m_jacobian.prepare(context, links - 1);
  m_sensitivity.setToZeros(n, 6);
  m_value.shapeAsColumn(n);
  return true;
}

bool KtControlExpressionSingularityAvoidance::evaluate(const KtControlContext& context) {
  if (!ktContextHasState(context, "KtControlExpressionSingularityAvoidance::evaluate()") ||
      !m_jacobian.update(context))
    return false;
  const Kt::ReArray& j = m_jacobian.matrix();
  const std::size_t n = m_jacobian.columns();
  std::vector<KtReal>& gradient = m_value.column();
  std::fill(gradient.begin(), gradient.end(), 0.0);

  Matrix6 m{}, inverse{};
  for (std::size_t r = 0; r < 6; ++r)
    for (std::size_t s = 0; s < 6; ++s) {
      KtReal sum = 0.0;
      for (std::size_t c = 0; c < n; ++c) sum += j[r][c] * inputWeight(c) * j[s][c];
      m[r][s] = outputWeight(r) * sum * outputWeight(s);
    }
  if (!invertPositiveDefinite(m, inverse)) return true;

  // With S = Wi·Jᵀ·Wo·M⁻¹·Wo, tr(M⁻¹·Wo·∂J·Wi·Jᵀ·Wo) = Σ_c ⟨∂J_c, row c of S⟩.
  for (std::size_t c = 0; c < n; ++c)
    for (std::size_t r = 0; r < 6; ++r) {
      KtReal sum = 0.0;
      for (std::size_t s = 0; s < 6; ++s) sum += j[s][c] * outputWeight(s) * inverse[s][r];
      m_sensitivity[c][r] = inputWeight(c) * sum * outputWeight(r);
    }
  for (std::size_t k = 0; k < n; ++k) {
    KtReal trace = 0.0;
    for (std::size_t c = 0; c < n; ++c) {
      const KtJointColumn rate = m_jacobian.columnRate(k, c);
      const std::vector<KtReal>& s = m_sensitivity[c];
      for (std::size_t i = 0; i < 3; ++i) trace += rate.linear[i] * s[i] + rate.angular[i] * s[i + 3];
    }
    gradient[k] = -2.0 * trace;
  }
  return true;
}
