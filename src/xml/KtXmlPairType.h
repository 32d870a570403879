#pragma once

#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

#include "xml/KtXmlValueIo.h"

// Reads or writes one part of a pair or map entry as the child element `name`.
template <typename T>
bool ktXmlWritePart(KtXmlWriter& writer, std::string_view name, const T& value) {
  writer.writeStartElement(name);
  const bool written = KtXmlValueIo<T>::write(writer, value);
  writer.writeEndElement();
  return written;
}

template <typename T>
void ktXmlDescribePart(KtXmlWriter& writer, const std::string& type, std::string_view name, const T& value) {
  writer.schema().addElement(type, KtToken(name), KtXmlValueIo<T>::schemaTypeName(value));
  KtXmlValueIo<T>::writeSchema(writer, value);
}

// A pair, written as the child elements first and second (in any order on reading).
template <typename A, typename B>
class KtXmlPairType : public KtXmlCloneable<KtXmlPairType<A, B>, KtXmlObject> {
 public:
  KtXmlPairType() = default;
  KtXmlPairType(std::pair<A, B> value) : m_value(std::move(value)) {}  // NOLINT: implicit on purpose

  operator const std::pair<A, B>&() const { return m_value; }  // NOLINT: implicit on purpose
  const std::pair<A, B>& value() const { return m_value; }
  std::pair<A, B>& value() { return m_value; }
  A& first() { return m_value.first; }
  B& second() { return m_value.second; }

  bool read(KtXmlReader& reader) override {
    this->beginRead();
    return reader.readChildren([this, &reader](const KtToken& child) {
      if (child.name() == "first") return KtXmlValueIo<A>::read(reader, m_value.first);
      if (child.name() == "second") return KtXmlValueIo<B>::read(reader, m_value.second);
      return false;
    });
  }
  bool write(KtXmlWriter& writer) const override {
    const bool first = ktXmlWritePart(writer, "first", m_value.first);
    return ktXmlWritePart(writer, "second", m_value.second) && first;
  }
  void writeSchema(KtXmlWriter& writer) const override {
    const std::string type = schemaTypeName();
    ktXmlDescribePart(writer, type, "first", m_value.first);
    ktXmlDescribePart(writer, type, "second", m_value.second);
  }
  bool isEqual(const KtXmlObject& other) const override {
    if (typeid(other) != typeid(*this)) return false;
    const std::pair<A, B>& others = static_cast<const KtXmlPairType&>(other).m_value;
    return KtXmlValueIo<A>::equal(m_value.first, others.first) &&
           KtXmlValueIo<B>::equal(m_value.second, others.second);
  }
  std::string schemaTypeName() const override {
    return KtXmlSchema::ownType(ktXmlUnqualifiedType(KtXmlValueIo<A>::schemaTypeName(m_value.first)) + '_' +
                                ktXmlUnqualifiedType(KtXmlValueIo<B>::schemaTypeName(m_value.second)) +
                                "Pair");
  }

 private:
  std::pair<A, B> m_value;
};
