#include "xml/KtXmlFile.h"

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>

#include "foundation/Print.h"
#include "xml/KtDocumentStream.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlVersion.h"
#include "xml/KtXmlWriter.h"
#include "xml/KtXmlWriterDefaults.h"

namespace {

const KtToken& versionToken() {
  static const KtToken token("version");
  return token;
}

// The schema is written into the directory of the document.
std::string schemaPath(const std::string& documentName, const std::string& schemaFile) {
  const std::size_t separator = documentName.find_last_of("/\\");
  return separator == std::string::npos ? schemaFile : documentName.substr(0, separator + 1) + schemaFile;
}

// A name beside the document, ending like the document's own name so that it is
// compressed the same way, for the document while it is being written.
std::string temporaryPathFor(const std::string& documentName) {
  static std::atomic<unsigned> counter{0};
  const std::size_t separator = documentName.find_last_of("/\\");
  const std::size_t baseStart = separator == std::string::npos ? 0 : separator + 1;
  return documentName.substr(0, baseStart) + ".~" + std::to_string(::getpid()) + '.' +
         std::to_string(counter++) + '.' + documentName.substr(baseStart);
}

}  // namespace

bool ktReadRootObject(KtXmlObject& object, KtXmlReader& reader) {
  if (!reader.enterElement()) return false;
  if (!KtXmlObject::isVersionCompatible(reader)) return false;
  return object.read(reader) && reader.finishDocument();
}

bool ktReadObjectFromStream(KtXmlObject& object, std::istream& stream, const std::string& name) {
  KtXmlReader reader(stream, name);
  return ktReadRootObject(object, reader);
}

bool ktReadObjectFromFile(KtXmlObject& object, const std::string& name) {
  std::string resolvedPath;
  const std::unique_ptr<std::istream> stream = ktOpenDocumentForReading(name, resolvedPath);
  if (!stream) {
    ktPrint(KtSeverity::Error, "KtXmlReader Error: not able to open file: %s\n", name.c_str());
    return false;
  }
  return ktReadObjectFromStream(object, *stream, resolvedPath);
}

bool ktWriteRootObject(const KtXmlObject& object, KtXmlWriter& writer) {
  const KtToken& root = object.elementToken();
  if (root.name().empty()) {
    ktPrint(KtSeverity::Error, "KtXmlWriter Error: the root object has no element name.\n\tFile: %s\n",
            writer.fileName().c_str());
    return false;
  }
  writer.writeRootStartElement(root);
  writer.writeAttribute(versionToken(), ktCodeBaseVersion);
  const bool written = object.write(writer);
  writer.writeEndElement();
  return writer.flush() && written && !writer.wroteUnreadableValues();
}

void ktWriteSchema(const KtXmlObject& object, KtXmlWriter& writer, std::ostream& stream) {
  const std::string type = object.schemaTypeName();
  writer.schema().addAttribute(type, versionToken().name(), "xs:string");
  object.writeSchema(writer);
  writer.schema().write(stream, object.elementToken(), type);
}

bool ktWriteObjectToStream(const KtXmlObject& object, std::ostream& stream, const std::string& name) {
  KtXmlWriter writer(name, stream);
  return ktWriteRootObject(object, writer);
}

bool ktWriteObjectToFile(const KtXmlObject& object, const std::string& name) {
  // The document is written under a temporary name and takes its own name only once it is
  // complete, so that a failed or refused save leaves any earlier file of that name intact.
  const std::string temporary = temporaryPathFor(name);
  bool written = false;
  {
    const std::unique_ptr<std::ostream> stream = ktOpenDocumentForWriting(temporary);
    if (!stream) {
      ktPrint(KtSeverity::Error, "KtXmlWriter Error: not able to open file: %s\n", name.c_str());
      return false;
    }
    KtXmlWriter writer(name, *stream);
    written = ktWriteRootObject(object, writer);
  }
  std::error_code error;
  if (written) std::filesystem::rename(temporary, name, error);
  if (!written || error) {
    if (written)
      ktPrint(KtSeverity::Error, "KtXmlWriter Error: not able to replace file: %s\n", name.c_str());
    std::filesystem::remove(temporary, error);
    return false;
  }
  if (!KtXmlWriterDefaults::instance().writeSchema) return true;
  std::ofstream schema;
  KtXmlWriter schemaWriter(name, schema);
  const std::string path = schemaPath(name, schemaWriter.schemaFileName(object.elementToken()));
  schema.open(path);
  ktWriteSchema(object, schemaWriter, schema);
  schema.flush();
  if (!schema) {
    ktPrint(KtSeverity::Error, "KtXmlWriter Error: not able to write schema file: %s\n", path.c_str());
    return false;
  }
  return true;
}
