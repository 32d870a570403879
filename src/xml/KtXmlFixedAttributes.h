#pragma once

#include <span>
#include <string>
#include <string_view>

class KtXmlReader;
class KtXmlWriter;

// The XML form of small fixed-size values (vectors, orientations): an empty element whose
// attributes hold the components as doubles, in a fixed order.

// Reads the components that are present (the others keep their values). Warns, naming
// `className`, when the element does not carry exactly one attribute per component or when
// a component's text is not a finite number (that component keeps its value), and fails
// when the element does not end right after its start tag.
bool ktXmlReadFixedAttributes(KtXmlReader& reader, std::span<const std::string_view> names,
                              std::span<double> values, const char* className);
void ktXmlWriteFixedAttributes(KtXmlWriter& writer, std::span<const std::string_view> names,
                               std::span<const double> values);
void ktXmlDescribeFixedAttributes(KtXmlWriter& writer, const std::string& type,
                                  std::span<const std::string_view> names);
