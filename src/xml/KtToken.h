#pragma once

#include <string>
#include <string_view>

// The name of an XML element or attribute: a namespace URI and a local name.
//
// A token is usually built from one string "namespace#name": the text before the first '#'
// is the namespace, the rest the local name; a string without '#' has no namespace.
//
// Equality compares namespace and local name, but the ordering compares the local names
// alone (byte-wise). Every component table is keyed by that ordering, so a table finds an
// entry by its local name whatever namespace the document used, and cannot hold two
// tokens that differ only in their namespace.
class KtToken {
 public:
  KtToken() = default;
  explicit KtToken(std::string_view tokenString);
  // Joins a prefix that ends in '#' (one of the toolkit namespaces) and a local name.
  KtToken(std::string_view namespacePrefix, std::string_view name);

  // Builds a token from a namespace URI and a local name taken as they are.
  static KtToken fromParts(std::string_view nameSpace, std::string_view name);

  const std::string& nameSpace() const { return m_nameSpace; }
  const std::string& name() const { return m_name; }
  bool empty() const { return m_name.empty() && m_nameSpace.empty(); }

  // The string form "namespace#name" (just the name when there is no namespace).
  std::string toString() const;

  // Replaces both parts, reusing the storage already held.
  void assign(std::string_view nameSpace, std::string_view name);

  friend bool operator==(const KtToken& a, const KtToken& b) {
    return a.m_name == b.m_name && a.m_nameSpace == b.m_nameSpace;
  }
  friend bool operator<(const KtToken& a, const KtToken& b) { return a.m_name < b.m_name; }

 private:
  void split(std::string_view tokenString);

  std::string m_nameSpace;
  std::string m_name;
};
