#include "xml/KtXmlTypeName.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

std::string ktXmlClassName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> readable(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  return status == 0 && readable ? std::string(readable.get()) : std::string(type.name());
}

std::string ktXmlTypeNameOf(const std::type_info& type) {
  std::string name = ktXmlClassName(type);
  for (char& c : name) {
    const bool allowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                         c == '_' || c == '-' || c == '.';
    if (!allowed) c = '_';
  }
  return name;
}
