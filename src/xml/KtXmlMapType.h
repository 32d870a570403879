#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <typeinfo>
#include <utility>

#include "xml/KtXmlPairType.h"

// A map, written as one child element entry per pair, each with the child elements key
// and value. Reading replaces the contents; an entry lacking its key or value is skipped.
template <typename K, typename V>
class KtXmlMapType : public KtXmlCloneable<KtXmlMapType<K, V>, KtXmlObject> {
 public:
  KtXmlMapType() = default;
  KtXmlMapType(std::map<K, V> entries) : m_entries(std::move(entries)) {}  // NOLINT: implicit on purpose

  operator const std::map<K, V>&() const { return m_entries; }  // NOLINT: implicit on purpose
  const std::map<K, V>& value() const { return m_entries; }
  std::map<K, V>& value() { return m_entries; }
  std::size_t size() const { return m_entries.size(); }
  V& operator[](const K& key) { return m_entries[key]; }

  bool read(KtXmlReader& reader) override {
    this->beginRead();
    m_entries.clear();
    return reader.readChildren(
        [this, &reader](const KtToken& child) { return child.name() == "entry" && readEntry(reader); });
  }
  bool write(KtXmlWriter& writer) const override {
    bool written = true;
    for (const auto& [key, value] : m_entries) {
      writer.writeStartElement("entry");
      written = ktXmlWritePart(writer, "key", key) && written;
      written = ktXmlWritePart(writer, "value", value) && written;
      writer.writeEndElement();
    }
    return written;
  }
  void writeSchema(KtXmlWriter& writer) const override {
    const std::string type = schemaTypeName();
    const std::string entryType = type + "Entry";
    writer.schema().addComplexType(type);
    for (const auto& [key, value] : m_entries) {
      writer.schema().addElement(type, KtToken("entry"), entryType);
      ktXmlDescribePart(writer, entryType, "key", key);
      ktXmlDescribePart(writer, entryType, "value", value);
    }
  }
  bool isEqual(const KtXmlObject& other) const override {
    if (typeid(other) != typeid(*this)) return false;
    const std::map<K, V>& others = static_cast<const KtXmlMapType&>(other).m_entries;
    if (others.size() != m_entries.size()) return false;
    for (auto left = m_entries.begin(), right = others.begin(); left != m_entries.end(); ++left, ++right) {
      if (!KtXmlValueIo<K>::equal(left->first, right->first) ||
          !KtXmlValueIo<V>::equal(left->second, right->second))
        return false;
    }
    return true;
  }
  std::string schemaTypeName() const override {
    const K key{};
    const V value{};
    return KtXmlSchema::ownType(ktXmlUnqualifiedType(KtXmlValueIo<K>::schemaTypeName(key)) + '_' +
                                ktXmlUnqualifiedType(KtXmlValueIo<V>::schemaTypeName(value)) + "Map");
  }

 private:
  bool readEntry(KtXmlReader& reader) {
    K key{};
    V value{};
    bool hasKey = false;
    bool hasValue = false;
    const bool read = reader.readChildren([&](const KtToken& part) {
      if (part.name() == "key") return hasKey = KtXmlValueIo<K>::read(reader, key);
      if (part.name() == "value") return hasValue = KtXmlValueIo<V>::read(reader, value);
      return false;
    });
    if (!read || !hasKey || !hasValue) return false;
    m_entries.insert_or_assign(std::move(key), std::move(value));
    return true;
  }

  std::map<K, V> m_entries;
};
