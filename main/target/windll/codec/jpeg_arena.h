#pragma once

#include "main/target/windll/codec/jpeg_io.h"

#include <memory>
#include <vector>

namespace ztlib {

// Gives an object of libjpeg the memory of one picture from blocks that stay for the next one, in
// place of dozens of heap calls a picture. Only what libjpeg asks for through its own interface:
// the coefficient arrays of progressive pictures stay on the heap.
class JpegArena {
 public:
  JpegArena() = default;
  JpegArena(const JpegArena&) = delete;
  JpegArena& operator=(const JpegArena&) = delete;

  // Right after the object's creation. The arena outlives the object.
  void Attach(j_common_ptr object);

  // Null if there is no memory.
  [[nodiscard]] void* Allocate(std::size_t size) noexcept;
  // All memory given out is free again.
  void Reset() noexcept;

  [[nodiscard]] const jpeg_memory_mgr& Original() const { return original; }

 private:
  struct Deleter {
    void operator()(std::uint8_t* block) const { ::operator delete(block, alignment); }
  };
  struct Block {
    std::unique_ptr<std::uint8_t, Deleter> bytes;
    std::size_t size = 0;
  };
  // Twice what any of libjpeg's vector code asks for.
  static constexpr std::align_val_t alignment{64};

  [[nodiscard]] bool AddBlock(std::size_t size) noexcept;

  jpeg_memory_mgr original{};
  std::vector<Block> blocks;
  std::size_t used = 0;  // of the last block
};

}  // namespace ztlib
