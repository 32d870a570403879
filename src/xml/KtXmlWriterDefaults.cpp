#include "xml/KtXmlWriterDefaults.h"

#include "xml/KtXmlNamespaces.h"

bool KtXmlWriterStrings::applyStyle(int style) {
  if (style != 0 && style != 1) return false;
  indentation = "  ";
  header = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>";
  if (style == 0) {
    stylesheet.clear();
    schemaInstanceDeclaration.clear();
    schemaLocationBase.clear();
  } else {
    stylesheet = "<?xml-stylesheet type=\"text/xsl\" href=\"http://kt.example.org/stylesheet/kt.xsl\"?>";
    schemaInstanceDeclaration = "xmlns:xsi=\"" + std::string(ktSchemaInstanceNamespace) + "\"";
    schemaLocationBase = "http://kt.example.org/schema/";
  }
  return true;
}

KtXmlWriterDefaults& KtXmlWriterDefaults::instance() {
  static KtXmlWriterDefaults defaults;
  return defaults;
}
