#pragma once

#include <string_view>

// The toolkit's namespaces. Each constant is a token prefix: the namespace URI followed by
// '#', so that KtToken(ktNamespaceSm, "theta") names the element theta of the manipulator
// namespace. When a document is written, the last path segment of the URI ("sm", "ct",
// ...) becomes the element prefix.
inline constexpr std::string_view ktNamespaceBase = "http://kt.example.org/namespace/";
inline constexpr std::string_view ktNamespaceSm =
    "http://kt.example.org/namespace/sm#";  // manipulator system
inline constexpr std::string_view ktNamespaceCt = "http://kt.example.org/namespace/ct#";  // control
inline constexpr std::string_view ktNamespaceMn = "http://kt.example.org/namespace/mn#";
inline constexpr std::string_view ktNamespaceSn = "http://kt.example.org/namespace/sn#";
inline constexpr std::string_view ktNamespaceCr = "http://kt.example.org/namespace/cr#";

// The W3C schema-instance and schema namespaces used in written documents and schemas.
inline constexpr std::string_view ktSchemaInstanceNamespace = "http://www.w3.org/2001/XMLSchema-instance";
inline constexpr std::string_view ktSchemaNamespace = "http://www.w3.org/2001/XMLSchema";
