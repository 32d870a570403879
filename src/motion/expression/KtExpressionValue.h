#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "math/ReArray.h"

// The result of one control-expression node: a scalar, a column, a matrix, or a pair (A, b)
// of the "Ab" family, which stands for the quadratic term ½·q̇ᵀ·A·q̇ − bᵀ·q̇ (A square, b a
// column of A's size).
//
// A node fixes its kind and size once, when the tree is prepared for a manipulator, and then
// overwrites the entries in place on every evaluation: the shape calls below only allocate
// when the size grows.
class KtExpressionValue {
 public:
  enum class Kind { none, scalar, column, matrix, ab };

  Kind kind() const { return m_kind; }
  bool isScalar() const { return m_kind == Kind::scalar; }
  bool isColumn() const { return m_kind == Kind::column; }
  bool isMatrix() const { return m_kind == Kind::matrix; }
  bool isAb() const { return m_kind == Kind::ab; }

  // Rows and columns as a matrix sees them: a scalar is 1 x 1, a column n x 1, a pair n x n.
  std::size_t rows() const;
  std::size_t columns() const;
  // Same kind and size.
  bool sameShape(const KtExpressionValue& other) const;

  void shapeAsScalar();
  void shapeAsColumn(std::size_t size);
  void shapeAsMatrix(std::size_t rows, std::size_t columns);
  void shapeAsAb(std::size_t size);
  // The kind and size of another value.
  void shapeLike(const KtExpressionValue& other);

  KtReal scalar() const { return m_scalar; }
  KtReal& scalar() { return m_scalar; }
  // The column, or b of a pair.
  const std::vector<KtReal>& column() const { return m_column; }
  std::vector<KtReal>& column() { return m_column; }
  // The matrix, or A of a pair.
  const Kt::ReArray& matrix() const { return m_matrix; }
  Kt::ReArray& matrix() { return m_matrix; }

  // Every entry of the value in turn (the scalar; the column; the matrix row by row; A then
  // b), so that element-wise operations need not look at the kind.
  template <typename Visit>
  void forEachEntry(Visit&& visit) {
    if (m_kind == Kind::scalar) visit(m_scalar);
    if (m_kind == Kind::matrix || m_kind == Kind::ab) {
      for (std::size_t r = 0; r < m_matrix.rows(); ++r)
        for (KtReal& entry : m_matrix[r]) visit(entry);
    }
    if (m_kind == Kind::column || m_kind == Kind::ab) {
      for (KtReal& entry : m_column) visit(entry);
    }
  }
  // Pairs of entries of two values of the same shape, in the order above.
  template <typename Visit>
  void forEachEntryWith(const KtExpressionValue& other, Visit&& visit) {
    if (m_kind == Kind::scalar) visit(m_scalar, other.m_scalar);
    if (m_kind == Kind::matrix || m_kind == Kind::ab) {
      for (std::size_t r = 0; r < m_matrix.rows(); ++r)
        for (std::size_t c = 0; c < m_matrix.columns(); ++c) visit(m_matrix[r][c], other.m_matrix[r][c]);
    }
    if (m_kind == Kind::column || m_kind == Kind::ab) {
      for (std::size_t i = 0; i < m_column.size(); ++i) visit(m_column[i], other.m_column[i]);
    }
  }

  // The name of the kind for messages ("scalar", "column", "matrix", "pair (A, b)").
  const char* kindName() const;

 private:
  Kind m_kind = Kind::none;
  KtReal m_scalar = 0.0;
  std::vector<KtReal> m_column;
  Kt::ReArray m_matrix;
};
