// Cholesky factorisation and the triangular substitutions that solve with its factor.
#include <cmath>
#include <cstddef>
#include <vector>

#include "foundation/Print.h"
#include "math/ReArray.h"
#include "math/ReArrayShape.h"

namespace Kt {

namespace {

// Diagonal entries below this magnitude are treated as zero rather than divided by.
constexpr KtReal kSmallestDivisor = 1e-300;

// The four triangular solves, each in place on x (which holds the right-hand side on entry).
// Every loop runs along stored rows. Each returns false on a diagonal entry it may not divide by.
using Rows = std::vector<std::vector<KtReal>>;

bool divisible(KtReal diagonal) { return std::fabs(diagonal) >= kSmallestDivisor; }

// L·y = x, L lower triangular.
bool solveLower(const Rows& l, std::vector<KtReal>& x) {
  for (std::size_t i = 0; i < x.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) x[i] -= l[i][k] * x[k];
    if (!divisible(l[i][i])) return false;
    x[i] /= l[i][i];
  }
  return true;
}

// Lᵀ·y = x, L lower triangular: column i of Lᵀ is row i of L.
bool solveLowerTransposed(const Rows& l, std::vector<KtReal>& x) {
  for (std::size_t i = x.size(); i-- > 0;) {
    if (!divisible(l[i][i])) return false;
    x[i] /= l[i][i];
    for (std::size_t k = 0; k < i; ++k) x[k] -= l[i][k] * x[i];
  }
  return true;
}

// U·y = x, U upper triangular.
bool solveUpper(const Rows& u, std::vector<KtReal>& x) {
  for (std::size_t i = x.size(); i-- > 0;) {
    for (std::size_t k = i + 1; k < x.size(); ++k) x[i] -= u[i][k] * x[k];
    if (!divisible(u[i][i])) return false;
    x[i] /= u[i][i];
  }
  return true;
}

// Uᵀ·y = x, U upper triangular: column i of Uᵀ is row i of U.
bool solveUpperTransposed(const Rows& u, std::vector<KtReal>& x) {
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (!divisible(u[i][i])) return false;
    x[i] /= u[i][i];
    for (std::size_t k = i + 1; k < x.size(); ++k) x[k] -= u[i][k] * x[i];
  }
  return true;
}

}  // namespace

bool ReArray::choleskyDecomposition(ReArray& L) const {
  const std::size_t n = rows();
  if (n != columns()) {
    ktPrint(KtSeverity::Error, "%s::choleskyDecomposition(): not a square matrix\n", className());
    return false;
  }
  // Row i of L needs only row i of this matrix and the rows of L above it, so L may be this
  // matrix; its upper triangle is cleared row by row.
  ensureShape(L, n, n);
  for (std::size_t i = 0; i < n; ++i) {
    const Row& source = array_[i];
    Row& target = L.array_[i];
    for (std::size_t j = 0; j <= i; ++j) {
      const Row& rowJ = L.array_[j];
      KtReal sum = source[j];
      for (std::size_t k = 0; k < j; ++k) sum -= target[k] * rowJ[k];
      if (j < i) {
        target[j] = sum / rowJ[j];
      } else if (sum > 0.0) {
        target[i] = std::sqrt(sum);
      } else {
        ktPrint(KtSeverity::Error, "%s::choleskyDecomposition(): the matrix is not positive definite\n",
                className());
        return false;
      }
    }
    for (std::size_t j = i + 1; j < n; ++j) target[j] = 0.0;
  }
  return true;
}

bool ReArray::substitute(const std::vector<KtReal>& b, std::vector<KtReal>& x, Substitution first,
                         Substitution second, const char* operation) const {
  if (rows() != columns() || b.size() != rows()) {
    ktPrint(KtSeverity::Error, "%s::%s(): bad dimensions on input\n", className(), operation);
    return false;
  }
  x = b;
  if (first(array_, x) && (!second || second(array_, x))) return true;
  ktPrint(KtSeverity::Error, "%s::%s(): zero on the diagonal\n", className(), operation);
  return false;
}

bool ReArray::choleskyBackSubstitution(const std::vector<KtReal>& b, std::vector<KtReal>& x) const {
  return substitute(b, x, solveLower, solveLowerTransposed, "choleskyBackSubstitution");
}

bool ReArray::choleskyBackSubstitutionOnTranspose(const std::vector<KtReal>& b,
                                                  std::vector<KtReal>& x) const {
  return substitute(b, x, solveUpperTransposed, solveUpper, "choleskyBackSubstitutionOnTranspose");
}

bool ReArray::lowerTriangularForwardSubstitution(const std::vector<KtReal>& b, std::vector<KtReal>& y) const {
  return substitute(b, y, solveLower, nullptr, "lowerTriangularForwardSubstitution");
}

bool ReArray::lowerTriangularForwardSubstitutionOnTranspose(const std::vector<KtReal>& b,
                                                            std::vector<KtReal>& y) const {
  return substitute(b, y, solveUpperTransposed, nullptr, "lowerTriangularForwardSubstitutionOnTranspose");
}

}  // namespace Kt
