#pragma once

#include "main/target/windll/codec/layered_code.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ztlib {

// The bytes behind one coded stream. They are decoded as far as somebody reads them, a piece at a
// time, so that neither time nor memory depends on how many the stream announces.
class LayeredStream {
 public:
  // No code of coefficients takes more bytes.
  static constexpr std::ptrdiff_t longestCode = 6;
  static constexpr std::uint8_t escape = 0x80;

  LayeredStream() = default;
  LayeredStream(const LayeredStream&) = delete;
  LayeredStream& operator=(const LayeredStream&) = delete;

  // `count` bytes behind `coded`. Code and coded bytes must stay as long as the stream is read.
  void Open(const LayeredCode& newCode, std::span<const std::uint8_t> coded, std::uint32_t count);
  void Close();

  // Whether a byte is left. Then a whole code lies at Next, unless the stream ends within it.
  [[nodiscard]] bool Ready() {
    if (end - next < longestCode) [[unlikely]]
      Refill();
    return next < end;
  }
  // As many bytes as the longest code has may be read, also behind the end of the stream.
  [[nodiscard]] const std::uint8_t* Next() const { return next; }
  // Moves on by a code, or to the end if it is cut short, which makes it as good as none.
  [[nodiscard]] bool Take(std::ptrdiff_t length) {
    const bool whole = end - next >= length;
    next = whole ? next + length : end;
    return whole;
  }

 private:
  static constexpr std::size_t pieceSize = 4096;

  void Refill();

  const LayeredCode* code = nullptr;
  LayeredCode::BitSource source;
  std::uint32_t left = 0;  // bytes that are not decoded yet
  std::array<std::uint8_t, longestCode + pieceSize + LayeredCode::slack> piece{};
  const std::uint8_t* next = piece.data();
  const std::uint8_t* end = piece.data();
};

}  // namespace ztlib
