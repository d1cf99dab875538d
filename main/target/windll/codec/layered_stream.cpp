#include "main/target/windll/codec/layered_stream.h"

#include <algorithm>
#include <cstring>

namespace ztlib {

void LayeredStream::Open(const LayeredCode& newCode, std::span<const std::uint8_t> coded,
                         std::uint32_t count) {
  Close();
  code = &newCode;
  source = {.rest = coded};
  left = count;
}

void LayeredStream::Close() {
  left = 0;
  next = end = piece.data();
}

void LayeredStream::Refill() {
  if (left == 0) return;
  const auto kept = static_cast<std::size_t>(end - next);
  std::memmove(piece.data(), next, kept);
  std::uint8_t* const out = piece.data() + kept;
  const std::size_t made = code->Decode(out, std::min<std::size_t>(left, pieceSize), source);
  // The last step may have decoded what lies behind the stream.
  const std::size_t valid = std::min<std::size_t>(made, left);
  left -= static_cast<std::uint32_t>(valid);
  next = piece.data();
  end = out + valid;
}

}  // namespace ztlib
