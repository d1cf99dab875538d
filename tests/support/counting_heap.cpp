#include "tests/support/counting_heap.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
}

namespace {

using namespace counting_heap;

// Counts a call for a new block of memory; returns false for the one that fails.
bool CountBlock(std::size_t size) {
  if (Pause::depth == 0) {
    ++heapCalls;
    if (size > largestBlock) largestBlock = size;
    if (!CountPoint()) return false;
  }
  ++liveBlocks;
  return true;
}

}  // namespace

extern "C" {
void* malloc(std::size_t size) {
  return CountBlock(size) ? __libc_malloc(size) : nullptr;
}
void* calloc(std::size_t count, std::size_t size) {
  return CountBlock(count * size) ? __libc_calloc(count, size) : nullptr;
}
void* realloc(void* memory, std::size_t size) {
  if (!memory) return malloc(size);
  if (Pause::depth == 0) {
    ++heapCalls;
    if (!CountPoint()) return nullptr;
  }
  return __libc_realloc(memory, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return CountBlock(size) ? __libc_memalign(alignment, size) : nullptr;
}
void free(void* memory) {
  if (memory) --liveBlocks;
  __libc_free(memory);
}
}
