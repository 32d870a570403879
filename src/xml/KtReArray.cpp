#include "xml/KtReArray.h"

#include <typeinfo>
#include <vector>

#include "xml/KtXmlLimits.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlSchema.h"
#include "xml/KtXmlText.h"
#include "xml/KtXmlValueWarning.h"
#include "xml/KtXmlWriter.h"

namespace {

const KtToken& rowsToken() {
  static const KtToken token("rows");
  return token;
}

const KtToken& columnsToken() {
  static const KtToken token("columns");
  return token;
}

bool readCount(KtXmlReader& reader, const KtToken& token, std::size_t& count) {
  const std::string* text = reader.attribute(token.name());
  return text != nullptr && KtXmlSimpleType<std::size_t>::parse(*text, count);
}

// The blank-separated numbers of the current element's text; false, with a warning, if one
// of them is not a finite number.
bool parseNumbers(KtXmlReader& reader, std::string_view text, std::vector<KtReal>& numbers) {
  for (;;) {
    std::size_t begin = 0;
    while (begin < text.size() && ktXmlIsBlank(static_cast<unsigned char>(text[begin]))) ++begin;
    if (begin == text.size()) return true;
    std::size_t end = begin;
    while (end < text.size() && !ktXmlIsBlank(static_cast<unsigned char>(text[end]))) ++end;
    const std::string_view item = text.substr(begin, end - begin);
    if (!KtXmlSimpleType<KtReal>::parse(item, numbers.emplace_back())) {
      ktXmlWarnUnreadableValue(reader, "KtReArray", KtXmlSkipped::list, reader.token().name(), item);
      return false;
    }
    text.remove_prefix(end);
  }
}

}  // namespace

bool KtReArray::read(KtXmlReader& reader) {
  beginRead();
  std::size_t rowCount = 0;
  std::size_t columnCount = 0;
  if (!readCount(reader, rowsToken(), rowCount) || !readCount(reader, columnsToken(), columnCount))
    return false;
  std::string& text = reader.textBuffer();
  std::vector<KtReal> entries;
  if (!reader.readContent(text) || !parseNumbers(reader, text, entries)) return false;
  // The entries present decide how much is allocated, whatever the attributes claim.
  if (columnCount != 0 && entries.size() / columnCount != rowCount) return false;
  if (entries.size() != rowCount * columnCount) return false;
  if (columnCount == 0 && rowCount > ktXmlMaxReservedEntries) return false;
  resizeArray(rowCount, columnCount);
  for (std::size_t r = 0; r < rowCount; ++r) {
    std::vector<KtReal>& row = (*this)[r];
    for (std::size_t c = 0; c < columnCount; ++c) row[c] = entries[r * columnCount + c];
  }
  return reader.readEndTag();
}

bool KtReArray::write(KtXmlWriter& writer) const {
  writer.writeAttributeValue(rowsToken(), rows());
  writer.writeAttributeValue(columnsToken(), columns());
  for (std::size_t r = 0; r < rows(); ++r) {
    for (const KtReal entry : (*this)[r]) writer.writeContentValue(entry);
  }
  return true;
}

void KtReArray::writeSchema(KtXmlWriter& writer) const {
  KtXmlSchema& schema = writer.schema();
  const std::string type = schemaTypeName();
  schema.addAttribute(type, rowsToken().name(), ktXmlSchemaTypeOf<std::size_t>());
  schema.addAttribute(type, columnsToken().name(), ktXmlSchemaTypeOf<std::size_t>());
  schema.setContent(type, schema.listType(ktXmlSchemaTypeOf<KtReal>()));
}

bool KtReArray::isEqual(const KtXmlObject& other) const {
  return typeid(other) == typeid(*this) && static_cast<const KtReArray&>(other) == *this;
}

std::string KtReArray::schemaTypeName() const { return KtXmlSchema::ownType("ktReArray"); }
