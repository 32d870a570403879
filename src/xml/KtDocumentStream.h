#pragma once

#include <istream>
#include <memory>
#include <ostream>
#include <string>

// Opening documents by name. The name alone decides how a document is read: a name starting
// "http://" is fetched over the network, a name ending ".xml.gz" or ".ktz" is gzip-compressed,
// and anything else is a plain file. The content never changes that choice.

// Opens the document called `name` for reading. Names other than URLs are looked up by the file
// finder. `resolvedPath` receives the path used (the URL for HTTP). Returns null on failure.
std::unique_ptr<std::istream> ktOpenDocumentForReading(const std::string& name, std::string& resolvedPath);

// Opens `name` for writing, compressed when the name says so, else as a plain file.
// Returns null on failure.
std::unique_ptr<std::ostream> ktOpenDocumentForWriting(const std::string& name);

// True when the name marks a gzip-compressed document.
bool ktIsCompressedDocumentName(const std::string& name);
