#pragma once

#include <cstdint>

namespace ztlib {

class CData;

// The counted form, for files of bool, int, double, string, byte array and node. Elements of other
// kinds are counted but not written, so what follows them is lost to a reader. Sizes and writing
// are those of a node: the element count, then the elements.
[[nodiscard]] std::uint32_t CountedSize(const CData& data);
std::uint8_t* WriteCounted(const CData& data, std::uint8_t* out);
// Reads `count` elements from `cursor`, which has `size` bytes, and moves it behind what was read.
// Clears the target, keeps what was good, and is always true.
bool ParseCounted(CData& data, std::uint32_t count, const std::uint8_t*& cursor,
                  std::uint64_t size);
// False when the file cannot be written or read, or is no counted form; the target then stays.
[[nodiscard]] bool SaveCountedFile(const CData& data, const char* path);
[[nodiscard]] bool LoadCountedFile(CData& data, const char* path);

}  // namespace ztlib
