#include "xml/KtXmlWriter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "support/Random.h"
#include "xml/KtXmlNamespaces.h"

namespace {

const KtToken kRoot(ktNamespaceCt, "root");

KtToken ct(const char* name) { return KtToken(ktNamespaceCt, name); }

void writeNumbers(KtXmlWriter& writer, const char* name, int count) {
  writer.writeStartElement(ct(name));
  for (int i = 1; i <= count; ++i) writer.writeContentValue(i);
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
    writer.writeStartElement(ct("fifty"));
    writer.writeContentItem(std::string(50, 'x'));
    writer.writeEndElement();
    writer.writeStartElement(ct("fiftyOne"));
    writer.writeContentItem(std::string(51, 'y'));
    writer.writeEndElement();
    writer.writeStartElement(ct("nothing"));
    writer.writeEndElement();
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
  const struct {
    const char* document;
    const char* schema;
  } cases[] = {{"arm.xml", "arm.ct.xsd"},
               {"c:\\data\\arm.xml", "arm.ct.xsd"},
               {"/a/b.c/arm", "b.ct.xsd"},
               {"arm.xml.gz", "arm.xml.ct.xsd"},
               {"arm", "arm.ct.xsd"}};
  for (const auto& c : cases)
    EXPECT_EQ(KtXmlWriter(c.document, out).schemaFileName(kRoot), c.schema) << c.document;
}

// A process-wide default of one blank per level applies to writers made afterwards.
TEST(KtXmlWriter, startsFromTheProcessDefaults) {
  std::ostringstream out;
  {
    KtXmlWriter writer("x.xml", out);
    writer.writeRootStartElement(kRoot);
    writeNumbers(writer, "n", 1);
    writer.writeEndElement();
  }
  EXPECT_NE(out.str().find("\n <ct:n>1</ct:n>\n"), std::string::npos) << out.str();
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

// Every double survives writing and reading: 20 significant digits are enough.
TEST(KtXmlWriter, numbersReadBackExactly) {
  TestRandom rng(11);
  KtXmlVectorType<double> numbers;
  numbers.push_back(0.1);
  for (int i = 0; i < TestRandom::cases(); ++i) {
    std::uint64_t bits = rng.engine()();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (value == value) numbers.push_back(value);  // NaN compares unequal by nature
    numbers.push_back(rng.uniform(-1e3, 1e3));
  }
  KtTestEverything document;
  document.m_reals = numbers.value();
  const std::string text = ktTestWrite(document);
  EXPECT_NE(text.find("0.10000000000000000555"), std::string::npos);
  KtTestEverything again;
  ASSERT_TRUE(ktTestRead(again, text));
  ASSERT_EQ(again.m_reals.size(), numbers.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) EXPECT_EQ(again.m_reals[i], numbers[i]) << i;
}

}  // namespace
