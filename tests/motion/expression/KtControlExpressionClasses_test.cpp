#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ExpressionTestSupport.h"
#include "manipulator/KtStatedSystem.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlFactory.h"
#include "xml/KtXmlFile.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

using expression_test::entries;

// Documents are written here in a shorthand: e(name, body) is the element <ct:name>body</ct:name>.
std::string e(const std::string& name, const std::string& body = "") {
  return "<ct:" + name + ">" + body + "</ct:" + name + ">";
}
std::string document(const std::string& name, const std::string& body) {
  return "<ct:" + name + " xmlns:ct=\"http://kt.example.org/namespace/ct#\">" + body + "</ct:" + name + ">\n";
}
// A list of n numbers in one group.
std::string list(const std::string& name, const std::string& numbers, int n) {
  return "<ct:" + name + " size=\"" + std::to_string(n) + "\">" + e("group", numbers) + "</ct:" + name + ">";
}
// A table function of 2 x n entries, row by row.
std::string table(const std::string& numbers, int n) {
  return "<ct:tableFunction rows=\"2\" columns=\"" + std::to_string(n) + "\">" + numbers +
         "</ct:tableFunction>";
}
std::string first(const std::string& body) { return e("firstOperand", body); }
std::string second(const std::string& body) { return e("secondOperand", body); }
std::string operand(const std::string& body) { return e("operand", body); }

// The operands the tables below combine: a = (1, 2, 4), s = 2, m = [1 0 0; 0 2 0], a pair of
// size 3 and the column (0, 5, 0).
const std::string a = e("generalColumn", list("column", "1 2 4", 3));
const std::string s = e("scalarConstant", e("value", "2"));
const std::string m = e("diagonalMatrix", e("rowSize", "2") + list("diagonal", "1 2", 2));
const std::string pair = e("controlExpressionVectorToAb", operand(a));
const std::string identity2 = e("identityMatrix", e("size", "2"));
const std::string single = e("singleElementColumn", e("elementValue", "5") + e("position", "1"));

// A read expression, made by the factory from its element.
std::unique_ptr<KtControlExpression> made(const std::string& name) {
  std::unique_ptr<KtXmlObject> object = KtXmlFactory::defaultFactory().create(KtToken(ktNamespaceCt, name));
  auto* expression = dynamic_cast<KtControlExpression*>(object.get());
  if (expression == nullptr) return nullptr;
  object.release();
  return std::unique_ptr<KtControlExpression>(expression);
}

// The sample arm with joint 2 of manipulator 0 at 0.75, and a set of two point end effectors
// weighted 2 and 3 (six rows); the context has three joint-space columns.
struct Setting {
  KtStatedSystem stated;
  KtEndEffectorSet set;
  KtControlContext context;

  Setting() {
    EXPECT_TRUE(ktReadObjectFromFile(stated, std::string(KT_TEST_DATA_DIR) + "/craig_arm.xml"));
    KtPositionState position = stated.state().positionStates()[0];
    position.jointPositions()[2] = 0.75;
    stated.setIndividualState(0, position);
    for (double weight : {2.0, 3.0}) {
      KtPointEndEffector point;
      point.setErrorWeight(weight);
      set.addEndEffector(point);
    }
    context.stated = &stated;
    context.endEffectorSet = &set;
    context.columnCount = 3;
    context.rowCount = 6;
  }
};

// Every class, read from its element with its fields set, goes through a document and back
// byte for byte, and evaluates to the value worked out by hand; reading an expression moves the
// tree revision on, so that owners know to prepare again.
TEST(KtControlExpressionClassesTest, EveryClassReadsWritesAndEvaluates) {
  struct Case {
    std::string element;
    std::string body;
    const char* kind;
    std::size_t rows, columns;
    std::vector<double> expected;
  };
  const double l2 = std::log(2.0), l4 = std::log(4.0);
  const std::string entry12 =
      e("elementValue", "5") + e("rowSize", "2") + e("rowPosition", "1") + e("columnPosition", "2");
  const std::string entry3 = e("elementValue", "5") + e("size", "4") + e("position", "3");
  const char* ab = "pair (A, b)";
  const std::vector<Case> cases = {
      {"scalarConstant", e("value", "2"), "scalar", 1, 1, {2}},
      {"identityMatrix", e("size", "2"), "matrix", 2, 2, {1, 0, 0, 1}},
      {"identityMatrix", "", "matrix", 3, 3, {1, 0, 0, 0, 1, 0, 0, 0, 1}},
      {"diagonalMatrix", e("rowSize", "2") + list("diagonal", "1 2", 2), "matrix", 2, 3, {1, 0, 0, 0, 2, 0}},
      {"singleElementMatrix", entry12, "matrix", 2, 3, {0, 0, 0, 0, 0, 5}},
      {"singleElementColumn", entry3, "column", 4, 1, {0, 0, 0, 5}},
      {"generalColumn", list("column", "1 2 4", 3), "column", 3, 1, {1, 2, 4}},
      {"expressionContainer", e("expression", s), "scalar", 1, 1, {2}},
      {"plus", first(a) + second(s), "column", 3, 1, {3, 4, 6}},
      {"minus", first(s) + second(a), "column", 3, 1, {1, 0, -2}},
      {"times", first(m) + second(a), "column", 2, 1, {1, 4}},
      {"times", first(s) + second(pair), ab, 3, 3, {0, 0, 0, 0, 0, 0, 0, 0, 0, -2, -4, -8}},
      {"negative", operand(a), "column", 3, 1, {-1, -2, -4}},
      {"transpose", operand(a), "matrix", 1, 3, {1, 2, 4}},
      {"transpose", operand(m), "matrix", 3, 2, {1, 0, 0, 2, 0, 0}},
      {"elementInverse", operand(a), "column", 3, 1, {1, 0.5, 0.25}},
      {"elementPow", first(a) + second(s), "column", 3, 1, {1, 4, 16}},
      {"elementRoot", first(a) + second(s), "column", 3, 1, {1, std::sqrt(2.0), 2}},
      {"elementLog", operand(a), "column", 3, 1, {0, l2, l4}},
      {"elementLogN", first(a) + second(s), "column", 3, 1, {0, 1, 2}},
      {"sine", operand(s), "scalar", 1, 1, {std::sin(2.0)}},
      {"cosine", operand(s), "scalar", 1, 1, {std::cos(2.0)}},
      {"greaterThan", first(a) + second(s), "column", 3, 1, {0, 0, 1}},
      {"greaterThanOrEqualTo", first(a) + second(s), "column", 3, 1, {0, 1, 1}},
      {"lessThan", first(a) + second(s), "column", 3, 1, {1, 0, 0}},
      {"lessThanOrEqualTo", first(a) + second(s), "column", 3, 1, {1, 1, 0}},
      {"and", first(a) + second(single), "column", 3, 1, {0, 1, 0}},
      {"jointValue", e("jointIndex", "2"), "scalar", 1, 1, {0.75}},
      {"columnTableFunction", e("inputValues", a) + table("0 2 3 0 1 5", 3), "column", 3, 1, {0.5, 1, 5}},
      {"controlExpressionMatrixToAb", operand(identity2), ab, 2, 2, {1, 0, 0, 1, 0, 0}},
      {"controlExpressionVectorToAb", operand(a), ab, 3, 3, {0, 0, 0, 0, 0, 0, 0, 0, 0, -1, -2, -4}},
      {"endEffectorErrorWeights", "", "column", 6, 1, {2, 2, 2, 3, 3, 3}},
  };
  Setting setting;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.element + ": " + c.body);
    auto original = made(c.element);
    auto copy = made(c.element);
    ASSERT_TRUE(original && copy);
    const auto revision = KtControlExpression::treeRevision();
    ASSERT_TRUE(ktTestRead(*original, document(c.element, c.body)));
    EXPECT_GT(KtControlExpression::treeRevision(), revision);
    ktTestWrittenTwice(*original, *copy);
    ASSERT_TRUE(copy->prepare(setting.context));
    ASSERT_TRUE(copy->evaluate(setting.context));
    const KtExpressionValue& value = copy->value();
    EXPECT_STREQ(value.kindName(), c.kind);
    EXPECT_EQ(value.rows(), c.rows);
    EXPECT_EQ(value.columns(), c.columns);
    const std::vector<double> actual = entries(value);
    ASSERT_EQ(actual.size(), c.expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) EXPECT_NEAR(actual[i], c.expected[i], 1e-15) << i;
  }
}

// Every refusal of prepare() in one table: the tree as a document, the context, the exact text.
// Both operands of a binary node are prepared, so that one pass reports every problem.
TEST(KtControlExpressionClassesTest, PrepareReportsWhatDoesNotFit) {
  Setting setting;
  KtControlContext bare;
  KtControlContext wrongRows = setting.context;
  wrongRows.rowCount = 5;
  const std::string square = e("identityMatrix", "");
  const struct {
    std::string element, body;
    const KtControlContext& context;
    std::string message;
  } cases[] = {
      {"plus", first(a) + second(m), setting.context,
       "KtControlExpressionPlus::prepare(): the operands do not fit: column 3 x 1 and matrix 2 x 3.\n"},
      {"minus", first(pair) + second(s), setting.context,
       "KtControlExpressionMinus::prepare(): the operands do not fit: pair (A, b) 3 x 3 and scalar 1 x 1.\n"},
      {"times", first(a) + second(m), setting.context,
       "KtControlExpressionTimes::prepare(): the operands do not fit: column 3 x 1 and matrix 2 x 3.\n"},
      {"times", first(m) + second(m), setting.context,
       "KtControlExpressionTimes::prepare(): the operands do not fit: matrix 2 x 3 and matrix 2 x 3.\n"},
      {"times", first(pair) + second(pair), setting.context,
       "KtControlExpressionTimes::prepare(): the operands do not fit: pair (A, b) 3 x 3 and pair (A, b) 3 x "
       "3.\n"},
      {"elementPow", first(pair) + second(s), setting.context,
       "KtControlExpressionElementPow::prepare(): the operands do not fit: pair (A, b) 3 x 3 and scalar 1 x "
       "1.\n"},
      {"and", first(e("generalColumn", list("column", "1 2", 2))) + second(a), setting.context,
       "KtControlExpressionAnd::prepare(): the operands do not fit: column 2 x 1 and column 3 x 1.\n"},
      {"sine", operand(pair), setting.context,
       "KtControlExpressionSine::prepare(): the operand does not fit: pair (A, b) 3 x 3.\n"},
      {"transpose", operand(pair), setting.context,
       "KtControlExpressionTranspose::prepare(): the operand does not fit: pair (A, b) 3 x 3.\n"},
      {"controlExpressionMatrixToAb", operand(m), setting.context,
       "KtControlExpressionMatrixToAb::prepare(): the operand does not fit: matrix 2 x 3.\n"},
      {"controlExpressionVectorToAb", operand(s), setting.context,
       "KtControlExpressionVectorToAb::prepare(): the operand does not fit: scalar 1 x 1.\n"},
      {"diagonalMatrix", e("rowSize", "2") + list("diagonal", "1 2 3", 3), setting.context,
       "KtControlExpressionDiagonalMatrix::prepare(): a diagonal of 3 entries does not fit a 2 x 3 "
       "matrix.\n"},
      {"singleElementMatrix", e("rowPosition", "3"), setting.context,
       "KtControlExpressionSingleElementMatrix::prepare(): the position (3, 0) is outside the 3 x 3 "
       "matrix.\n"},
      {"singleElementColumn", e("size", "2") + e("position", "2"), setting.context,
       "KtControlExpressionSingleElementColumn::prepare(): the position 2 is outside the column of 2.\n"},
      {"jointValue", "", bare, "KtControlExpressionJointValue::prepare(): no stated system.\n"},
      {"jointValue", e("manipulatorIndex", "1"), setting.context,
       "KtControlExpressionJointValue::prepare(): bad manipulator index (1).\n"},
      {"jointValue", e("jointIndex", "7"), setting.context,
       "KtControlExpressionJointValue::prepare(): bad joint index (7) of manipulator 0.\n"},
      {"endEffectorErrorWeights", "", bare,
       "KtControlExpressionEndEffectorErrorWeights::prepare(): no end-effector set.\n"},
      {"endEffectorErrorWeights", "", wrongRows,
       "KtControlExpressionEndEffectorErrorWeights::prepare(): the end-effector set has 6 rows, not 5.\n"},
      {"columnTableFunction", e("inputValues", a), setting.context,
       "KtControlExpressionColumnTableFunction::prepare(): the table is 0 x 0; it needs 2 rows and "
       "at least one column.\n"},
      {"columnTableFunction", e("inputValues", a) + table("0 2 2 0 1 5", 3), setting.context,
       "KtControlExpressionColumnTableFunction::prepare(): the breakpoints do not increase at column 2.\n"},
      {"columnTableFunction", e("inputValues", pair) + table("0 1", 1), setting.context,
       "KtControlExpressionColumnTableFunction::prepare(): the operand does not fit: pair (A, b) 3 x 3.\n"},
      {"minus", second(e("diagonalMatrix", list("diagonal", "1 2 3 4", 4))), setting.context,
       "KtControlExpressionContainer::prepare(): empty container.\n"
       "KtControlExpressionDiagonalMatrix::prepare(): a diagonal of 4 entries does not fit a 3 x 3 "
       "matrix.\n"},
      {"expressionContainer", e("expression", square), bare, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.element + ": " + c.body);
    auto expression = made(c.element);
    ASSERT_TRUE(expression && ktTestRead(*expression, document(c.element, c.body)));
    PrintCapture capture;
    EXPECT_EQ(expression->prepare(c.context), c.message.empty());
    EXPECT_EQ(capture.text(), c.message);
  }
}

// A second expression in a container's document is skipped with its line.
TEST(KtControlExpressionClassesTest, AContainerKeepsItsFirstExpression) {
  auto container = made("expressionContainer");
  PrintCapture capture;
  EXPECT_TRUE(ktTestRead(*container,
                         document("expressionContainer", "\n" + e("expression", s + "\n" + single + "\n")),
                         "two.xml"));
  EXPECT_EQ(capture.text(),
            "KtControlExpressionContainer Warning: a container holds one expression; the 1 after the first "
            "are skipped.\n\tFile: two.xml\n\tLine: 4\n");
  ASSERT_TRUE(container->prepare(KtControlContext{}) && container->evaluate(KtControlContext{}));
  EXPECT_EQ(container->value().scalar(), 2.0);
}

// Once prepared, a tree of many kinds of node evaluates without allocating, again and again.
TEST(KtControlExpressionClassesTest, EvaluationDoesNotAllocate) {
  Setting setting;
  const std::string weights = e("endEffectorErrorWeights");
  const std::string mTm = e("times", first(e("transpose", operand(m))) + second(m));
  const std::string gradient =
      e("plus", first(e("columnTableFunction", e("inputValues", a) + table("0 2 3 0 1 5", 3))) +
                    second(e("elementPow", first(e("jointValue", e("jointIndex", "2"))) + second(s))));
  const std::string body =
      first(e("controlExpressionMatrixToAb", operand(mTm))) +
      second(
          e("controlExpressionVectorToAb",
            operand(e("times", first(e("sine", operand(e("diagonalMatrix", list("diagonal", "1 2 3", 3))))) +
                                   second(gradient)))));
  auto tree = made("expressionContainer");
  ASSERT_TRUE(ktTestRead(*tree, document("expressionContainer", e("expression", e("plus", body)))));
  auto side = made("and");
  ASSERT_TRUE(ktTestRead(
      *side, document("and", first(e("greaterThan", first(weights) + second(s))) + second(weights))));
  ASSERT_TRUE(tree->prepare(setting.context));
  ASSERT_TRUE(side->prepare(setting.context));
  {
    NoAllocationGuard guard;
    for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(tree->evaluate(setting.context));
      EXPECT_TRUE(side->evaluate(setting.context));
    }
  }
  EXPECT_EQ(tree->value().rows(), 3u);
  EXPECT_EQ(entries(side->value()), (std::vector<double>{0, 0, 0, 1, 1, 1}));

  // A prepared joint value follows the state rather than keeping what it saw when prepared.
  auto joint = made("jointValue");
  ASSERT_TRUE(ktTestRead(*joint, document("jointValue", e("jointIndex", "2"))) &&
              joint->prepare(setting.context));
  for (double value : {-0.4, 1.25}) {
    KtPositionState position = setting.stated.state().positionStates()[0];
    position.jointPositions()[2] = value;
    setting.stated.setIndividualState(0, position);
    ASSERT_TRUE(joint->evaluate(setting.context));
    EXPECT_EQ(joint->value().scalar(), value);
  }
}

}  // namespace
