#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "math/ReArray.h"
#include "support/Random.h"

// Plain nested-vector matrices and textbook algorithms, written independently of ReArray, to
// check its results against. A vector is a matrix of one row.
namespace matrix_oracle {

using Matrix = std::vector<std::vector<double>>;

inline Matrix entries(const Kt::ReArray& a) {
  Matrix m;
  for (std::size_t r = 0; r < a.rows(); ++r) m.push_back(a[r]);
  return m;
}

inline Kt::ReArray toReArray(const Matrix& m) {
  Kt::ReArray a(m.size(), m.empty() ? 0 : m[0].size());
  for (std::size_t r = 0; r < m.size(); ++r) a[r] = m[r];
  return a;
}

inline Matrix random(TestRandom& rng, std::size_t rows, std::size_t columns) {
  Matrix m(rows, std::vector<double>(columns));
  for (auto& row : m) std::generate(row.begin(), row.end(), [&rng] { return rng.uniform(-1.0, 1.0); });
  return m;
}

inline Matrix transposed(const Matrix& a) {
  Matrix t(a.empty() ? 0 : a[0].size(), std::vector<double>(a.size()));
  for (std::size_t i = 0; i < a.size(); ++i)
    for (std::size_t j = 0; j < a[i].size(); ++j) t[j][i] = a[i][j];
  return t;
}

inline Matrix multiply(const Matrix& a, const Matrix& b) {
  Matrix r(a.size(), std::vector<double>(b.empty() ? 0 : b[0].size(), 0.0));
  for (std::size_t i = 0; i < a.size(); ++i)
    for (std::size_t j = 0; j < r[i].size(); ++j)
      for (std::size_t k = 0; k < b.size(); ++k) r[i][j] += a[i][k] * b[k][j];
  return r;
}

// a·v for v given as a row, returned as a row.
inline Matrix times(const Matrix& a, const Matrix& v) { return transposed(multiply(a, transposed(v))); }

inline double maxAbs(const Matrix& a) {
  double largest = 0.0;
  for (const auto& row : a)
    for (double entry : row) largest = std::max(largest, std::fabs(entry));
  return largest;
}

inline double maxDifference(const Matrix& a, const Matrix& b) {
  Matrix difference = a;
  for (std::size_t i = 0; i < a.size(); ++i)
    for (std::size_t j = 0; j < a[i].size(); ++j) difference[i][j] -= b[i][j];
  return maxAbs(difference);
}

// Laplace expansion along the first row.
inline double laplaceDeterminant(const Matrix& a) {
  double sum = a.empty() ? 1.0 : 0.0;
  for (std::size_t j = 0; j < a.size(); ++j) {
    Matrix minor(a.begin() + 1, a.end());
    for (auto& row : minor) row.erase(row.begin() + static_cast<std::ptrdiff_t>(j));
    sum += (j % 2 == 0 ? 1.0 : -1.0) * a[0][j] * laplaceDeterminant(minor);
  }
  return sum;
}

// Whether the columns are independent: their Gram determinant is not negligible against the
// product of their squared lengths (which bounds it).
inline bool independentColumns(const Matrix& a) {
  const Matrix gram = multiply(transposed(a), a);
  double bound = 1.0;
  for (std::size_t i = 0; i < gram.size(); ++i) bound *= gram[i][i];
  return laplaceDeterminant(gram) > 1e-10 * bound;
}

}  // namespace matrix_oracle
