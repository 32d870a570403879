#include "xml/KtReArray.h"

#include <gtest/gtest.h>

#include <string>

#include "KtXmlTestObjects.h"
#include "support/PrintCapture.h"
#include "support/Random.h"

namespace {

class KtMatrixHolder : public KtXmlCloneable<KtMatrixHolder, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceMn, "matrixHolder");
    return token;
  }
  KtReArray m_matrix;

 protected:
  void registerComponents() override {
    static const KtToken matrix(ktNamespaceMn, "matrix");
    registerComponent(matrix, m_matrix);
  }
};

TEST(KtReArray, roundTripsRandomShapes) {
  TestRandom rng(17);
  for (int i = 0; i < TestRandom::cases() / 4; ++i) {
    KtMatrixHolder holder;
    holder.m_matrix.resizeArray(static_cast<std::size_t>(rng.integer(0, 7)),
                                static_cast<std::size_t>(rng.integer(1, 7)));
    for (std::size_t r = 0; r < holder.m_matrix.rows(); ++r) {
      for (KtReal& entry : holder.m_matrix[r]) entry = rng.uniform(-1e3, 1e3);
    }
    KtMatrixHolder read;
    ASSERT_TRUE(ktTestRead(read, ktTestWrite(holder)));
    EXPECT_TRUE(read.m_matrix == holder.m_matrix);
    EXPECT_TRUE(read.isEqual(holder));
  }
}

TEST(KtReArray, refusesEntriesThatDoNotFitTheShape) {
  for (const char* matrix :
       {"<matrix rows=\"2\" columns=\"2\">1 2 3</matrix>",
        "<matrix rows=\"4611686018427387904\" columns=\"4\">1 2 3 4</matrix>",
        "<matrix rows=\"2\">1 2</matrix>", "<matrix rows=\"1\" columns=\"2\">1 x</matrix>"}) {
    KtMatrixHolder read;
    read.m_matrix.resizeArray(1, 1);
    ASSERT_TRUE(ktTestRead(read, std::string("<h>") + matrix + "</h>"));
    EXPECT_EQ(read.m_matrix.rows(), 1u) << matrix;
  }
}

TEST(KtReArray, messagesCarryItsOwnName) {
  PrintCapture capture;
  Kt::ReArray::Pivots pivots;
  KtReArray tall(3, 2);
  EXPECT_FALSE(tall.LUDecomposition(0, pivots));
  EXPECT_EQ(capture.text().rfind("KtReArray::", 0), 0u) << capture.text();
}

}  // namespace
