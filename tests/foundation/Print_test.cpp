#include "foundation/Print.h"

#include <gtest/gtest.h>

#include <string>

#include "support/PrintCapture.h"

TEST(Print, DeliversFormattedTextAndSeverityToTheInstalledSink) {
  PrintCapture capture;
  ktPrint(KtSeverity::Warning, "Class::operation(): %s %d %.2f\n", "value", 7, 0.5);
  ASSERT_EQ(capture.messages().size(), 1u);
  EXPECT_EQ(capture.messages()[0].severity, KtSeverity::Warning);
  EXPECT_EQ(capture.messages()[0].text, "Class::operation(): value 7 0.50\n");
}

TEST(Print, FormatsMessagesLongerThanTheStackBuffer) {
  PrintCapture capture;
  const std::string longName(5000, 'n');
  ktPrint(KtSeverity::Error, "[%s]", longName.c_str());
  EXPECT_EQ(capture.text(), "[" + longName + "]");
}

TEST(Print, CapturesNestAndRestoreTheOuterSink) {
  PrintCapture outer;
  {
    PrintCapture inner;
    ktPrint(KtSeverity::Info, "inner");
    EXPECT_EQ(inner.text(), "inner");
  }
  ktPrint(KtSeverity::Info, "outer");
  EXPECT_EQ(outer.text(), "outer");
}
