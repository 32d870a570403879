#pragma once

#include <cstddef>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "xml/KtXmlSequence.h"

// A vector of T: the attribute size, then the entries (numbers as one blank-separated
// group, ten to a line; anything else as one element child per entry). An empty vector of
// numbers has no group. Reading replaces the entries, unless a list of numbers in the
// document is refused (see KtXmlSequence::readEntries): then the vector keeps them.
template <typename T>
class KtXmlVectorType : public KtXmlCloneable<KtXmlVectorType<T>, KtXmlObject> {
 public:
  KtXmlVectorType() = default;
  KtXmlVectorType(std::vector<T> entries) : m_entries(std::move(entries)) {}  // NOLINT: implicit on purpose

  KtXmlVectorType& operator=(std::vector<T> entries) {
    m_entries = std::move(entries);
    return *this;
  }
  operator const std::vector<T>&() const { return m_entries; }  // NOLINT: implicit on purpose
  const std::vector<T>& value() const { return m_entries; }
  std::vector<T>& value() { return m_entries; }

  std::size_t size() const { return m_entries.size(); }
  bool empty() const { return m_entries.empty(); }
  void resize(std::size_t size) { m_entries.resize(size); }
  void clear() { m_entries.clear(); }
  void push_back(T entry) { m_entries.push_back(std::move(entry)); }
  T& operator[](std::size_t index) { return m_entries[index]; }
  const T& operator[](std::size_t index) const { return m_entries[index]; }
  auto begin() { return m_entries.begin(); }
  auto end() { return m_entries.end(); }
  auto begin() const { return m_entries.begin(); }
  auto end() const { return m_entries.end(); }

  bool read(KtXmlReader& reader) override {
    this->beginRead();
    std::vector<T> entries;
    entries.reserve(KtXmlSequence<T>::reserveHint(reader));
    bool refused = false;
    const bool read = KtXmlSequence<T>::readEntries(
        reader, [&entries](T&& entry) { entries.push_back(std::move(entry)); }, refused);
    if (!refused) m_entries = std::move(entries);
    return read;
  }
  bool write(KtXmlWriter& writer) const override { return KtXmlSequence<T>::write(writer, m_entries); }
  void writeSchema(KtXmlWriter& writer) const override {
    KtXmlSequence<T>::writeSchema(writer, schemaTypeName(), m_entries);
  }
  bool isEqual(const KtXmlObject& other) const override {
    if (typeid(other) != typeid(*this)) return false;
    const std::vector<T>& others = static_cast<const KtXmlVectorType&>(other).m_entries;
    if (others.size() != m_entries.size()) return false;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
      if (!KtXmlValueIo<T>::equal(m_entries[i], others[i])) return false;
    }
    return true;
  }
  std::string schemaTypeName() const override { return KtXmlSequence<T>::containerTypeName("Vector"); }

 private:
  std::vector<T> m_entries;
};
