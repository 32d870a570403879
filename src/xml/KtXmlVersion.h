#pragma once

#include <string_view>

// Version of the document layout this code reads and writes; written on every root element.
inline constexpr std::string_view ktCodeBaseVersion = "2.0.0";

// Decides whether a document of the given version can be read. Versions that differ only
// behind the major number are compatible silently; a different major number prints a
// warning, and only a newer major number makes the document incompatible.
bool ktIsVersionCompatible(std::string_view fileVersion);
