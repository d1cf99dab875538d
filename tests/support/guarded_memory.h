#pragma once

#include <cstddef>
#include <cstdint>

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

// Memory with a page on either side that faults when it is touched.
class GuardedMemory {
 public:
  explicit GuardedMemory(std::size_t capacity) : size((capacity + page - 1) / page * page) {
#if defined(_WIN32)
    base = VirtualAlloc(nullptr, size + 2 * page, MEM_RESERVE, PAGE_NOACCESS);
    EXPECT_NE(VirtualAlloc(Begin(), size, MEM_COMMIT, PAGE_READWRITE), nullptr);
#else
    base = mmap(nullptr, size + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_EQ(mprotect(Begin(), size, PROT_READ | PROT_WRITE), 0);
#endif
  }
  ~GuardedMemory() {
#if defined(_WIN32)
    VirtualFree(base, 0, MEM_RELEASE);
#else
    munmap(base, size + 2 * page);
#endif
  }
  GuardedMemory(const GuardedMemory&) = delete;
  GuardedMemory& operator=(const GuardedMemory&) = delete;

  // Returns room that starts `offset` behind the front guard, or ends as far before the rear one.
  [[nodiscard]] std::uint8_t* Room(std::size_t bytes, std::size_t offset, bool atEnd) const {
    return Begin() + (atEnd ? size - bytes - offset : offset);
  }

 private:
  [[nodiscard]] std::uint8_t* Begin() const {
    return static_cast<std::uint8_t*>(base) + page;
  }

  static constexpr std::size_t page = 4096;  // of every x86-64 system
  std::size_t size;
  void* base;
};
