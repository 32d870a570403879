#include "xml/KtToken.h"

KtToken::KtToken(std::string_view tokenString) { split(tokenString); }

KtToken::KtToken(std::string_view namespacePrefix, std::string_view name) {
  std::string joined;
  joined.reserve(namespacePrefix.size() + name.size());
  joined.append(namespacePrefix).append(name);
  split(joined);
}

KtToken KtToken::fromParts(std::string_view nameSpace, std::string_view name) {
  KtToken token;
  token.assign(nameSpace, name);
  return token;
}

std::string KtToken::toString() const {
  if (m_nameSpace.empty()) return m_name;
  return m_nameSpace + '#' + m_name;
}

void KtToken::assign(std::string_view nameSpace, std::string_view name) {
  m_nameSpace.assign(nameSpace);
  m_name.assign(name);
}

void KtToken::split(std::string_view tokenString) {
  const std::size_t hash = tokenString.find('#');
  if (hash == std::string_view::npos) {
    assign({}, tokenString);
  } else {
    assign(tokenString.substr(0, hash), tokenString.substr(hash + 1));
  }
}
