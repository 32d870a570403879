#include "xml/KtXmlCompoundType.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "support/Random.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

// A part that may be left out while it holds its default value.
class KtOmissible : public KtXmlCloneable<KtOmissible, KtXmlCompoundType> {
 public:
  bool mayBeOmitted() const override { return m_value == 0.0; }
  KtXmlBasicType<KtReal> m_value;

 protected:
  void registerComponents() override { registerComponent(KtToken(ktNamespaceMn, "value"), m_value); }
};

// Members registered as zeta, Alpha, beta; the second member of the same local name in
// another namespace; a kind-0 member; an omissible part; an attribute.
class KtOrdered : public KtXmlCloneable<KtOrdered, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceMn, "ordered");
    return token;
  }
  KtXmlBasicType<int> m_zeta{1}, m_alpha{2}, m_beta{3}, m_otherBeta{4}, m_hidden{5}, m_id{6};
  KtOmissible m_part;

 protected:
  void registerComponents() override {
    registerComponent(KtToken(ktNamespaceMn, "zeta"), m_zeta);
    registerComponent(KtToken(ktNamespaceMn, "Alpha"), m_alpha);
    registerComponent(KtToken(ktNamespaceMn, "beta"), m_beta);
    registerComponent(KtToken(ktNamespaceSn, "beta"), m_otherBeta);
    registerUnwrittenComponent(KtToken(ktNamespaceMn, "hidden"), m_hidden);
    registerComponent(KtToken(ktNamespaceMn, "part"), m_part);
    registerAttribute(KtToken("id"), m_id);
  }
};

// Describes nothing of itself.
class KtUndescribed : public KtXmlCloneable<KtUndescribed, KtXmlObject> {
 public:
  bool read(KtXmlReader&) override { return false; }
  bool write(KtXmlWriter&) const override { return true; }
  bool isEqual(const KtXmlObject& other) const override { return typeid(other) == typeid(*this); }
};

// Components in ascending byte order of their local names (upper case first), the attribute
// on the start tag, neither the kind-0 component nor the omitted part, and the member
// registered last under "beta" written with the token registered first; one blank per level
// is the process-wide default layout.
TEST(KtXmlCompoundType, writesComponentsInByteOrderOfLocalNames) {
  KtOrdered ordered;
  EXPECT_EQ(ktTestWrite(ordered),
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
            "<mn:ordered xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"\n"
            "  xsi:schemaLocation=\"http://kt.example.org/namespace/mn\n"
            "  test.mn.xsd\" xmlns:mn=\"http://kt.example.org/namespace/mn\" version=\"2.0.0\" id=\"6\">\n"
            " <mn:Alpha>2</mn:Alpha>\n <mn:beta>4</mn:beta>\n <mn:zeta>1</mn:zeta>\n</mn:ordered>\n");
  EXPECT_EQ(ordered.component("beta"), &ordered.m_otherBeta);
  const KtToken hidden(ktNamespaceMn, "hidden"), unknown("unknown");
  EXPECT_TRUE(ordered.isKindZero(hidden) && !ordered.isKindOne(hidden));
  EXPECT_FALSE(ordered.isKindZero(KtToken(ktNamespaceMn, "zeta")) || ordered.isKindZero(unknown) ||
               ordered.isKindOne(unknown));
}

// Kind-0 components are read too.
TEST(KtXmlCompoundType, readsChildrenInAnyOrderAndIgnoresUnknownOnesSilently) {
  KtOrdered ordered;
  EXPECT_FALSE(ordered.wasRead());
  ASSERT_EQ(ktTestReadPrinting(
                ordered,
                "<mn:ordered xmlns:mn=\"u\" id=\"9\"><zeta>10</zeta><unknown a=\"1\"><x>y</x></unknown>"
                "<Alpha>20</Alpha><beta>40</beta><hidden>50</hidden></mn:ordered>"),
            std::pair(true, std::string()));
  EXPECT_TRUE(ordered.wasRead() && ordered.isInitialized());
  EXPECT_EQ(std::vector<int>({ordered.m_id, ordered.m_alpha, ordered.m_zeta, ordered.m_beta,
                              ordered.m_otherBeta, ordered.m_hidden}),
            (std::vector<int>{9, 20, 10, 3, 40, 50}));
}

// A component takes the first element of its name, even one that could not be read: every
// later one is reported and skipped, whatever it holds. The record of what was read starts
// afresh with every read.
TEST(KtXmlCompoundType, keepsTheFirstOfRepeatedChildrenAndReportsTheOthers) {
  PrintCapture capture;
  KtOrdered ordered;
  const std::string document =
      "<mn:ordered xmlns:mn=\"u\" id=\"x\">\n<zeta>10</zeta><hidden>50</hidden>\n<zeta/>\n"
      "<beta>not a number</beta><part><value>1</value></part>\n<beta>40</beta><hidden>60</hidden>\n"
      "<part><value>2</value></part></mn:ordered>";
  ASSERT_TRUE(ktTestRead(ordered, document));
  const auto repeated = [](const char* name, int line) {
    return "KtXmlCompoundType Warning: element " + std::string(name) +
           " appears more than once; the first is kept.\n\tFile: test.xml\n\tLine: " + std::to_string(line) +
           "\n";
  };
  EXPECT_EQ(capture.text(),
            "KtXmlCompoundType Warning: attribute id: value \"x\" cannot be read; the attribute is skipped.\n"
            "\tFile: test.xml\n\tLine: 1\n" +
                repeated("zeta", 3) +
                "KtXmlBasicType Warning: element beta: value \"not a number\" cannot be read; the element is "
                "skipped.\n\tFile: test.xml\n\tLine: 4\n" +
                repeated("beta", 5) + repeated("hidden", 5) + repeated("part", 6));
  EXPECT_EQ(std::vector<int>({ordered.m_id, ordered.m_zeta, ordered.m_otherBeta, ordered.m_hidden}),
            (std::vector<int>{6, 10, 4, 50}));
  EXPECT_EQ(ordered.m_part.m_value, 1.0);
  ASSERT_EQ(ktTestReadPrinting(ordered, "<ordered><zeta>11</zeta><part><value>3</value></part></ordered>"),
            std::pair(true, std::string()));
  EXPECT_EQ(ordered.m_zeta, 11);
  EXPECT_EQ(ordered.m_part.m_value, 3.0);
}

// A writer that writes everything writes the omitted part too. A part that came from a
// document keeps its element even when it holds its default, though the part itself, being
// omissible, writes nothing into it.
TEST(KtXmlCompoundType, omitsWhatMayBeOmittedUnlessEverythingIsWritten) {
  KtOrdered ordered;
  std::ostringstream out;
  {
    KtXmlWriter writer("x.xml", out);
    writer.setWriteEveryComponent(true);
    ktWriteRootObject(ordered, writer);
  }
  EXPECT_NE(out.str().find("<mn:part>\n  <mn:value>0</mn:value>\n </mn:part>"), std::string::npos)
      << out.str();
  ASSERT_TRUE(ktTestRead(ordered, "<ordered><part><value>0</value></part></ordered>"));
  EXPECT_NE(ktTestWrite(ordered).find("<mn:part xsi:nil=\"true\"/>"), std::string::npos);
}

// Copies never share tables with their source: every copy writes its own members after its
// source is gone.
TEST(KtXmlCompoundType, copiesRegisterTheirOwnMembers) {
  TestRandom rng(3);
  auto original = std::make_unique<KtTestEverything>();
  fillRandomly(*original, rng);
  ktTestWrite(*original);  // registers the original's members
  KtTestEverything copied(*original), assigned;
  ktTestWrite(assigned);
  assigned = *original;
  const std::unique_ptr<KtXmlObject> cloned = original->clone();
  const std::string expected = ktTestWrite(*original);
  original.reset();
  const KtXmlObject* copies[] = {&copied, &assigned, cloned.get()};
  for (const KtXmlObject* copy : copies) {
    EXPECT_EQ(ktTestWrite(*copy), expected);
    EXPECT_TRUE(copy->isEqual(copied));
  }
  copied.m_real = 5.0;
  EXPECT_NE(ktTestWrite(copied).find("<ct:real>5</ct:real>"), std::string::npos);
  EXPECT_FALSE(copied.isEqual(assigned));
}

// Equality needs the same dynamic type and equal components; a class without a description
// says so when asked for its schema.
TEST(KtXmlCompoundType, equalityNeedsTheSameDynamicTypeAndEqualComponents) {
  KtTestLeaf leaf;
  EXPECT_TRUE(leaf.isEqual(KtTestLeaf()));
  EXPECT_FALSE(leaf.isEqual(KtTestOtherLeaf()) || KtTestOtherLeaf().isEqual(leaf));
  leaf.m_offset = Kt::Vector(1, 0, 0);
  EXPECT_FALSE(leaf.isEqual(KtTestLeaf()));
  PrintCapture capture;
  std::ostringstream out;
  KtXmlWriter writer("x.xml", out);
  KtUndescribed().writeSchema(writer);
  EXPECT_EQ(capture.text(), "(anonymous namespace)::KtUndescribed: This class has not been specialized.\n");
}

}  // namespace
