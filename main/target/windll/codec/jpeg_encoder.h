#pragma once

#include "main/lib/base/pixel_format.h"
#include "main/target/windll/codec/jpeg_arena.h"
#include "main/target/windll/codec/jpeg_io.h"
#include "main/target/windll/codec/jpeg_road.h"
#include "main/target/windll/codec/unit_coder.h"

#include <array>
#include <vector>

#include <jerror.h>

namespace ztlib {

// The pixels to encode, in a format whose rows convert to YUV one by one. The width of YUYV and UYVY
// is even.
struct JpegPicture {
  [[nodiscard]] const std::uint8_t* Row(std::uint32_t y) const { return pixels + y * distance; }

  PixelFormat format = PixelFormat::YUV;
  const std::uint8_t* pixels = nullptr;
  std::size_t distance = 0;  // of two rows, in bytes
};

// Encodes pictures of one size as baseline JPEG streams, chroma halved both ways; each stream holds
// all its tables. Failures throw the plain `int` 1 and leave the object usable. libjpeg sets the
// tables and writes the header; who codes the scan is seen in nothing but time. One thread at a time.
class CJPEGEncoder {
 public:
  explicit CJPEGEncoder(JpegRoad road = DefaultJpegRoad());
  virtual ~CJPEGEncoder() = default;
  CJPEGEncoder(const CJPEGEncoder&) = delete;
  CJPEGEncoder& operator=(const CJPEGEncoder&) = delete;

  [[nodiscard]] static bool IsSourceFormat(PixelFormat format);

  // libjpeg cuts the quality to 1 to 100.
  virtual void Init(std::uint32_t newWidth, std::uint32_t newHeight, std::uint32_t newQuality);

  // Encodes a picture of at least the size of Init. Gives the number of bytes written; a stream
  // that does not fit into `out` is a failure.
  virtual std::size_t Encode(const JpegPicture& picture, std::span<std::uint8_t> out);

  virtual void SetQuality(std::uint32_t newQuality);

 private:
  // Luma rows and chroma rows of a row of units.
  static constexpr std::uint32_t lumaRows = 2 * DCTSIZE;
  static constexpr std::uint32_t chromaRows = DCTSIZE;

  std::size_t EncodeByLibjpeg(const JpegPicture& picture, std::span<std::uint8_t> out);
  // Makes the header for the present quality, with another size, and the coder's tables.
  void MakeHeader();
  [[noreturn]] void RaiseNoRoom() { RaiseJpegError(object, JERR_BUFFER_SIZE); }
  void AllocatePlanes(PixelFormat format);
  void FillPlanes(const JpegPicture& picture, std::uint32_t top);
  // Makes rows `y` and `y` + 1 of the planes from two rows of the picture.
  void SplitOverYuv(PixelFormat format, const std::uint8_t* const (&rows)[2], std::uint32_t y);

  const JpegRoad road;
  jpeg_error_mgr errors{};
  JpegArena arena;
  JpegDestination destination;
  JpegObject<jpeg_compress_struct> object;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t quality = 0;

  UnitCoder coder;
  std::vector<std::uint8_t> header;  // empty after a change of quality
  std::size_t sizePlace = 0;         // of height and width

  // Width of the planes: whole units of two blocks, filled up with a row's last pixel.
  std::size_t paddedWidth = 0;
  std::vector<std::uint8_t> memory;
  std::array<std::uint8_t*, lumaRows> yRows{};
  std::array<std::uint8_t*, chromaRows> uRows{};
  std::array<std::uint8_t*, chromaRows> vRows{};
  // For formats that go over YUV: chroma of two rows before it is halved, and a row of pixels.
  static constexpr std::size_t wideBytesPerPixel = 2 + 2 + 4;
  std::vector<std::uint8_t> wide;
};

}  // namespace ztlib
