#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "motion/expression/KtControlExpressionContainer.h"
#include "motion/expression/KtControlExpressionScalarConstant.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

// A container goes through a document with its expression as that class's own element, and
// a tree read from text evaluates; reading an expression moves the tree revision on, so that
// owners know to prepare again.
TEST(KtControlExpressionContainerTest, HoldsOneExpressionThroughDocuments) {
  KtControlExpressionContainer original(std::make_unique<KtControlExpressionScalarConstant>(2.5));
  KtControlExpressionContainer copy;
  const auto before = KtControlExpression::treeRevision();
  const std::string text = ktTestWrittenTwice(original, copy);
  EXPECT_NE(text.find("<ct:scalarConstant>"), std::string::npos) << text;
  EXPECT_GT(KtControlExpression::treeRevision(), before);

  const KtControlContext context;
  ASSERT_TRUE(copy.prepare(context));
  ASSERT_TRUE(copy.evaluate(context));
  EXPECT_TRUE(copy.value().isScalar());
  EXPECT_EQ(copy.value().scalar(), 2.5);
}

// Misuse is reported, not fatal: a second expression in a document is skipped with its line,
// an empty container does not prepare.
TEST(KtControlExpressionContainerTest, ReportsSurplusAndMissingExpressions) {
  KtControlExpressionContainer container;
  PrintCapture capture;
  EXPECT_TRUE(ktTestRead(container,
                         "<ct:controlExpressionContainer xmlns:ct=\"http://kt.example.org/namespace/ct#\">\n"
                         "<ct:scalarConstant><ct:value>1</ct:value></ct:scalarConstant>\n"
                         "<ct:scalarConstant><ct:value>2</ct:value></ct:scalarConstant>\n"
                         "</ct:controlExpressionContainer>\n",
                         "two.xml"));
  ASSERT_EQ(container.size(), 1u);
  EXPECT_EQ(static_cast<const KtControlExpressionScalarConstant&>(*container.expression()).constant(), 1.0);

  container.setExpression(nullptr);
  EXPECT_FALSE(container.prepare(KtControlContext{}));
  EXPECT_EQ(capture.text(),
            "KtControlExpressionContainer Warning: a container holds one expression; the 1 after the first "
            "are skipped.\n\tFile: two.xml\n\tLine: 4\n"
            "KtControlExpressionContainer::prepare(): empty container.\n");
}
