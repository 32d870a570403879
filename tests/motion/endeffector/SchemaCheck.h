#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/TempFiles.h"
#include "xml/KtXmlFile.h"
#include "xml/KtXmlWriterDefaults.h"

namespace endeffector_test {

// Whether the object, saved with the schema our writer generates beside it, passes xmllint's
// validation against that schema.
inline bool validatesAgainstOwnSchema(const KtXmlObject& object, const std::string& stem) {
  TempDirectory directory;
  const std::string document = directory.file(stem + ".xml");
  KtXmlWriterDefaults::instance().writeSchema = true;
  const bool written = ktWriteObjectToFile(object, document);
  KtXmlWriterDefaults::instance().writeSchema = false;
  const std::string command =
      "xmllint --noout --schema " + directory.file(stem + ".ct.xsd") + " " + document + " > /dev/null 2>&1";
  return written && std::system(command.c_str()) == 0;
}

}  // namespace endeffector_test
