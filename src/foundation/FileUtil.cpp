#include "foundation/FileUtil.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace {

std::vector<std::string>& directoryList() {
  static std::vector<std::string> directories;
  return directories;
}

bool isReadableFile(const std::string& path) {
  const int descriptor = KtFileUtil::openRegularFile(path);
  if (descriptor < 0) return false;
  ::close(descriptor);
  return true;
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

int KtFileUtil::openRegularFile(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return -1;
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(descriptor);
    return -1;
  }
  return descriptor;
}

void KtFileUtil::setDataDirectories(std::vector<std::string> directories) {
  directoryList() = std::move(directories);
}

const std::vector<std::string>& KtFileUtil::dataDirectories() { return directoryList(); }
