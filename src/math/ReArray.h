#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Export.h"
#include "foundation/Types.h"
#include "math/Vector.h"

namespace Kt {

// Dense matrix of doubles stored as a vector of rows: Jacobians, mass matrices, the normal
// equations of the velocity controller, homogeneous 4x4 poses.
//
// Conventions shared by the operations below:
// - Operations that can fail print a message through the toolkit's print facility and
//   return false; nothing throws. Messages start with className(), so that a derived class
//   reports under its own name.
// - Outputs (result matrices and vectors) are resized only when their shape differs, so
//   repeated calls with the same shapes never allocate. A result argument must be another
//   object than the operands unless an operation says otherwise.
// - The LU factors live in place: the upper triangle, diagonal included, holds U; below the
//   diagonal are the multipliers of the unit lower factor L. Columns are exchanged while
//   pivoting, so that A·P = L·U. The pivot vector records the exchanges as in "at step k,
//   column k was exchanged with column pivots[k]"; entries equal to their index mean no
//   exchange.
// - The scalar returned by forwardAndBackSub and solve is the determinant of the factored
//   (or solved) matrix: a cheap by-product that tells the caller how close to singular it was.
class KT_EXPORT ReArray {
 public:
  using Row = std::vector<KtReal>;
  using Pivots = std::vector<std::size_t>;
  using Indices = std::vector<std::size_t>;

  ReArray() = default;
  ReArray(std::size_t rows, std::size_t columns);  // zero-filled
  ReArray(const ReArray& other) = default;
  ReArray(ReArray&& other) noexcept = default;
  virtual ~ReArray() = default;

  // Sum of the diagonal entries (of the leading square part of a rectangular matrix).
  virtual KtReal trace() const;
  // result = this·v as a column matrix.
  virtual bool transform(const std::vector<KtReal>& v, ReArray& result) const;
  // result = this·v.
  virtual bool transform(const std::vector<KtReal>& v, std::vector<KtReal>& result) const;
  // result = this·m.
  virtual bool transform(const ReArray& m, ReArray& result) const;
  // result = thisᵀ·v.
  virtual bool transposeTransform(const std::vector<KtReal>& v, std::vector<KtReal>& result) const;
  // result = vᵀ·this as a row matrix.
  virtual bool leftTransposeTransform(const std::vector<KtReal>& v, ReArray& result) const;
  // result = mᵀ·this.
  virtual bool leftTransposeTransform(const ReArray& m, ReArray& result) const;

  // Element-wise functions, in place (IEEE results for zeros and negative arguments).
  virtual void elementInverse();
  virtual void elementCosine();
  virtual void elementSine();
  virtual void elementLog();
  virtual void elementLogN(KtReal base);
  virtual void elementPow(KtReal exponent);

  // result = thisᵀ; result may be this matrix.
  virtual void transpose(ReArray& result) const;
  virtual ReArray transpose() const;
  // this += v·vᵀ and this += weight·v·vᵀ; this must be square of v's size.
  virtual bool addSelfOuterProduct(const std::vector<KtReal>& v);
  virtual bool addWeightedSelfOuterProduct(const std::vector<KtReal>& v, KtReal weight);

  // Cholesky factor L (lower triangular, this = L·Lᵀ) of a symmetric positive-definite matrix;
  // only the lower triangle of this matrix is read. L may be this matrix.
  virtual bool choleskyDecomposition(ReArray& L) const;
  // With this matrix the factor L: solves L·Lᵀ·x = b.
  virtual bool choleskyBackSubstitution(const std::vector<KtReal>& b, std::vector<KtReal>& x) const;
  // With this matrix the transposed factor U = Lᵀ: solves Uᵀ·U·x = b.
  virtual bool choleskyBackSubstitutionOnTranspose(const std::vector<KtReal>& b,
                                                   std::vector<KtReal>& x) const;
  // With this matrix lower triangular L: solves L·y = b.
  virtual bool lowerTriangularForwardSubstitution(const std::vector<KtReal>& b, std::vector<KtReal>& y) const;
  // With this matrix upper triangular U (the transpose of a lower factor): solves Uᵀ·y = b.
  virtual bool lowerTriangularForwardSubstitutionOnTranspose(const std::vector<KtReal>& b,
                                                             std::vector<KtReal>& y) const;
  // result = this·thisᵀ (rows × rows) and result = thisᵀ·this (columns × columns), exactly
  // symmetric.
  virtual bool underconstrainedNormal(ReArray& result) const;
  virtual bool overconstrainedNormal(ReArray& result) const;

  // Same shape and every entry within tolerance.
  virtual bool approxEq(const ReArray& other, KtReal tolerance) const;
  // Largest absolute row sum.
  virtual KtReal infinityNorm() const;
  virtual std::size_t rows() const { return array_.size(); }
  // Length of the first row; 0 for a matrix without rows.
  virtual std::size_t columns() const { return array_.empty() ? 0 : array_.front().size(); }
  virtual void setToZeros(std::size_t rows, std::size_t columns);
  virtual void setToIdentity(std::size_t rows, std::size_t columns);
  // Keeps the entries that remain inside the new shape; new entries are zero.
  virtual void resizeArray(std::size_t rows, std::size_t columns);
  // Makes this matrix an entry-wise copy of other, reusing its storage.
  virtual void copyEntriesOf(const ReArray& other);
  // Writes column (row) index into v. An index outside the matrix ends the program.
  virtual void assignColumnTo(std::size_t index, std::vector<KtReal>& v) const;
  virtual void assignRowTo(std::size_t index, std::vector<KtReal>& v) const;
  // Checks the decompositions and products on the fixed test matrices; prints what fails.
  virtual bool selfTest();

  // In-place LU factorisation of the first n rows (n = 0: all rows; more than present: a
  // message, then all rows) with column pivoting. A zero pivot is replaced by 1e-300, so a
  // singular matrix still factors. Fails only when more rows are factored than there are
  // columns.
  virtual bool LUDecomposition(std::size_t n, Pivots& pivots);
  // Solves A·x = b with this matrix holding the square factors of A; scalar gets det(A).
  virtual bool forwardAndBackSub(const Pivots& pivots, const std::vector<KtReal>& b, std::vector<KtReal>& x,
                                 KtReal& scalar) const;
  // Solves this·x = b, leaving this matrix unchanged; scalar (if given) gets the determinant.
  // The factors are kept in per-thread scratch storage that grows to the largest system seen,
  // so that repeated solves of the same size do not allocate.
  virtual bool solve(const std::vector<KtReal>& b, std::vector<KtReal>& x, KtReal* scalar = nullptr) const;
  // Replaces this square matrix by its inverse, one solve per column with the factors in the
  // same scratch storage as solve. A singular matrix gives huge entries, not a failure.
  virtual bool invertSquareMatrix();

  // LUDecomposition that skips the known zero leading parts of rows. zeroStart holds, per
  // row, the first column that may be non-zero (see calculateZeroStartIndices).
  // sparseIndices is the caller's working storage of one entry per row, checked rather than
  // resized so that the call never allocates; it is left holding, per factored row, the
  // length of its zero leading part in the exchanged column order. The factors and pivots
  // equal those of LUDecomposition.
  virtual bool LUDecompositionSparse(std::size_t n, Pivots& pivots, const Indices& zeroStart,
                                     Indices& sparseIndices);
  // Basis N (columns × (columns − n)) of the null space of the first n rows (n = 0: all
  // rows), factoring this matrix in place and leaving the exchanges in pivots. Basis
  // vectors are neither normalised nor orthogonalised.
  virtual bool nullSpace(ReArray& N, std::size_t n, Pivots& pivots);
  // nullSpace through LUDecompositionSparse.
  virtual bool nullSpaceSparse(ReArray& N, std::size_t n, Pivots& pivots, const Indices& zeroStart,
                               Indices& sparseIndices);
  // Per row, the index of its first non-zero entry (columns() for a zero row).
  virtual void calculateZeroStartIndices(Indices& zeroStart) const;
  // Zero-start indices of a matrix whose rows carry entries of both patterns (for example
  // the sum of two Jacobians): the element-wise minimum; the longer vector's tail is kept.
  virtual void combineIndices(const Indices& first, const Indices& second, Indices& combined) const;
  // Product of the LU pivots (of a copy, in solve's scratch storage), negated once per column
  // exchange; 0 for a non-square matrix.
  virtual KtReal determinant() const;
  // Closed-form inverse of this 3×3 matrix into inverse (which may be this matrix).
  virtual bool inv3(ReArray& inverse) const;

  // Binary file: row count and column count as little-endian unsigned 32-bit integers, then
  // the entries as little-endian IEEE doubles, row after row. A matrix without rows is
  // written as its zero row count alone, and reading such a file leaves the matrix as it is.
  virtual bool readBin(const KtString& path);
  virtual bool writeBin(const KtString& path) const;
  // Text file: "rows columns" on the first line, then one line of entries per row.
  virtual bool dump(const KtString& path) const;
  // Notebook file: a comment banner, then name = {{a, b}, {c, d}}; with full-precision entries.
  virtual bool dumpMath(const KtString& path, const KtString& name = "matrix") const;

  ReArray& operator=(const ReArray& other);
  ReArray& operator=(ReArray&& other) noexcept = default;
  // Makes this matrix a column holding the entries of column.
  ReArray& operator=(const std::vector<KtReal>& column);

  // Row access. An index outside the matrix prints a message and ends the program.
  // Defined here so that the hot loops of the controllers inline the check.
  std::vector<KtReal>& operator[](std::size_t row) {
    if (row >= array_.size()) failIndex(row, array_.size(), "operator[]");
    return array_[row];
  }
  const std::vector<KtReal>& operator[](std::size_t row) const {
    if (row >= array_.size()) failIndex(row, array_.size(), "operator[]");
    return array_[row];
  }

  // Operators on mismatched shapes print a message; the compound forms then leave this
  // matrix unchanged, the products return an empty matrix (vector, zero Kt::Vector).
  ReArray& operator+=(const ReArray& other);
  ReArray& operator-=(const ReArray& other);
  ReArray& operator*=(KtReal scale);
  ReArray operator+(const ReArray& other) const;
  ReArray operator-(const ReArray& other) const;
  ReArray operator*(const ReArray& other) const;
  ReArray operator*(KtReal scale) const;
  // A 3×3 matrix rotates v; a 3×4 or 4×4 homogeneous matrix maps the point v.
  Kt::Vector operator*(const Kt::Vector& v) const;
  std::vector<KtReal> operator*(const std::vector<KtReal>& v) const;
  // Same shape and exactly equal entries.
  bool operator==(const ReArray& other) const;

  std::vector<KtReal> getColumn(std::size_t index) const;
  // Square diagonal matrix with the entries of diagonal.
  void setToDiagonal(const std::vector<KtReal>& diagonal);

  // A matrix without rows.
  static ReArray nullObject();
  // The fixed matrices of selfTest: a non-symmetric 3×3, a symmetric positive-definite 4×4
  // and a 3×5 whose rows start with zeros.
  static ReArray testObject();
  static ReArray testObject2();
  static ReArray testObject3();

 protected:
  // Prefix of every message printed by this class.
  virtual const char* className() const { return "ReArray"; }

 private:
  // One triangular solve in place on x, reading the stored rows; false on a zero diagonal.
  using Substitution = bool (*)(const std::vector<Row>& rows, std::vector<KtReal>& x);

  // x = b, then first and (if given) second applied to x.
  bool substitute(const std::vector<KtReal>& b, std::vector<KtReal>& x, Substitution first,
                  Substitution second, const char* operation) const;
  // Prints the mismatch message for operation unless matches; returns matches.
  bool checkShape(bool matches, const char* operation) const;
  // Prints the bad index and ends the program.
  [[noreturn]] void failIndex(std::size_t index, std::size_t limit, const char* operation) const;
  // The LU factorisation; leadingZeros (if given) are the known zero leading parts of rows.
  bool factor(std::size_t n, Pivots& pivots, Indices* leadingZeros, const char* operation);
  // The basis from the factors of the first n rows.
  bool nullSpaceFromFactors(ReArray& N, std::size_t n, const Pivots& pivots);
  // Rows of a null-space factorisation: n = 0 means all rows; more rows than present print
  // tooManyText and mean all rows.
  std::size_t factoredRowCount(std::size_t n, const char* tooManyText) const;
  bool addScaledOuterProduct(const std::vector<KtReal>& v, KtReal weight, const char* operation);
  template <typename Function>
  void applyToElements(Function function);

  std::vector<Row> array_;
};

}  // namespace Kt
