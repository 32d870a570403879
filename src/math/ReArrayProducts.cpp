// Matrix-vector and matrix-matrix products, transposes, outer products and normal forms.
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "math/ReArray.h"
#include "math/ReArrayShape.h"

namespace Kt {

namespace {

template <typename First, typename Second>
KtReal dot(const First& a, const Second& b, std::size_t length) {
  KtReal sum = 0.0;
  for (std::size_t i = 0; i < length; ++i) sum += a[i] * b[i];
  return sum;
}

// target += scale·source over the first length entries.
void addScaled(std::vector<KtReal>& target, KtReal scale, const std::vector<KtReal>& source,
               std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) target[i] += scale * source[i];
}

// Copies the lower triangle of a square matrix onto its upper triangle.
void mirrorLowerTriangle(ReArray& matrix) {
  for (std::size_t i = 0; i < matrix.rows(); ++i) {
    for (std::size_t j = 0; j < i; ++j) matrix[j][i] = matrix[i][j];
  }
}

}  // namespace

bool ReArray::transform(const std::vector<KtReal>& v, ReArray& result) const {
  if (!checkShape(v.size() == columns(), "transform")) return false;
  ensureShape(result, rows(), 1);
  for (std::size_t row = 0; row < rows(); ++row) result.array_[row][0] = dot(array_[row], v, v.size());
  return true;
}

bool ReArray::transform(const std::vector<KtReal>& v, std::vector<KtReal>& result) const {
  if (!checkShape(v.size() == columns(), "transform")) return false;
  result.resize(rows());
  for (std::size_t row = 0; row < rows(); ++row) result[row] = dot(array_[row], v, v.size());
  return true;
}

bool ReArray::transform(const ReArray& m, ReArray& result) const {
  if (!checkShape(m.rows() == columns(), "transform")) return false;
  const std::size_t width = m.columns();
  result.setToZeros(rows(), width);
  for (std::size_t row = 0; row < rows(); ++row) {
    for (std::size_t k = 0; k < m.rows(); ++k)
      addScaled(result.array_[row], array_[row][k], m.array_[k], width);
  }
  return true;
}

bool ReArray::transposeTransform(const std::vector<KtReal>& v, std::vector<KtReal>& result) const {
  if (!checkShape(v.size() == rows(), "transposeTransform")) return false;
  result.assign(columns(), 0.0);
  for (std::size_t row = 0; row < rows(); ++row) addScaled(result, v[row], array_[row], columns());
  return true;
}

bool ReArray::leftTransposeTransform(const std::vector<KtReal>& v, ReArray& result) const {
  if (!checkShape(v.size() == rows(), "leftTransposeTransform")) return false;
  ensureShape(result, 1, columns());
  std::vector<KtReal>& product = result.array_[0];
  product.assign(columns(), 0.0);
  for (std::size_t row = 0; row < rows(); ++row) addScaled(product, v[row], array_[row], columns());
  return true;
}

bool ReArray::leftTransposeTransform(const ReArray& m, ReArray& result) const {
  if (!checkShape(m.rows() == rows(), "leftTransposeTransform")) return false;
  result.setToZeros(m.columns(), columns());
  for (std::size_t row = 0; row < rows(); ++row) {
    for (std::size_t i = 0; i < m.columns(); ++i) {
      addScaled(result.array_[i], m.array_[row][i], array_[row], columns());
    }
  }
  return true;
}

ReArray ReArray::operator*(const ReArray& other) const {
  ReArray product;
  transform(other, product);
  return product;
}

std::vector<KtReal> ReArray::operator*(const std::vector<KtReal>& v) const {
  std::vector<KtReal> product;
  transform(v, product);
  return product;
}

Kt::Vector ReArray::operator*(const Kt::Vector& v) const {
  const bool rotation = rows() == 3 && columns() == 3;
  const bool homogeneous = (rows() == 3 || rows() == 4) && columns() == 4;
  if (!checkShape(rotation || homogeneous, "operator*")) return Kt::Vector();
  // The homogeneous form applies to the point (x, y, z, 1); a 3×3 matrix reads only x, y, z.
  const std::array<KtReal, 4> point = {v.x(), v.y(), v.z(), 1.0};
  return Kt::Vector(dot(array_[0], point, columns()), dot(array_[1], point, columns()),
                    dot(array_[2], point, columns()));
}

void ReArray::transpose(ReArray& result) const {
  if (&result == this) {
    result = transpose();
    return;
  }
  ensureShape(result, columns(), rows());
  for (std::size_t row = 0; row < rows(); ++row) {
    for (std::size_t column = 0; column < columns(); ++column)
      result.array_[column][row] = array_[row][column];
  }
}

ReArray ReArray::transpose() const {
  ReArray result;
  transpose(result);
  return result;
}

bool ReArray::addSelfOuterProduct(const std::vector<KtReal>& v) {
  return addScaledOuterProduct(v, 1.0, "addSelfOuterProduct");
}

bool ReArray::addWeightedSelfOuterProduct(const std::vector<KtReal>& v, KtReal weight) {
  return addScaledOuterProduct(v, weight, "addWeightedSelfOuterProduct");
}

bool ReArray::addScaledOuterProduct(const std::vector<KtReal>& v, KtReal weight, const char* operation) {
  if (!checkShape(rows() == v.size() && columns() == v.size(), operation)) return false;
  for (std::size_t row = 0; row < rows(); ++row) addScaled(array_[row], weight * v[row], v, v.size());
  return true;
}

bool ReArray::underconstrainedNormal(ReArray& result) const {
  result.setToZeros(rows(), rows());
  for (std::size_t i = 0; i < rows(); ++i) {
    for (std::size_t j = 0; j <= i; ++j) result.array_[i][j] = dot(array_[i], array_[j], columns());
  }
  mirrorLowerTriangle(result);
  return true;
}

bool ReArray::overconstrainedNormal(ReArray& result) const {
  result.setToZeros(columns(), columns());
  for (const Row& row : array_) {
    for (std::size_t i = 0; i < columns(); ++i) addScaled(result.array_[i], row[i], row, i + 1);
  }
  mirrorLowerTriangle(result);
  return true;
}

}  // namespace Kt
