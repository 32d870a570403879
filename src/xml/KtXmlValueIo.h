#pragma once

#include <concepts>
#include <string>

#include "xml/KtXmlObject.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlSimpleType.h"
#include "xml/KtXmlValueWarning.h"
#include "xml/KtXmlWriter.h"

// How the containers (pair, vector, set, map) read and write their entries, whatever the
// entry type: objects of the XML model read and write themselves, simple values are the
// content of their element, and further types (Kt::Vector, Kt::Orientation) bring their
// own specialisation. Each reads right behind the entry's start tag up to and including
// its end tag, and writes between tags that the container writes.
template <typename T>
struct KtXmlValueIo;

template <typename T>
requires std::derived_from<T, KtXmlObject>
struct KtXmlValueIo<T> {
  static bool read(KtXmlReader& reader, T& value) { return value.read(reader); }
  static bool write(KtXmlWriter& writer, const T& value) { return value.write(writer); }
  static std::string schemaTypeName(const T& value) { return value.schemaTypeName(); }
  static void writeSchema(KtXmlWriter& writer, const T& value) { value.writeSchema(writer); }
  static bool equal(const T& a, const T& b) { return a.isEqual(b); }
};

// A simple value whose text cannot be taken is reported and left as it was.
template <KtXmlSimple T>
struct KtXmlValueIo<T> {
  static bool read(KtXmlReader& reader, T& value, KtXmlReals reals = KtXmlReals::finite) {
    std::string& text = reader.textBuffer();
    if (!reader.readContent(text)) return false;
    if (!ktXmlParseSimple(text, value, reals)) {
      ktXmlWarnUnreadableValue(reader, "KtXmlBasicType", KtXmlSkipped::element, reader.token().name(), text);
      return false;
    }
    return reader.readEndTag();
  }
  static bool write(KtXmlWriter& writer, const T& value, KtXmlReals reals = KtXmlReals::finite) {
    // An empty string is left out, so that its element is written as nil.
    if constexpr (std::same_as<T, std::string>) {
      if (value.empty()) return true;
    }
    writer.writeContentValue(value, reals);
    return true;
  }
  static std::string schemaTypeName(const T&) { return ktXmlSchemaTypeOf<T>(); }
  static void writeSchema(KtXmlWriter&, const T&) {}
  static bool equal(const T& a, const T& b) { return a == b; }
};

// Schema type name of a container entry, without its "xs:"/"tns:" qualifier, for building
// the names of container types.
inline std::string ktXmlUnqualifiedType(const std::string& type) { return type.substr(type.find(':') + 1); }
