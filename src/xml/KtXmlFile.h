#pragma once

#include <istream>
#include <ostream>
#include <string>

#include "xml/KtXmlObject.h"

class KtXmlReader;
class KtXmlWriter;

// Loading and saving whole documents.

// Reads the object from the document called `name` (a URL, a compressed or a plain file,
// found through the data-file finder). The root's version must be compatible.
bool ktReadObjectFromFile(KtXmlObject& object, const std::string& name);
// Reads the object from a document already open; `name` is used in messages and to
// resolve included documents.
bool ktReadObjectFromStream(KtXmlObject& object, std::istream& stream, const std::string& name);
// Reads the object from the root element of the reader's document.
bool ktReadRootObject(KtXmlObject& object, KtXmlReader& reader);

// Writes the object as the root of the document `name` (compressed when the name says
// so); when schema output is on, the schema is written beside it.
bool ktWriteObjectToFile(const KtXmlObject& object, const std::string& name);
// Writes the document to a stream; `name` gives the schema file named in the document.
bool ktWriteObjectToStream(const KtXmlObject& object, std::ostream& stream, const std::string& name);
// Writes the object as the root element (with header and version) through the writer.
bool ktWriteRootObject(const KtXmlObject& object, KtXmlWriter& writer);
// Writes the schema of the object (as a document root) to a stream.
void ktWriteSchema(const KtXmlObject& object, KtXmlWriter& writer, std::ostream& stream);
