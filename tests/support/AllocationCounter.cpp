#include "support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t allocations = 0;

void* countedAllocate(std::size_t size) {
  ++allocations;
  if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}
}  // namespace

void* operator new(std::size_t size) { return countedAllocate(size); }
void* operator new[](std::size_t size) { return countedAllocate(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

NoAllocationGuard::NoAllocationGuard() : start_(allocations) {}

NoAllocationGuard::~NoAllocationGuard() {
  EXPECT_EQ(allocations - start_, 0u) << "the guarded block allocated on the heap";
}
