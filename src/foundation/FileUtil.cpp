#include "foundation/FileUtil.h"

#include <fstream>
#include <utility>

namespace {

std::vector<std::string>& directoryList() {
  static std::vector<std::string> directories;
  return directories;
}

bool isReadableFile(const std::string& path) {
  std::ifstream probe(path, std::ios::binary);
  return probe.is_open();
}

std::string joinPath(const std::string& directory, const std::string& name) {
  if (directory.empty() || directory.back() == '/') return directory + name;
  return directory + '/' + name;
}

}  // namespace

std::string KtFileUtil::findFile(const std::string& name, bool& found) {
  found = false;
  if (name.empty()) return {};
  if (isReadableFile(name)) {
    found = true;
    return name;
  }
  // An absolute name is not searched for elsewhere.
  if (name.front() != '/') {
    for (const std::string& directory : directoryList()) {
      std::string candidate = joinPath(directory, name);
      if (isReadableFile(candidate)) {
        found = true;
        return candidate;
      }
    }
  }
  return {};
}

void KtFileUtil::setDataDirectories(std::vector<std::string> directories) {
  directoryList() = std::move(directories);
}

const std::vector<std::string>& KtFileUtil::dataDirectories() { return directoryList(); }
