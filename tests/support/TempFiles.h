#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// A fresh temporary directory, removed with its content.
class TempDirectory {
 public:
  TempDirectory() : path_((std::filesystem::temp_directory_path() / "kt-test-XXXXXX").string()) {
    if (!::mkdtemp(path_.data())) path_ = "/nonexistent";
  }
  ~TempDirectory() { std::filesystem::remove_all(path_); }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

inline void writeBytes(const std::string& path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}
inline std::string readAll(std::istream&& stream) { return {std::istreambuf_iterator<char>(stream), {}}; }
inline std::string readAll(std::istream& stream) { return {std::istreambuf_iterator<char>(stream), {}}; }
inline std::string readBytes(const std::string& path) {
  return readAll(std::ifstream(path, std::ios::binary));
}
