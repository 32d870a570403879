#include "xml/KtReArray.h"

#include <gtest/gtest.h>

#include <string>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

namespace {

// Random shapes round-trip with the other members of KtTestEverything; here the shapes that
// the entries do not fit leave the matrix as it was. Messages carry the persistent class's name.
TEST(KtReArray, refusesEntriesThatDoNotFitTheShapeAndReportsUnderItsOwnName) {
  for (const char* matrix :
       {"<matrix rows=\"2\" columns=\"2\">1 2 3</matrix>",
        "<matrix rows=\"4611686018427387904\" columns=\"4\">1 2 3 4</matrix>",
        "<matrix rows=\"2\">1 2</matrix>", "<matrix rows=\"1\" columns=\"2\">1 x</matrix>"}) {
    KtTestEverything read;
    read.m_matrix.resizeArray(1, 1);
    ASSERT_TRUE(ktTestRead(read, std::string("<e>") + matrix + "</e>"));
    EXPECT_EQ(read.m_matrix.rows(), 1u) << matrix;
  }
  PrintCapture capture;
  Kt::ReArray::Pivots pivots;
  KtReArray tall(3, 2);
  EXPECT_FALSE(tall.LUDecomposition(0, pivots));
  EXPECT_EQ(capture.text().rfind("KtReArray::", 0), 0u) << capture.text();
}

}  // namespace
