#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "xml/KtXmlLimits.h"
#include "xml/KtXmlText.h"
#include "xml/KtXmlValueIo.h"
#include "xml/KtXmlValueWarning.h"

// The XML form shared by vectors and sets: the attribute size (the entry count), then the
// entries. Entries of a listable simple type are the blank-separated content of one child
// element group (ten to a line); any other entry is a child element element of its own.
const KtToken& ktXmlSizeToken();
inline constexpr std::string_view ktXmlGroupName = "group";
inline constexpr std::string_view ktXmlElementName = "element";

template <typename T>
struct KtXmlSequence {
  // The size attribute of the current element as a number of entries worth reserving: 0
  // when absent, and never more than a bound, since the document may lie.
  static std::size_t reserveHint(KtXmlReader& reader) {
    const std::string* text = reader.attribute(ktXmlSizeToken().name());
    unsigned long size = 0;
    if (text == nullptr || !KtXmlSimpleType<unsigned long>::parse(*text, size)) return 0;
    return std::min<std::size_t>(size, ktXmlMaxReservedEntries);
  }

  // Reads the children of the sequence element (already entered), handing every entry to
  // add(T&&). Children that are not part of the form, and entry elements that do not read,
  // are skipped. A list of numbers with an entry that cannot be taken is refused as a whole,
  // with one warning: then `refused` is set, and the caller keeps what it held before.
  template <typename Add>
  static bool readEntries(KtXmlReader& reader, Add&& add, bool& refused) {
    refused = false;
    // The container's own name, for the warning (its children replace the current token).
    std::string name;
    if constexpr (KtXmlListable<T>) name = reader.token().name();
    return reader.readChildren([&](const KtToken& child) {
      if constexpr (KtXmlListable<T>) {
        if (child.name() == ktXmlGroupName) {
          const bool read = readGroup(reader, add, name);
          refused = refused || !read;
          return read;
        }
      }
      if (child.name() != ktXmlElementName) return false;
      T entry{};
      if (!KtXmlValueIo<T>::read(reader, entry)) return false;
      add(std::move(entry));
      return true;
    });
  }

  template <typename Range>
  static bool write(KtXmlWriter& writer, const Range& entries) {
    writer.writeAttributeValue(ktXmlSizeToken(), static_cast<unsigned long>(std::size(entries)));
    bool written = true;
    if constexpr (KtXmlListable<T>) {
      if (std::empty(entries)) return true;
      writer.writeStartElement(ktXmlGroupName);
      for (const T& entry : entries) writer.writeContentValue(entry);
      writer.writeEndElement();
    } else {
      for (const T& entry : entries) {
        writer.writeStartElement(ktXmlElementName);
        written = KtXmlValueIo<T>::write(writer, entry) && written;
        writer.writeEndElement();
      }
    }
    return written;
  }

  template <typename Range>
  static void writeSchema(KtXmlWriter& writer, const std::string& type, const Range& entries) {
    KtXmlSchema& schema = writer.schema();
    schema.addAttribute(type, ktXmlSizeToken().name(), "xs:unsignedLong");
    if constexpr (KtXmlListable<T>) {
      schema.addElement(type, KtToken(ktXmlGroupName), schema.listType(ktXmlSchemaTypeOf<T>()));
    } else {
      for (const T& entry : entries) {
        schema.addElement(type, KtToken(ktXmlElementName), KtXmlValueIo<T>::schemaTypeName(entry));
        KtXmlValueIo<T>::writeSchema(writer, entry);
      }
    }
  }

  // The schema name of a container of T: the entry type's name and a suffix.
  static std::string containerTypeName(std::string_view suffix) {
    T sample{};
    return KtXmlSchema::ownType(ktXmlUnqualifiedType(KtXmlValueIo<T>::schemaTypeName(sample)) +
                                std::string(suffix));
  }

 private:
  template <typename Add>
  static bool readGroup(KtXmlReader& reader, Add& add, std::string_view containerName) {
    std::string& text = reader.textBuffer();
    if (!reader.readContent(text)) return false;
    std::string_view rest = text;
    for (;;) {
      std::size_t begin = 0;
      while (begin < rest.size() && ktXmlIsBlank(static_cast<unsigned char>(rest[begin]))) ++begin;
      if (begin == rest.size()) break;
      std::size_t end = begin;
      while (end < rest.size() && !ktXmlIsBlank(static_cast<unsigned char>(rest[end]))) ++end;
      T entry{};
      const std::string_view item = rest.substr(begin, end - begin);
      if (!ktXmlParseSimple(item, entry)) {
        ktXmlWarnUnreadableValue(reader, "KtXmlVectorType", KtXmlSkipped::list, containerName, item);
        return false;
      }
      add(std::move(entry));
      rest.remove_prefix(end);
    }
    return reader.readEndTag();
  }
};
