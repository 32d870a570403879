#include "motion/expression/KtExpressionValue.h"

std::size_t KtExpressionValue::rows() const {
  switch (m_kind) {
    case Kind::scalar:
      return 1;
    case Kind::column:
      return m_column.size();
    case Kind::matrix:
    case Kind::ab:
      return m_matrix.rows();
    case Kind::none:
      break;
  }
  return 0;
}

std::size_t KtExpressionValue::columns() const {
  switch (m_kind) {
    case Kind::scalar:
    case Kind::column:
      return 1;
    case Kind::matrix:
    case Kind::ab:
      return m_matrix.columns();
    case Kind::none:
      break;
  }
  return 0;
}

bool KtExpressionValue::sameShape(const KtExpressionValue& other) const {
  return m_kind == other.m_kind && rows() == other.rows() && columns() == other.columns();
}

void KtExpressionValue::shapeAsScalar() {
  m_kind = Kind::scalar;
  m_scalar = 0.0;
}

void KtExpressionValue::shapeAsColumn(std::size_t size) {
  m_kind = Kind::column;
  m_column.assign(size, 0.0);
}

void KtExpressionValue::shapeAsMatrix(std::size_t rows, std::size_t columns) {
  m_kind = Kind::matrix;
  m_matrix.setToZeros(rows, columns);
}

void KtExpressionValue::shapeAsAb(std::size_t size) {
  m_kind = Kind::ab;
  m_matrix.setToZeros(size, size);
  m_column.assign(size, 0.0);
}

void KtExpressionValue::shapeLike(const KtExpressionValue& other) {
  switch (other.m_kind) {
    case Kind::scalar:
      shapeAsScalar();
      return;
    case Kind::column:
      shapeAsColumn(other.rows());
      return;
    case Kind::matrix:
      shapeAsMatrix(other.rows(), other.columns());
      return;
    case Kind::ab:
      shapeAsAb(other.rows());
      return;
    case Kind::none:
      m_kind = Kind::none;
      return;
  }
}

const char* KtExpressionValue::kindName() const {
  switch (m_kind) {
    case Kind::scalar:
      return "scalar";
    case Kind::column:
      return "column";
    case Kind::matrix:
      return "matrix";
    case Kind::ab:
      return "pair (A, b)";
    case Kind::none:
      break;
  }
  return "nothing";
}
