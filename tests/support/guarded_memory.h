#pragma once

#include <cstddef>
#include <cstdint>

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

// Memory with a page on either side that faults.
class GuardedMemory {
 public:
  explicit GuardedMemory(std::size_t capacity) {
    const std::size_t page = PageSize();
    size = (capacity + page - 1) / page * page;
    mapped = size + 2 * page;
    base = Reserve(mapped);
    begin = base + page;
    EXPECT_TRUE(Open(begin, size));
  }
  ~GuardedMemory() { Free(base, mapped); }
  GuardedMemory(const GuardedMemory&) = delete;
  GuardedMemory& operator=(const GuardedMemory&) = delete;

  // Room that starts `offset` behind the front guard, or ends as far before the rear one.
  [[nodiscard]] std::uint8_t* Room(std::size_t bytes, std::size_t offset, bool atEnd) const {
    return atEnd ? begin + size - bytes - offset : begin + offset;
  }

 private:
#if defined(_WIN32)
  static std::size_t PageSize() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
  }
  static std::uint8_t* Reserve(std::size_t bytes) {
    return static_cast<std::uint8_t*>(VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS));
  }
  static bool Open(void* start, std::size_t bytes) {
    return VirtualAlloc(start, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr;
  }
  static void Free(void* start, std::size_t) {
    VirtualFree(start, 0, MEM_RELEASE);
  }
#else
  static std::size_t PageSize() {
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  }
  static std::uint8_t* Reserve(std::size_t bytes) {
    return static_cast<std::uint8_t*>(
        mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  }
  static bool Open(void* start, std::size_t bytes) {
    return mprotect(start, bytes, PROT_READ | PROT_WRITE) == 0;
  }
  static void Free(void* start, std::size_t bytes) {
    munmap(start, bytes);
  }
#endif

  std::size_t size;
  std::size_t mapped;
  std::uint8_t* base;
  std::uint8_t* begin;
};
