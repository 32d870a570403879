#pragma once

#include <string>
#include <vector>

// Finds data files (arm descriptions, control descriptions, ...) by name: the name as
// given first, then the name below each configured data directory, in order. Only regular
// files count: directories, FIFOs and devices are passed over as if they were missing.
class KtFileUtil {
 public:
  // Returns the path of the first candidate that is a readable regular file and sets found;
  // returns an empty path and clears found when there is none.
  static std::string findFile(const std::string& name, bool& found);

  // Opens `path` for reading if it is a regular file and returns the descriptor (the caller
  // closes it), else -1. Never blocks: the open is non-blocking, so that a FIFO without a
  // writer cannot hang it, and the type is checked on the open descriptor, so that the file
  // cannot be swapped for another kind between the check and the open.
  static int openRegularFile(const std::string& path);

  static void setDataDirectories(std::vector<std::string> directories);
  static const std::vector<std::string>& dataDirectories();
};
