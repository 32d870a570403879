#include "foundation/FileUtil.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "support/HangGuard.h"
#include "support/TempFiles.h"

namespace fs = std::filesystem;

class FileUtilTest : public testing::Test {
 protected:
  void SetUp() override {
    saved_ = KtFileUtil::dataDirectories();
    fs::create_directories(root_ / "first");
    fs::create_directories(root_ / "second");
    std::ofstream(root_ / "second" / "arm.xml") << "<a/>";
    std::ofstream(root_ / "first" / "both.xml") << "<a/>";
    std::ofstream(root_ / "second" / "both.xml") << "<a/>";
    // Names that exist in the first directory as something other than a regular file.
    fs::create_directories(root_ / "first" / "shadowed.xml");
    std::ofstream(root_ / "second" / "shadowed.xml") << "<a/>";
    ::mkfifo((root_ / "first" / "fifo.xml").c_str(), 0600);
    KtFileUtil::setDataDirectories({(root_ / "first").string(), (root_ / "second").string() + "/"});
  }
  void TearDown() override { KtFileUtil::setDataDirectories(saved_); }
  std::vector<std::string> saved_;
  const TempDirectory directory_;
  const fs::path root_ = directory_.path();
};

// The name as given wins, then the data directories in order; an absolute name is not searched
// for, and a name found nowhere gives an empty path. Only regular files are found: directories,
// FIFOs (which must not block the search) and devices are passed over.
TEST_F(FileUtilTest, FindsTheNameAsGivenThenInEachDataDirectoryInOrder) {
  const HangGuard guard(30);
  const std::string arm = (root_ / "second" / "arm.xml").string();
  const std::pair<std::string, std::string> cases[] = {
      {arm, arm},
      {"arm.xml", arm},
      {"both.xml", (root_ / "first" / "both.xml").string()},
      {"absent.xml", ""},
      {"", ""},
      {"/arm.xml", ""},
      {"shadowed.xml", (root_ / "second" / "shadowed.xml").string()},
      {(root_ / "first").string(), ""},
      {"fifo.xml", ""},
      {(root_ / "first" / "fifo.xml").string(), ""},
      {"/dev/null", ""}};
  for (const auto& [name, path] : cases) {
    bool found = path.empty();
    EXPECT_EQ(KtFileUtil::findFile(name, found), path) << name;
    EXPECT_EQ(found, !path.empty()) << name;
  }
}
