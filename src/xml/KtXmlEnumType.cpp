#include "xml/KtXmlEnumType.h"

#include "xml/KtXmlSimpleType.h"

void ktXmlFormatEnumeration(std::span<const std::string_view> words, long long value, std::string& out) {
  if (value >= 0 && static_cast<unsigned long long>(value) < words.size()) {
    out += words[static_cast<std::size_t>(value)];
  } else {
    KtXmlSimpleType<long long>::format(value, out);
  }
}

bool ktXmlParseEnumeration(std::span<const std::string_view> words, std::string_view text, long long& value) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == text) {
      value = static_cast<long long>(i);
      return true;
    }
  }
  return KtXmlSimpleType<long long>::parse(text, value);
}
