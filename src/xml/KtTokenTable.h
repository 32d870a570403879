#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "xml/KtToken.h"

// A small table keyed by the local name of a token, kept in ascending byte-wise order of
// the local names. Setting a token whose local name is already present keeps the token
// first entered and replaces the value.
template <typename Value>
class KtTokenTable {
 public:
  using Entry = std::pair<KtToken, Value>;

  void set(const KtToken& token, Value value) {
    const auto position = lowerBound(token.name());
    if (position != m_entries.end() && position->first.name() == token.name()) {
      position->second = std::move(value);
    } else {
      m_entries.insert(position, Entry(token, std::move(value)));
    }
  }

  const Value* find(std::string_view localName) const {
    const std::size_t index = indexOf(localName);
    return index != npos ? &m_entries[index].second : nullptr;
  }

  // The place of the entry in the table's order, or npos; entries keep their places until
  // another token is set.
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);
  std::size_t indexOf(std::string_view localName) const {
    const auto position =
        std::lower_bound(m_entries.begin(), m_entries.end(), localName,
                         [](const Entry& entry, std::string_view name) { return entry.first.name() < name; });
    return position != m_entries.end() && position->first.name() == localName
               ? static_cast<std::size_t>(position - m_entries.begin())
               : npos;
  }
  const Entry& operator[](std::size_t index) const { return m_entries[index]; }

  auto begin() const { return m_entries.begin(); }
  auto end() const { return m_entries.end(); }
  std::size_t size() const { return m_entries.size(); }
  void clear() { m_entries.clear(); }

 private:
  typename std::vector<Entry>::iterator lowerBound(std::string_view localName) {
    return std::lower_bound(
        m_entries.begin(), m_entries.end(), localName,
        [](const Entry& entry, std::string_view name) { return entry.first.name() < name; });
  }

  std::vector<Entry> m_entries;
};
