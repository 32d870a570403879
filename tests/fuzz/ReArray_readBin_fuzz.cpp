// libFuzzer entry point for the binary matrix reader: every input is written to a scratch
// file and read as a matrix. A file that is accepted must hold exactly the entries its
// header announces, and writing the matrix out again must give back the same bytes.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "foundation/Print.h"
#include "math/ReArray.h"

namespace {

// The scratch files live in memory when the system offers a memory file system: on a disk,
// rewriting a truncated file makes some file systems wait for the data to be written.
std::string scratchPath(const char* name) {
  std::error_code error;
  const std::filesystem::path directory =
      std::filesystem::is_directory("/dev/shm", error) ? "/dev/shm" : std::filesystem::temp_directory_path();
  return (directory / ("kt_matrix_fuzz_" + std::to_string(::getpid()) + "_" + name)).string();
}

std::string contents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void check(bool condition) {
  if (!condition) std::abort();
}

const std::string inputPath = scratchPath("input.bin"), outputPath = scratchPath("output.bin");

int initialise() {
  ktSetPrintSink([](KtSeverity, std::string_view) {});  // the messages are not under test here
  std::atexit([] {
    std::filesystem::remove(inputPath);
    std::filesystem::remove(outputPath);
  });
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int initialised = initialise();
  (void)initialised;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  std::ofstream(inputPath, std::ios::binary | std::ios::trunc) << bytes;
  Kt::ReArray matrix;
  if (!matrix.readBin(inputPath)) return 0;
  if (matrix.rows() == 0) {  // a zero row count leaves the (empty) matrix alone
    check(bytes.size() >= 4 && bytes.compare(0, 4, std::string(4, '\0')) == 0);
    return 0;
  }
  check(bytes.size() == 8 + 8 * matrix.rows() * matrix.columns());
  check(matrix.writeBin(outputPath) && contents(outputPath) == bytes);
  Kt::ReArray again;
  check(again.readBin(outputPath) && again.rows() == matrix.rows() && again.columns() == matrix.columns());
  return 0;
}
