#include "foundation/Print.h"

#include <gtest/gtest.h>

#include <string>

#include "support/PrintCapture.h"

// The installed sink receives the formatted text and its severity, also for texts longer than
// the stack buffer; captures nest and give the outer sink back.
TEST(Print, DeliversFormattedTextAndSeverityToTheInstalledSink) {
  PrintCapture outer;
  {
    PrintCapture inner;
    const std::string longName(5000, 'n');
    ktPrint(KtSeverity::Warning, "Class::operation(): %s %d %.2f\n", "value", 7, 0.5);
    ktPrint(KtSeverity::Error, "[%s]", longName.c_str());
    ASSERT_EQ(inner.messages().size(), 2u);
    EXPECT_EQ(inner.messages()[0].severity, KtSeverity::Warning);
    EXPECT_EQ(inner.messages()[1].severity, KtSeverity::Error);
    EXPECT_EQ(inner.text(), "Class::operation(): value 7 0.50\n[" + longName + "]");
  }
  ktPrint(KtSeverity::Info, "outer");
  EXPECT_EQ(outer.text(), "outer");
}
