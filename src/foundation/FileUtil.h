#pragma once

#include <string>
#include <vector>

// Finds data files (arm descriptions, control descriptions, ...) by name: the name as
// given first, then the name below each configured data directory, in order.
class KtFileUtil {
 public:
  // Returns the path of the first readable candidate and sets found; returns an empty
  // path and clears found when no candidate can be opened.
  static std::string findFile(const std::string& name, bool& found);

  static void setDataDirectories(std::vector<std::string> directories);
  static const std::vector<std::string>& dataDirectories();
};
