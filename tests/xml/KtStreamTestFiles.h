#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/Random.h"
#include "support/TempFiles.h"

// Runs gzip or gunzip on the file `in`, writing `out`.
inline bool runTool(const std::string& tool, const std::string& in, const std::string& out) {
  return std::system((tool + " -c '" + in + "' > '" + out + "'").c_str()) == 0;
}
inline std::string gzipWithTool(const TempDirectory& directory, const std::string& bytes) {
  writeBytes(directory.file("tool-in"), bytes);
  EXPECT_TRUE(runTool("gzip", directory.file("tool-in"), directory.file("tool-out")));
  return readBytes(directory.file("tool-out"));
}

// Random bytes, each below `end` (255 leaves out the byte that ends compressed input).
inline std::string randomBytes(TestRandom& rng, std::size_t length, int end = 256) {
  std::string bytes(length, '\0');
  for (char& byte : bytes) byte = static_cast<char>(rng.integer(0, end - 1));
  return bytes;
}

// Reads `stream` in random steps, stepping back up to five characters now and then (also right
// after a refill), and checks every character against `expected`.
inline void expectPutBackAnywhere(std::istream& stream, const std::string& expected, TestRandom& rng) {
  for (std::size_t position = 0; position < expected.size();) {
    for (int i = rng.integer(1, 120); i > 0 && position < expected.size(); --i, ++position) {
      ASSERT_EQ(stream.get(), static_cast<unsigned char>(expected[position])) << "at " << position;
    }
    for (int back = rng.integer(0, static_cast<int>(std::min<std::size_t>(5, position))); back > 0; --back) {
      ASSERT_TRUE(stream.unget()) << "stepping back at " << position;
      --position;
    }
  }
  EXPECT_EQ(stream.get(), EOF);
}

// Each refill of a long document brings `block` characters and keeps five for stepping back.
inline void expectRefillBlocks(std::istream& stream, std::size_t block) {
  stream.get();
  EXPECT_EQ(stream.rdbuf()->in_avail(), static_cast<std::streamsize>(block - 1));
  stream.ignore(static_cast<std::streamsize>(block));
  for (int i = 0; i < 6; ++i) ASSERT_TRUE(stream.unget()) << i;
  EXPECT_FALSE(stream.unget());
}
