#include "xml/KtToken.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "support/Random.h"

namespace {

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

// The text splits at its first '#', so that local names may hold more; without one there is
// no namespace. Equality looks at both parts, ordering at the local name only: tokens that
// differ in their namespace alone are unequal yet equivalent as table keys.
TEST(KtToken, splitsAtTheFirstHashAndOrdersByLocalNameOnly) {
  EXPECT_TRUE(KtToken("a#b#c").nameSpace() == "a" && KtToken("a#b#c").name() == "b#c");
  EXPECT_TRUE(KtToken("theta").nameSpace().empty() && KtToken("theta").name() == "theta");
  const KtToken a("x#theta"), b("y#theta"), c("x#alpha");
  EXPECT_TRUE(a != b && !(a < b) && !(b < a)) << "unequal, yet equivalent";
  EXPECT_TRUE(c < a && KtToken("Zeta") < KtToken("alpha")) << "byte-wise, upper case first";
  std::map<KtToken, int> table{{a, 1}};
  table[b] = 2;
  EXPECT_TRUE(table.size() == 1u && table.begin()->first.nameSpace() == "x" && table.begin()->second == 2);
}

}  // namespace
