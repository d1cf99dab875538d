#pragma once

#include "tests/support/export_fixture.h"

// Makes bytes that clients pass to the exports, and reads those that they get.
namespace blobs {

inline Bytes First(const Bytes& bytes, std::size_t size) {
  return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)};
}
inline Bytes From(const Bytes& bytes, std::size_t at) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end()};
}
inline Bytes Joined(Bytes bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
  return bytes;
}

// The header in front of a frame.
struct FrameHeader {
  static constexpr std::uint32_t size = 112;
  std::uint32_t kind = 3, headerSize = size;
  int format = ZTLIB_VIDEO_MJPEG, differential = 0, refresh = 0, addedMark = 0;
  std::int32_t width = 0, height = 0, quality = 0, type = 0;

  [[nodiscard]] Bytes With(const Bytes& payload) const {
    Bytes bytes(size);
    Put(bytes, 0, kind);
    Put(bytes, 4, static_cast<std::uint32_t>(size + payload.size()));
    Put(bytes, 8, headerSize);
    Put(bytes, 24, static_cast<std::int16_t>(format));
    Put(bytes, 26, static_cast<std::int16_t>(differential));
    Put(bytes, 28, static_cast<std::int16_t>(refresh));
    Put(bytes, 30, static_cast<std::int16_t>(addedMark));
    Put(bytes, 32, width);
    Put(bytes, 36, height);
    Put(bytes, 64, quality);
    Put(bytes, 72, type);
    return Joined(bytes, payload);
  }
};

// Makes a frame of a JPEG stream; returns nothing after a failure.
inline Bytes WithHeader(const Bytes& stream) {
  Bytes frame;
  ztlib_copyAndAddHeader(&frame, kit::Collect, stream.data(),
                         static_cast<std::uint32_t>(stream.size()));
  return frame;
}

// Returns a saved picture: a header, and zeros behind it.
inline Bytes MemoryForm(int version, int format, int dx, int dy, int body) {
  Bytes bytes(static_cast<std::size_t>(32 + body));
  const int fields[] = {version, 32 + body, 32, 0, format, dx, dy};
  for (std::size_t i = 0; i < std::size(fields); ++i)
    Put(bytes, 4 * i, fields[i]);
  return bytes;
}
inline Bytes Saved(const Image& image) {
  Bytes block;
  ztlib_ztimage_saveToZTMem(image.get(), &block, kit::Collect);
  return block;
}
// Loads from memory of exactly that size, so that a sanitizer sees a read behind it.
inline bool Load(const Image& image, const Bytes& block) {
  const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[block.size()]);
  std::copy(block.begin(), block.end(), copy.get());
  const ztlib_blob memory{copy.get(), block.size()};
  return ztlib_ztimage_loadFromZTMem(image.get(), &memory);
}

}  // namespace blobs
