#pragma once

#include <unistd.h>

// Ends the test program with SIGALRM unless the scope is left within `seconds`, so that a
// test of something that used to block for ever fails instead of hanging the suite.
class HangGuard {
 public:
  explicit HangGuard(unsigned seconds) { ::alarm(seconds); }
  ~HangGuard() { ::alarm(0); }
  HangGuard(const HangGuard&) = delete;
  HangGuard& operator=(const HangGuard&) = delete;
};
