#include "xml/KtXmlWriter.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "support/PrintCapture.h"
#include "xml/KtXmlNamespaces.h"

namespace {

const KtToken kRoot(ktNamespaceCt, "root");

KtToken ct(const char* name) { return KtToken(ktNamespaceCt, name); }

void writeNumbers(KtXmlWriter& writer, const char* name, int count) {
  writer.writeStartElement(ct(name));
  for (int i = 1; i <= count; ++i) writer.writeContentValue(i);
  writer.writeEndElement();
}

void writeText(KtXmlWriter& writer, const char* name, const std::string& text) {
  writer.writeStartElement(ct(name));
  if (!text.empty()) writer.writeContentItem(text);
  writer.writeEndElement();
}

// The exact layout: header, namespaces, schema location, indentation, ten items to a
// line, content of 50 characters kept on the element's line and 51 set apart, nil
// elements, attributes, and 20 significant digits.
TEST(KtXmlWriter, laysOutDocumentsExactly) {
  std::ostringstream out;
  {
    KtXmlWriter writer("data/arm.v1.xml", out);
    writer.setStyle(0);
    writer.writeRootStartElement(kRoot);
    writeNumbers(writer, "ten", 10);
    writeNumbers(writer, "many", 25);
    writeText(writer, "fifty", std::string(50, 'x'));
    writeText(writer, "fiftyOne", std::string(51, 'y'));
    writeText(writer, "nothing", "");
    writer.writeStartElement(KtToken(ktNamespaceSm, "other"));
    writer.writeAttributeValue(KtToken("x"), 0.1);
    writer.writeAttribute(KtToken("text"), "a\"<&>\n");
    writer.writeEndElement();
    writer.writeEndElement();
  }
  EXPECT_EQ(out.str(),
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
            "<ct:root xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"\n"
            "  xsi:schemaLocation=\"http://kt.example.org/namespace/ct\n"
            "  arm.v1.ct.xsd\" xmlns:ct=\"http://kt.example.org/namespace/ct\">\n"
            "  <ct:ten>1 2 3 4 5 6 7 8 9 10</ct:ten>\n"
            "  <ct:many>\n"
            "    1 2 3 4 5 6 7 8 9 10\n"
            "    11 12 13 14 15 16 17 18 19 20\n"
            "    21 22 23 24 25\n"
            "  </ct:many>\n"
            "  <ct:fifty>" +
                std::string(50, 'x') +
                "</ct:fifty>\n"
                "  <ct:fiftyOne>\n"
                "    " +
                std::string(51, 'y') +
                "\n"
                "  </ct:fiftyOne>\n"
                "  <ct:nothing xsi:nil=\"true\"/>\n"
                "  <sm:other xmlns:sm=\"http://kt.example.org/namespace/sm\" x=\"0.10000000000000000555\" "
                "text=\"a&quot;&lt;&amp;&gt;&#10;\"/>\n"
                "</ct:root>\n");
}

TEST(KtXmlWriter, styleOneAddsStylesheetAndSchemaUrl) {
  std::ostringstream out;
  {
    KtXmlWriter writer("arm.xml", out);
    writer.setStyle(1);
    writer.setStyle(7);  // ignored
    writer.writeRootStartElement(kRoot);
    writer.writeEndElement();
  }
  EXPECT_EQ(out.str(),
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
            "<?xml-stylesheet type=\"text/xsl\" href=\"http://kt.example.org/stylesheet/kt.xsl\"?>\n"
            "<ct:root xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"\n"
            "  xsi:schemaLocation=\"http://kt.example.org/namespace/ct\n"
            "  http://kt.example.org/schema/arm.ct.xsd\" xmlns:ct=\"http://kt.example.org/namespace/ct\""
            " xsi:nil=\"true\"/>\n");
}

TEST(KtXmlWriter, derivesTheSchemaFileName) {
  std::ostringstream out;
  const std::pair<const char*, const char*> cases[] = {{"arm.xml", "arm.ct.xsd"},
                                                       {"c:\\data\\arm.xml", "arm.ct.xsd"},
                                                       {"/a/b.c/arm", "b.ct.xsd"},
                                                       {"arm.xml.gz", "arm.xml.ct.xsd"},
                                                       {"arm", "arm.ct.xsd"}};
  for (const auto& [document, schema] : cases)
    EXPECT_EQ(KtXmlWriter(document, out).schemaFileName(kRoot), schema) << document;
}

TEST(KtXmlWriter, reportsMisuseAndCarriesOn) {
  PrintCapture capture;
  std::ostringstream out;
  KtXmlWriter writer("out.xml", out);
  writer.writeRootStartElement(kRoot);
  writer.writeStartElement(KtToken("plain"));
  writer.writeAttribute(ct("declared"), "1");
  writer.writeAttribute(KtToken(ktNamespaceMn, "undeclared"), "2");
  writer.writeEndElement();
  writer.writeContentItem("late");
  writer.writeEndElement();
  writer.writeEndElement();
  EXPECT_EQ(
      capture.text(),
      "KtXmlWriter Error: All elements must have namespace: plain\n\tFile: out.xml\n"
      "KtXmlWriter Error: no namespace on attributes preferred: http://kt.example.org/namespace/ct#declared\n"
      "\tFile: out.xml\n"
      "KtXmlWriter Error: attribute namespace doesn't exist: http://kt.example.org/namespace/mn#undeclared\n"
      "\tFile: out.xml\n"
      "KtXmlWriter Error: element ct:root is placing content at incorrect location.\n\tFile: out.xml\n"
      "KtXmlWriter Error: end tag following incorrect mode 5.  File out.xml\n");
}

}  // namespace
