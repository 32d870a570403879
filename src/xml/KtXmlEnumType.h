#pragma once

#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

#include "xml/KtXmlObject.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlSchema.h"
#include "xml/KtXmlValueWarning.h"
#include "xml/KtXmlWriter.h"

// The words of an enumeration that is written as words. Specialise it next to the
// enumeration; value i is written as words[i]:
//   enum class KtJointType { rotational, prismatic };
//   template <> struct KtXmlEnumWords<KtJointType> {
//     static constexpr std::string_view name = "jointType";   // names the schema type
//     static constexpr std::string_view words[] = {"rotational", "prismatic"};
//   };
template <typename E>
struct KtXmlEnumWords;

// Conversions shared by every enumeration: a value without a word is written as its
// number, and a number is accepted on reading as well as a word.
void ktXmlFormatEnumeration(std::span<const std::string_view> words, long long value, std::string& out);
bool ktXmlParseEnumeration(std::span<const std::string_view> words, std::string_view text, long long& value);

// An enumeration value, written as the content of its element (or as an attribute) by
// its word.
template <typename E>
requires std::is_enum_v<E>
class KtXmlEnumType : public KtXmlCloneable<KtXmlEnumType<E>, KtXmlObject> {
 public:
  KtXmlEnumType() : m_value() {}
  KtXmlEnumType(E value) : m_value(value) {}  // NOLINT: converts implicitly on purpose

  KtXmlEnumType& operator=(E value) {
    m_value = value;
    return *this;
  }
  operator E() const { return m_value; }  // NOLINT: converts implicitly on purpose
  E value() const { return m_value; }
  void setValue(E value) { m_value = value; }

  bool read(KtXmlReader& reader) override {
    this->beginRead();
    std::string& text = reader.textBuffer();
    if (!reader.readContent(text)) return false;
    if (!readText(text)) {
      ktXmlWarnUnreadableValue(reader, "KtXmlEnumType", KtXmlSkipped::element, reader.token().name(), text);
      return false;
    }
    return reader.readEndTag();
  }
  bool write(KtXmlWriter& writer) const override {
    std::string text;
    writeText(text);
    writer.writeContentItem(text);
    return true;
  }
  void writeSchema(KtXmlWriter& writer) const override {
    writer.schema().enumerationType(KtXmlEnumWords<E>::name, KtXmlEnumWords<E>::words);
  }
  bool isEqual(const KtXmlObject& other) const override {
    return typeid(other) == typeid(*this) && static_cast<const KtXmlEnumType&>(other).m_value == m_value;
  }
  std::string schemaTypeName() const override { return KtXmlSchema::ownType(KtXmlEnumWords<E>::name); }
  bool readText(std::string_view text) override {
    long long number = 0;
    if (!ktXmlParseEnumeration(KtXmlEnumWords<E>::words, text, number)) return false;
    m_value = static_cast<E>(number);
    return true;
  }
  bool writeText(std::string& text) const override {
    ktXmlFormatEnumeration(KtXmlEnumWords<E>::words, static_cast<long long>(m_value), text);
    return true;
  }

 private:
  E m_value;
};
