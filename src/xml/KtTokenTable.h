#pragma once

#include <algorithm>
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
    const auto position =
        std::lower_bound(m_entries.begin(), m_entries.end(), localName,
                         [](const Entry& entry, std::string_view name) { return entry.first.name() < name; });
    return position != m_entries.end() && position->first.name() == localName ? &position->second : nullptr;
  }

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
