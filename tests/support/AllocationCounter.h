#pragma once

#include <cstddef>

// Counts calls of the global operator new made by the current thread. The replacement
// operators live in AllocationCounter.cpp, linked into every test binary.
std::size_t allocationCount();

// Fails the current test when the block it guards allocated:
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
