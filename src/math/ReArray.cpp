// Construction, shape, element access and element-wise arithmetic of ReArray.
#include "math/ReArray.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "foundation/Print.h"

namespace Kt {

template <typename Function>
void ReArray::applyToElements(Function function) {
  for (Row& row : array_) {
    for (KtReal& entry : row) entry = function(entry);
  }
}

ReArray::ReArray(std::size_t rows, std::size_t columns) : array_(rows, Row(columns, 0.0)) {}

ReArray& ReArray::operator=(const ReArray& other) {
  copyEntriesOf(other);
  return *this;
}

ReArray& ReArray::operator=(const std::vector<KtReal>& column) {
  setToZeros(column.size(), 1);
  for (std::size_t row = 0; row < column.size(); ++row) array_[row][0] = column[row];
  return *this;
}

void ReArray::setToZeros(std::size_t rows, std::size_t columns) {
  array_.resize(rows);
  for (Row& row : array_) row.assign(columns, 0.0);
}

void ReArray::setToIdentity(std::size_t rows, std::size_t columns) {
  setToZeros(rows, columns);
  for (std::size_t i = 0; i < std::min(rows, columns); ++i) array_[i][i] = 1.0;
}

void ReArray::resizeArray(std::size_t rows, std::size_t columns) {
  array_.resize(rows);
  for (Row& row : array_) row.resize(columns, 0.0);
}

void ReArray::copyEntriesOf(const ReArray& other) {
  // Vector assignment reuses the existing capacity, so equal shapes copy without allocating.
  if (this != &other) array_ = other.array_;
}

void ReArray::assignColumnTo(std::size_t index, std::vector<KtReal>& v) const {
  if (index >= columns()) failIndex(index, columns(), "assignColumnTo");
  v.resize(rows());
  for (std::size_t row = 0; row < rows(); ++row) v[row] = array_[row][index];
}

void ReArray::assignRowTo(std::size_t index, std::vector<KtReal>& v) const {
  if (index >= rows()) failIndex(index, rows(), "assignRowTo");
  v = array_[index];
}

std::vector<KtReal> ReArray::getColumn(std::size_t index) const {
  std::vector<KtReal> column;
  assignColumnTo(index, column);
  return column;
}

void ReArray::setToDiagonal(const std::vector<KtReal>& diagonal) {
  setToZeros(diagonal.size(), diagonal.size());
  for (std::size_t i = 0; i < diagonal.size(); ++i) array_[i][i] = diagonal[i];
}

KtReal ReArray::trace() const {
  KtReal sum = 0.0;
  for (std::size_t i = 0; i < std::min(rows(), columns()); ++i) sum += array_[i][i];
  return sum;
}

KtReal ReArray::infinityNorm() const {
  KtReal largest = 0.0;
  for (const Row& row : array_) {
    KtReal sum = 0.0;
    for (KtReal entry : row) sum += std::fabs(entry);
    largest = std::max(largest, sum);
  }
  return largest;
}

bool ReArray::approxEq(const ReArray& other, KtReal tolerance) const {
  if (rows() != other.rows() || columns() != other.columns()) return false;
  for (std::size_t row = 0; row < rows(); ++row) {
    for (std::size_t column = 0; column < columns(); ++column) {
      if (!(std::fabs(array_[row][column] - other.array_[row][column]) <= tolerance)) return false;
    }
  }
  return true;
}

bool ReArray::operator==(const ReArray& other) const {
  return rows() == other.rows() && columns() == other.columns() && array_ == other.array_;
}

ReArray& ReArray::operator+=(const ReArray& other) {
  if (!checkShape(rows() == other.rows() && columns() == other.columns(), "operator+=")) return *this;
  for (std::size_t row = 0; row < rows(); ++row) {
    for (std::size_t column = 0; column < columns(); ++column)
      array_[row][column] += other.array_[row][column];
  }
  return *this;
}

ReArray& ReArray::operator-=(const ReArray& other) {
  if (!checkShape(rows() == other.rows() && columns() == other.columns(), "operator-=")) return *this;
  for (std::size_t row = 0; row < rows(); ++row) {
    for (std::size_t column = 0; column < columns(); ++column)
      array_[row][column] -= other.array_[row][column];
  }
  return *this;
}

ReArray& ReArray::operator*=(KtReal scale) {
  applyToElements([scale](KtReal entry) { return entry * scale; });
  return *this;
}

ReArray ReArray::operator+(const ReArray& other) const {
  ReArray sum(*this);
  sum += other;
  return sum;
}

ReArray ReArray::operator-(const ReArray& other) const {
  ReArray difference(*this);
  difference -= other;
  return difference;
}

ReArray ReArray::operator*(KtReal scale) const {
  ReArray product(*this);
  product *= scale;
  return product;
}

void ReArray::elementInverse() {
  applyToElements([](KtReal entry) { return 1.0 / entry; });
}

void ReArray::elementCosine() {
  applyToElements([](KtReal entry) { return std::cos(entry); });
}

void ReArray::elementSine() {
  applyToElements([](KtReal entry) { return std::sin(entry); });
}

void ReArray::elementLog() {
  applyToElements([](KtReal entry) { return std::log(entry); });
}

void ReArray::elementLogN(KtReal base) {
  const KtReal logOfBase = std::log(base);
  applyToElements([logOfBase](KtReal entry) { return std::log(entry) / logOfBase; });
}

void ReArray::elementPow(KtReal exponent) {
  applyToElements([exponent](KtReal entry) { return std::pow(entry, exponent); });
}

ReArray ReArray::nullObject() { return ReArray(); }

bool ReArray::checkShape(bool matches, const char* operation) const {
  if (!matches) ktPrint(KtSeverity::Error, "%s::%s(): dimensions do not match\n", className(), operation);
  return matches;
}

void ReArray::failIndex(std::size_t index, std::size_t limit, const char* operation) const {
  ktPrint(KtSeverity::Error, "%s::%s(): index %zu is out of range, there are %zu\n", className(), operation,
          index, limit);
  std::abort();
}

}  // namespace Kt
