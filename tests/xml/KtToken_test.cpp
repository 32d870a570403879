#include "xml/KtToken.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "support/PrintCapture.h"
#include "support/Random.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlVersion.h"

namespace {

TEST(KtToken, splitsAtTheFirstHash) {
  const KtToken nested("a#b#c");
  EXPECT_EQ(nested.nameSpace(), "a");
  EXPECT_EQ(nested.name(), "b#c");
  const KtToken plain("theta");
  EXPECT_EQ(plain.nameSpace(), "");
  EXPECT_EQ(plain.name(), "theta");
  const KtToken joined(ktNamespaceSm, "theta");
  EXPECT_EQ(joined.nameSpace(), "http://kt.example.org/namespace/sm");
  EXPECT_EQ(joined.name(), "theta");
}

TEST(KtToken, stringFormRoundTripsForRandomParts) {
  TestRandom rng(1);
  const std::string alphabet = "abc:/.xyz#";  // '#' last, so that namespaces can leave it out
  for (int i = 0; i < TestRandom::cases(); ++i) {
    std::string nameSpace, name;
    for (int n = rng.integer(1, 8); n > 0; --n) nameSpace += alphabet[rng.integer(0, 8)];
    for (int n = rng.integer(1, 8); n > 0; --n) name += alphabet[rng.integer(0, 9)];
    const KtToken token = KtToken::fromParts(nameSpace, name);
    const KtToken again(token.toString());
    EXPECT_TRUE(again == token) << token.toString();
  }
}

// Equality looks at both parts, ordering at the local name only: tokens that differ in
// their namespace alone are unequal yet equivalent as table keys.
TEST(KtToken, equalityAndOrderingDifferOnPurpose) {
  const KtToken a("x#theta"), b("y#theta"), c("x#alpha");
  EXPECT_NE(a, b);
  EXPECT_FALSE(a < b);
  EXPECT_FALSE(b < a);
  EXPECT_TRUE(c < a);
  std::map<KtToken, int> table;
  table[a] = 1;
  table[b] = 2;
  ASSERT_EQ(table.size(), 1u);
  EXPECT_EQ(table.begin()->first.nameSpace(), "x");
  EXPECT_EQ(table.begin()->second, 2);
  // Byte-wise: upper case before lower case.
  EXPECT_TRUE(KtToken("Zeta") < KtToken("alpha"));
}

TEST(KtXmlVersion, majorVersionsDecideCompatibility) {
  struct Case {
    const char* version;
    bool compatible;
    bool warns;
  };
  const Case cases[] = {{"2.0.0", true, false}, {"2.3.1", true, false}, {"2", true, false},
                        {"1.9.0", true, true},  {"3.0.0", false, true}, {"10.0", false, true}};
  for (const Case& c : cases) {
    PrintCapture capture;
    EXPECT_EQ(ktIsVersionCompatible(c.version), c.compatible) << c.version;
    const std::string expected =
        std::string("KtXmlObject::isVersionCompatible warning: Input file version (v") + c.version +
        ") is not equal with code base version (v2.0.0).\n";
    EXPECT_EQ(capture.text(), c.warns ? expected : "") << c.version;
  }
}

}  // namespace
