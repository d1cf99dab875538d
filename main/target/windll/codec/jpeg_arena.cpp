#include "main/target/windll/codec/jpeg_arena.h"

#include <algorithm>
#include <new>

#include <jerror.h>

namespace ztlib {

namespace {

constexpr std::size_t minBlockSize = 64 * 1024;
// Enough for pictures of any common width. What a giant needed is given back.
constexpr std::size_t maxKeptSize = 4 * 1024 * 1024;
// libjpeg's own limit for one request.
constexpr std::uint64_t maxRequest = 1000000000;
// Vector code runs over the ends of rows, by less than this.
constexpr std::uint64_t rowUnit = 128;

constexpr std::uint64_t RoundUp(std::uint64_t size, std::uint64_t unit) {
  return (size + unit - 1) / unit * unit;
}

JpegArena& ArenaOf(j_common_ptr object) {
  return *static_cast<JpegArena*>(object->client_data);
}

void* AllocateOrFail(j_common_ptr object, std::uint64_t size) {
  void* const memory =
      size <= maxRequest ? ArenaOf(object).Allocate(static_cast<std::size_t>(size)) : nullptr;
  if (!memory) RaiseJpegError(*object, JERR_OUT_OF_MEMORY);
  return memory;
}

// Pointers to rows, and the rows one behind the other.
template <class Element>
Element** AllocateRows(j_common_ptr object, std::uint64_t rowBytes, std::uint64_t count) {
  const std::uint64_t distance = RoundUp(rowBytes, rowUnit);
  const std::uint64_t head = RoundUp(count * sizeof(Element*), rowUnit);
  auto* const memory =
      static_cast<std::uint8_t*>(AllocateOrFail(object, head + distance * count + rowUnit));
  auto** const rows = reinterpret_cast<Element**>(memory);
  for (std::uint64_t i = 0; i < count; ++i)
    rows[i] = reinterpret_cast<Element*>(memory + head + distance * i);
  return rows;
}

}  // namespace

void JpegArena::Attach(j_common_ptr object) {
  object->client_data = this;
  jpeg_memory_mgr& manager = *object->mem;
  original = manager;
  manager.alloc_small = [](j_common_ptr object, int pool, std::size_t size) {
    if (pool != JPOOL_IMAGE) return ArenaOf(object).Original().alloc_small(object, pool, size);
    return AllocateOrFail(object, size);
  };
  manager.alloc_large = [](j_common_ptr object, int pool, std::size_t size) {
    if (pool != JPOOL_IMAGE) return ArenaOf(object).Original().alloc_large(object, pool, size);
    return AllocateOrFail(object, size);
  };
  manager.alloc_sarray = [](j_common_ptr object, int pool, JDIMENSION samples, JDIMENSION rows) {
    if (pool != JPOOL_IMAGE)
      return ArenaOf(object).Original().alloc_sarray(object, pool, samples, rows);
    return AllocateRows<JSAMPLE>(object, samples * sizeof(JSAMPLE), rows);
  };
  manager.alloc_barray = [](j_common_ptr object, int pool, JDIMENSION count, JDIMENSION rows) {
    if (pool != JPOOL_IMAGE)
      return ArenaOf(object).Original().alloc_barray(object, pool, count, rows);
    return AllocateRows<JBLOCK>(object, std::uint64_t{count} * sizeof(JBLOCK), rows);
  };
  manager.free_pool = [](j_common_ptr object, int pool) {
    JpegArena& arena = ArenaOf(object);
    if (pool == JPOOL_IMAGE) arena.Reset();
    arena.Original().free_pool(object, pool);
  };
}

bool JpegArena::AddBlock(std::size_t size) noexcept {
  try {
    blocks.push_back({{static_cast<std::uint8_t*>(::operator new(size, alignment)), {}}, size});
  } catch (const std::bad_alloc&) {
    return false;
  }
  used = 0;
  return true;
}

void* JpegArena::Allocate(std::size_t size) noexcept {
  size = RoundUp(std::max<std::size_t>(size, 1), static_cast<std::size_t>(alignment));
  const bool fits = !blocks.empty() && size <= blocks.back().size - used;
  if (!fits && !AddBlock(std::max(size, minBlockSize))) return nullptr;
  void* const memory = blocks.back().bytes.get() + used;
  used += size;
  return memory;
}

void JpegArena::Reset() noexcept {
  used = 0;
  if (blocks.size() == 1 && blocks[0].size <= maxKeptSize) return;
  // One block for the next picture instead of many.
  std::size_t total = 0;
  for (const Block& block : blocks)
    total += block.size;
  blocks.clear();
  if (total > 0 && total <= maxKeptSize) (void)AddBlock(total);
}

}  // namespace ztlib
