#include "xml/KtXmlCompoundType.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "support/Random.h"

namespace {

// Members registered as zeta, Alpha, beta; the second field of the same local name in
// another namespace; a kind-0 member; an attribute.
class KtOrdered : public KtXmlCloneable<KtOrdered, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceMn, "ordered");
    return token;
  }
  KtXmlBasicType<int> m_zeta{1}, m_alpha{2}, m_beta{3}, m_otherBeta{4}, m_hidden{5}, m_id{6};

 protected:
  void registerComponents() override {
    static const KtToken zeta(ktNamespaceMn, "zeta"), alpha(ktNamespaceMn, "Alpha"),
        beta(ktNamespaceMn, "beta"), otherBeta(ktNamespaceSn, "beta"), hidden(ktNamespaceMn, "hidden"),
        id("id");
    registerComponent(zeta, m_zeta);
    registerComponent(alpha, m_alpha);
    registerComponent(beta, m_beta);
    registerComponent(otherBeta, m_otherBeta);
    registerUnwrittenComponent(hidden, m_hidden);
    registerAttribute(id, m_id);
  }
};

// Holds its value only in a member the tables do not know, and describes nothing.
class KtUndescribed : public KtXmlCloneable<KtUndescribed, KtXmlObject> {
 public:
  bool read(KtXmlReader&) override { return false; }
  bool write(KtXmlWriter&) const override { return true; }
  bool isEqual(const KtXmlObject& other) const override { return typeid(other) == typeid(*this); }
};

// A leaf that may be left out while it holds its default value.
class KtOmissible : public KtXmlCloneable<KtOmissible, KtXmlCompoundType> {
 public:
  bool mayBeOmitted() const override { return m_value == 0.0; }
  KtXmlBasicType<KtReal> m_value;

 protected:
  void registerComponents() override {
    static const KtToken value(ktNamespaceMn, "value");
    registerComponent(value, m_value);
  }
};

class KtHolder : public KtXmlCloneable<KtHolder, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceMn, "holder");
    return token;
  }
  KtOmissible m_part;

 protected:
  void registerComponents() override {
    static const KtToken part(ktNamespaceMn, "part");
    registerComponent(part, m_part);
  }
};

TEST(KtXmlCompoundType, writesComponentsInByteOrderOfLocalNames) {
  const std::string text = ktTestWrite(KtOrdered());
  const std::size_t alpha = text.find("<mn:Alpha>2</mn:Alpha>");
  const std::size_t beta = text.find("<mn:beta>4</mn:beta>");
  const std::size_t zeta = text.find("<mn:zeta>1</mn:zeta>");
  ASSERT_NE(alpha, std::string::npos) << text;
  ASSERT_NE(beta, std::string::npos) << text;
  ASSERT_NE(zeta, std::string::npos) << text;
  EXPECT_LT(alpha, beta);
  EXPECT_LT(beta, zeta);
  EXPECT_EQ(text.find("hidden"), std::string::npos) << "kind-0 components are not elements";
  EXPECT_NE(text.find(" id=\"6\">"), std::string::npos);
}

// The second registration of "beta" (other namespace) keeps the first token but now
// points at the second member.
TEST(KtXmlCompoundType, sameLocalNameKeepsFirstTokenAndLastMember) {
  KtOrdered ordered;
  EXPECT_EQ(ordered.component("beta"), &ordered.m_otherBeta);
  const std::string text = ktTestWrite(ordered);
  EXPECT_EQ(text.find("sn:"), std::string::npos) << text;
  KtOrdered read;
  ASSERT_TRUE(ktTestRead(read, "<ordered><beta>40</beta><hidden>50</hidden></ordered>"));
  EXPECT_EQ(read.m_otherBeta, 40);
  EXPECT_EQ(read.m_beta, 3);
  EXPECT_EQ(read.m_hidden, 50) << "kind-0 components are still read";
}

TEST(KtXmlCompoundType, kindQueries) {
  const KtOrdered ordered;
  EXPECT_TRUE(ordered.isKindZero(KtToken(ktNamespaceMn, "hidden")));
  EXPECT_FALSE(ordered.isKindOne(KtToken(ktNamespaceMn, "hidden")));
  EXPECT_FALSE(ordered.isKindZero(KtToken(ktNamespaceMn, "zeta")));
  EXPECT_FALSE(ordered.isKindZero(KtToken("unknown")));
  EXPECT_FALSE(ordered.isKindOne(KtToken("unknown")));
}

TEST(KtXmlCompoundType, readsChildrenInAnyOrderAndIgnoresUnknownOnesSilently) {
  PrintCapture capture;
  KtOrdered ordered;
  EXPECT_FALSE(ordered.wasRead());
  ASSERT_TRUE(
      ktTestRead(ordered,
                 "<mn:ordered xmlns:mn=\"u\" id=\"9\"><zeta>10</zeta><unknown a=\"1\"><x>y</x></unknown>"
                 "<Alpha>20</Alpha><zeta>30</zeta><beta>not a number</beta></mn:ordered>"));
  EXPECT_EQ(capture.text(), "");
  EXPECT_TRUE(ordered.wasRead());
  EXPECT_TRUE(ordered.isInitialized());
  EXPECT_EQ(ordered.m_id, 9);
  EXPECT_EQ(ordered.m_alpha, 20);
  EXPECT_EQ(ordered.m_zeta, 30);
  EXPECT_EQ(ordered.m_otherBeta, 4) << "a child that fails to read leaves the member alone";
}

// Copies never share tables with their source: every copy is written and re-read after
// its source is gone.
TEST(KtXmlCompoundType, copiesRegisterTheirOwnMembers) {
  TestRandom rng(3);
  for (int i = 0; i < 20; ++i) {
    auto original = std::make_unique<KtTestEverything>();
    original->m_real = rng.uniform(-1, 1);
    original->m_leaves.push_back(KtTestLeaf());
    original->m_leaves[0].m_value = rng.uniform(-1, 1);
    ktTestWrite(*original);  // registers the original's members
    KtTestEverything copied(*original);
    KtTestEverything assigned;
    ktTestWrite(assigned);
    assigned = *original;
    std::unique_ptr<KtXmlObject> cloned = original->clone();
    const std::string expected = ktTestWrite(*original);
    original.reset();
    const KtXmlObject* copies[] = {&copied, &assigned, cloned.get()};
    for (const KtXmlObject* copy : copies) {
      EXPECT_EQ(ktTestWrite(*copy), expected);
      KtTestEverything reread;
      ASSERT_TRUE(ktTestRead(reread, expected));
      EXPECT_TRUE(reread.isEqual(*copy));
    }
    copied.m_real = 5.0;
    EXPECT_NE(ktTestWrite(copied).find("<ct:real>5</ct:real>"), std::string::npos);
  }
}

TEST(KtXmlCompoundType, equalityNeedsTheSameDynamicType) {
  KtTestLeaf leaf;
  KtTestOtherLeaf other;
  EXPECT_TRUE(leaf.isEqual(KtTestLeaf()));
  EXPECT_FALSE(leaf.isEqual(other));
  EXPECT_FALSE(other.isEqual(leaf));
  leaf.m_offset = Kt::Vector(1, 0, 0);
  EXPECT_FALSE(leaf.isEqual(KtTestLeaf()));
}

TEST(KtXmlCompoundType, omitsWhatMayBeOmittedUnlessEverythingIsWritten) {
  KtHolder holder;
  EXPECT_NE(ktTestWrite(holder).find("<mn:holder xmlns:xsi"), std::string::npos);
  EXPECT_EQ(ktTestWrite(holder).find("part"), std::string::npos);
  std::ostringstream out;
  {
    KtXmlWriter writer("x.xml", out);
    writer.setWriteEveryComponent(true);
    ktWriteRootObject(holder, writer);
  }
  EXPECT_NE(out.str().find("<mn:value>0</mn:value>"), std::string::npos) << out.str();
  // A part that came from a document keeps its element even when it holds its default,
  // though the part itself, being omissible, writes nothing into it.
  ASSERT_TRUE(ktTestRead(holder, "<holder><part><value>0</value></part></holder>"));
  EXPECT_NE(ktTestWrite(holder).find("<mn:part xsi:nil=\"true\"/>"), std::string::npos);
}

TEST(KtXmlCompoundType, classesWithoutDescriptionSaySo) {
  PrintCapture capture;
  std::ostringstream out;
  KtXmlWriter writer("x.xml", out);
  KtUndescribed().writeSchema(writer);
  EXPECT_EQ(capture.text(), "(anonymous namespace)::KtUndescribed: This class has not been specialized.\n");
}

}  // namespace
