#pragma once

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

// The element names (local names, as every token table compares them) that a polymorphic
// field takes as entries. A field declares its set once, where it is registered:
//   static const KtXmlElementSet links = KtXmlElementSet::of<KtLink, KtSoftLink>();
//   registerComponent(children, m_children, links);
// An object of a class derived from an accepted one is not accepted unless named itself, so
// that a manipulator, which is a link, cannot stand in a tree of links.
class KtXmlElementSet {
 public:
  KtXmlElementSet(std::initializer_list<std::string_view> names) : m_names(names.begin(), names.end()) {
    std::sort(m_names.begin(), m_names.end());
  }

  // The set of the element names of the given classes.
  template <typename... Classes>
  static KtXmlElementSet of() {
    return KtXmlElementSet({std::string_view(Classes().elementToken().name())...});
  }

  bool contains(std::string_view name) const {
    return std::binary_search(m_names.begin(), m_names.end(), name);
  }

 private:
  std::vector<std::string> m_names;
};
