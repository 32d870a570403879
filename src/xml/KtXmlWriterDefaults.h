#pragma once

#include <string>

// The strings that shape a written document. A writer copies them from the process-wide
// defaults when it is made; a style replaces them as a set.
struct KtXmlWriterStrings {
  std::string indentation = " ";
  std::string header = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>";
  std::string stylesheet;
  std::string schemaInstanceDeclaration;
  std::string schemaLocationBase;  // put in front of the schema file name in xsi:schemaLocation

  // Style 0: two-blank indentation and the plain header. Style 1: the same plus an XSL
  // stylesheet, the schema-instance declaration and schema files under a fixed URL. Any
  // other style changes nothing and answers false.
  bool applyStyle(int style);
};

// Defaults of every writer, set once at start-up (the writer only reads them).
struct KtXmlWriterDefaults {
  KtXmlWriterStrings strings;
  bool writeEveryComponent = false;  // also write components that could be omitted
  bool writeSchema = false;          // generate the schema file beside each document

  static KtXmlWriterDefaults& instance();
};
