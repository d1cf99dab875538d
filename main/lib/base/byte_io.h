#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <type_traits>

namespace ztlib {

// The one way in which wire and memory formats are read and written: little-endian, unaligned.

static_assert(std::endian::native == std::endian::little, "numbers are copied as they stand");

// Numbers of a format: integers of fixed width, enums and IEEE floats.
template <class T>
concept WireNumber = std::is_arithmetic_v<T> || std::is_enum_v<T>;

// These read and write at a place that is known to lie inside of the block, such as a field of a
// header whose size has been checked as a whole.
template <WireNumber T>
[[nodiscard]] T LoadLE(const std::uint8_t* from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}
template <WireNumber T>
void StoreLE(std::uint8_t* to, T value) {
  std::memcpy(to, &value, sizeof value);
}

// Copies names and the like. For some ten bytes a call, or the string instruction that compilers
// take for a known upper bound, costs more than this loop.
inline void CopyShort(std::uint8_t* to, const void* bytes, std::size_t count) {
  const auto* from = static_cast<const std::uint8_t*>(bytes);
  if (count >= 8) {
    for (std::size_t at = 0; at + 8 < count; at += 8)
      std::memcpy(to + at, from + at, 8);
    std::memcpy(to + count - 8, from + count - 8, 8);
  } else if (count >= 4) {
    std::memcpy(to, from, 4);
    std::memcpy(to + count - 4, from + count - 4, 4);
  } else {
    for (std::size_t at = 0; at < count; ++at)
      to[at] = from[at];
  }
}

// Reads from the front of a block. A read that does not fit is refused as a whole: it gives false
// and moves nothing.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::uint8_t> data) : data(data) {}
  ByteReader(const void* data, std::uint64_t size)
      : data(static_cast<const std::uint8_t*>(data), size) {}

  [[nodiscard]] std::uint64_t Remaining() const { return data.size(); }
  [[nodiscard]] std::span<const std::uint8_t> Rest() const { return data; }

  template <WireNumber T>
  [[nodiscard]] bool Read(T& value) {
    if (sizeof(T) > data.size()) return false;
    value = LoadLE<T>(data.data());
    data = data.subspan(sizeof(T));
    return true;
  }
  // The bytes stay where they are.
  [[nodiscard]] bool ReadSpan(std::uint64_t count, std::span<const std::uint8_t>& bytes) {
    if (count > data.size()) return false;
    bytes = data.first(count);
    data = data.subspan(count);
    return true;
  }
  [[nodiscard]] bool Skip(std::uint64_t count) {
    if (count > data.size()) return false;
    data = data.subspan(count);
    return true;
  }

 private:
  std::span<const std::uint8_t> data;
};

// Writes to the front of a block. Running over its end is a fault of the code that measured the
// block, and throws std::length_error before anything is written.
class ByteWriter {
 public:
  explicit ByteWriter(std::span<std::uint8_t> out) : next(out.data()), room(out.size()) {}
  // For interfaces that take a bare pointer and trust the caller to have measured.
  [[nodiscard]] static ByteWriter Unbounded(std::uint8_t* out) {
    ByteWriter writer({});
    writer.next = out;
    writer.room = UINT64_MAX;
    return writer;
  }

  [[nodiscard]] std::uint8_t* Next() const { return next; }
  [[nodiscard]] std::uint64_t Room() const { return room; }

  template <WireNumber T>
  void Write(T value) {
    StoreLE(Take(sizeof(T)), value);
  }
  void WriteBytes(const void* bytes, std::uint64_t count) {
    std::uint8_t* to = Take(count);
    if (count != 0) std::memcpy(to, bytes, count);
  }
  // Leaves a gap for a number that is known later (StoreLE), and gives its place.
  [[nodiscard]] std::uint8_t* Take(std::uint64_t count) {
    if (count > room) [[unlikely]]
      throw std::length_error("ByteWriter");
    std::uint8_t* taken = next;
    next += count;
    room -= count;
    return taken;
  }

 private:
  std::uint8_t* next;
  std::uint64_t room;
};

}  // namespace ztlib
