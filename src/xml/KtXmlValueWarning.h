#pragma once

#include <string_view>

class KtXmlReader;

// What is left out when a value in a document cannot be taken.
enum class KtXmlSkipped { element, attribute, list };

// Warns that the text given for an element or attribute `name` holds no value its field
// takes (not a number, a word the enumeration lacks, a number that is not finite), naming
// the reader's document and line. The caller skips the value, so the field keeps what it
// held; for a list of numbers, one bad entry rejects the whole list.
void ktXmlWarnUnreadableValue(const KtXmlReader& reader, const char* className, KtXmlSkipped skipped,
                              std::string_view name, std::string_view text);

// Warns that the element `name` appears again where only its first occurrence is taken; the
// caller skips this one.
void ktXmlWarnRepeatedElement(const KtXmlReader& reader, const char* className, std::string_view name);
