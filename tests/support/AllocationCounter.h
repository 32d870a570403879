#pragma once

#include <cstddef>

// Fails the current test when the block it guards called the global operator new on this
// thread (the counting replacements live in AllocationCounter.cpp, linked into every test):
//   { NoAllocationGuard guard; hotPath(); }
class NoAllocationGuard {
 public:
  NoAllocationGuard();
  ~NoAllocationGuard();
  NoAllocationGuard(const NoAllocationGuard&) = delete;
  NoAllocationGuard& operator=(const NoAllocationGuard&) = delete;

 private:
  std::size_t start_;
};
