#pragma once

#include "tests/kit/bytes.h"
#include "tests/kit/frames.h"

#include <type_traits>

namespace kit {

struct ImageDeleter {
  void operator()(void* image) const { ztlib_ztimage_destroy(image); }
};
// An image of the library. It belongs to one thread at a time.
using Image = std::unique_ptr<void, ImageDeleter>;

// Returns an empty image, which may get a picture later.
[[nodiscard]] inline Image NewImage() {
  return Image(ztlib_ztimage_create());
}

// Returns an image of a pool's frame without padding whose byte i is `byteAt(i)`. The size is in
// pixels.
template <class ByteAt>
requires std::is_invocable_v<ByteAt, std::size_t>
[[nodiscard]] Image NewImage(int format, int width, int height, ByteAt byteAt) {
  Frame* const frame = FramePool::Make(width, height, format);
  frame->lineSize = width;
  for (std::size_t i = 0; i < frame->size; ++i)
    frame->data[i] = static_cast<std::uint8_t>(byteAt(i));
  return Image(ztlib_ztimage_create_avframe(format, frame));
}
// The bytes of this image are those of `content`, repeated as often as needed, or zeros if that is
// empty.
[[nodiscard]] inline Image NewImage(int format, int width, int height, const Bytes& content) {
  return NewImage(format, width, height, [&content](std::size_t i) {
    return content.empty() ? 0 : content[i % content.size()];
  });
}

// The pool's frame behind an image, which still owns it; null for an empty image.
[[nodiscard]] inline const Frame* FrameOf(const Image& image) {
  return static_cast<const Frame*>(ztlib_ztimage_get_avframe(image.get()));
}
// The bytes of an image's picture; nothing for an empty image.
[[nodiscard]] inline Bytes BytesOf(const Image& image) {
  const Frame* const frame = FrameOf(image);
  if (!frame) return {};
  return {frame->Picture().begin(), frame->Picture().end()};
}

}  // namespace kit
