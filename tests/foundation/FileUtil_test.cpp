#include "foundation/FileUtil.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

class FileUtilTest : public testing::Test {
 protected:
  void SetUp() override {
    saved_ = KtFileUtil::dataDirectories();
    root_ = fs::temp_directory_path() / ("kt-fileutil-" + std::to_string(::getpid()));
    fs::create_directories(root_ / "first");
    fs::create_directories(root_ / "second");
    std::ofstream(root_ / "second" / "arm.xml") << "<a/>";
    std::ofstream(root_ / "first" / "both.xml") << "<a/>";
    std::ofstream(root_ / "second" / "both.xml") << "<a/>";
    KtFileUtil::setDataDirectories({(root_ / "first").string(), (root_ / "second").string() + "/"});
  }
  void TearDown() override {
    KtFileUtil::setDataDirectories(saved_);
    fs::remove_all(root_);
  }
  std::vector<std::string> saved_;
  fs::path root_;
};

TEST_F(FileUtilTest, NameAsGivenWinsOverTheDataDirectories) {
  const std::string direct = (root_ / "second" / "arm.xml").string();
  bool found = false;
  EXPECT_EQ(KtFileUtil::findFile(direct, found), direct);
  EXPECT_TRUE(found);
}

TEST_F(FileUtilTest, SearchesTheDataDirectoriesInOrder) {
  bool found = false;
  EXPECT_EQ(KtFileUtil::findFile("arm.xml", found), (root_ / "second" / "arm.xml").string());
  EXPECT_TRUE(found);
  EXPECT_EQ(KtFileUtil::findFile("both.xml", found), (root_ / "first" / "both.xml").string());
  EXPECT_TRUE(found);
}

TEST_F(FileUtilTest, MissingOrEmptyNamesGiveAnEmptyPath) {
  bool found = true;
  EXPECT_EQ(KtFileUtil::findFile("absent.xml", found), "");
  EXPECT_FALSE(found);
  found = true;
  EXPECT_EQ(KtFileUtil::findFile("", found), "");
  EXPECT_FALSE(found);
  found = true;
  EXPECT_EQ(KtFileUtil::findFile("/arm.xml", found), "") << "an absolute name is not searched for";
  EXPECT_FALSE(found);
}
