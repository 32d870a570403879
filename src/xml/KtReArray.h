#pragma once

#include <cstddef>
#include <string>

#include "math/ReArray.h"
#include "xml/KtXmlObject.h"

// A Kt::ReArray that reads and writes itself as XML: the attributes rows and columns, and
// the entries row by row as blank-separated content (ten to a line). Its messages are
// prefixed "KtReArray".
class KtReArray : public Kt::ReArray, public KtXmlCloneable<KtReArray, KtXmlObject> {
 public:
  KtReArray() = default;
  KtReArray(std::size_t rows, std::size_t columns) : Kt::ReArray(rows, columns) {}
  KtReArray(const Kt::ReArray& matrix) : Kt::ReArray(matrix) {}  // NOLINT: converts implicitly on purpose
  using Kt::ReArray::operator=;
  using Kt::ReArray::operator==;

  bool read(KtXmlReader& reader) override;
  bool write(KtXmlWriter& writer) const override;
  void writeSchema(KtXmlWriter& writer) const override;
  bool isEqual(const KtXmlObject& other) const override;
  std::string schemaTypeName() const override;

 protected:
  const char* className() const override { return "KtReArray"; }
};
