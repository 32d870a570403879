#pragma once

#include <string>
#include <string_view>

// Character-level helpers shared by the XML reader and writer.

// The four blank characters of XML: blank, tab, newline and carriage return.
inline bool ktXmlIsBlank(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The text without its leading and trailing blanks.
std::string_view ktXmlTrim(std::string_view text);

// Replaces the predefined entities (&lt; &gt; &amp; &quot; &apos;) and character
// references (&#N; &#xN;) by the characters they stand for. Anything else that starts
// with '&' is left as it is: no other entity is ever expanded.
void ktXmlDecodeReferences(std::string& text);

// Appends text with the characters that would break the markup replaced by references.
// In attribute values quotes and line breaks are escaped too.
void ktXmlAppendEscaped(std::string& out, std::string_view text, bool attributeValue);
