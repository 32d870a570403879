#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <typeinfo>
#include <utility>

#include "xml/KtXmlSequence.h"

// A set of T, written like a vector (attribute size, then the members in order). Reading
// replaces the members, unless a list of numbers in the document is refused: then the set
// keeps them.
template <typename T>
class KtXmlSetType : public KtXmlCloneable<KtXmlSetType<T>, KtXmlObject> {
 public:
  KtXmlSetType() = default;
  KtXmlSetType(std::set<T> members) : m_members(std::move(members)) {}  // NOLINT: implicit on purpose

  operator const std::set<T>&() const { return m_members; }  // NOLINT: implicit on purpose
  const std::set<T>& value() const { return m_members; }
  std::set<T>& value() { return m_members; }
  std::size_t size() const { return m_members.size(); }
  bool contains(const T& member) const { return m_members.count(member) != 0; }
  void insert(T member) { m_members.insert(std::move(member)); }

  bool read(KtXmlReader& reader) override {
    this->beginRead();
    std::set<T> members;
    KtXmlSequence<T>::reserveHint(reader);  // takes the size attribute; a set has nothing to reserve
    bool refused = false;
    const bool read = KtXmlSequence<T>::readEntries(
        reader, [&members](T&& member) { members.insert(std::move(member)); }, refused);
    if (!refused) m_members = std::move(members);
    return read;
  }
  bool write(KtXmlWriter& writer) const override { return KtXmlSequence<T>::write(writer, m_members); }
  void writeSchema(KtXmlWriter& writer) const override {
    KtXmlSequence<T>::writeSchema(writer, schemaTypeName(), m_members);
  }
  bool isEqual(const KtXmlObject& other) const override {
    return typeid(other) == typeid(*this) && static_cast<const KtXmlSetType&>(other).m_members == m_members;
  }
  std::string schemaTypeName() const override { return KtXmlSequence<T>::containerTypeName("Set"); }

 private:
  std::set<T> m_members;
};
