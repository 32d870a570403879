#include "xml/KtXmlFixedAttributes.h"

#include "foundation/Print.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlValueWarning.h"
#include "xml/KtXmlWriter.h"

bool ktXmlReadFixedAttributes(KtXmlReader& reader, std::span<const std::string_view> names,
                              std::span<double> values, const char* className) {
  const std::size_t found = reader.attributes().size();
  if (found != names.size()) {
    // The message names the vector class for orientations too; callers rely on its text.
    ktPrint(KtSeverity::Warning, "KtXmlVector Warning: %zu attributes needed, but %d were found",
            names.size(), static_cast<int>(found));
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    for (KtXmlAttribute& attribute : reader.attributes()) {
      if (attribute.token.name() != names[i]) continue;
      if (!KtXmlSimpleType<double>::parse(attribute.value, values[i])) {
        ktXmlWarnUnreadableValue(reader, className, KtXmlSkipped::attribute, names[i], attribute.value);
      }
      attribute.consumed = true;
      break;
    }
  }
  if (reader.peek() != KtXmlItem::EndTag) {
    if (!reader.hasFailed()) {
      ktPrint(KtSeverity::Error, "%s Error: file not well formed.\n\tEnd tag needed.\n\tFile: %s\n\tLine: %d",
              className, reader.fileName().c_str(), reader.line());
    }
    return false;
  }
  return reader.readEndTag();
}

void ktXmlWriteFixedAttributes(KtXmlWriter& writer, std::span<const std::string_view> names,
                               std::span<const double> values) {
  for (std::size_t i = 0; i < names.size(); ++i) writer.writeAttributeValue(KtToken(names[i]), values[i]);
}

void ktXmlDescribeFixedAttributes(KtXmlWriter& writer, const std::string& type,
                                  std::span<const std::string_view> names) {
  writer.schema().addComplexType(type);
  for (const std::string_view name : names) writer.schema().addAttribute(type, name, "xs:double");
}
