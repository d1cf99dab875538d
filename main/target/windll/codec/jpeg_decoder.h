#pragma once

#include "main/lib/base/pixel_format.h"
#include "main/target/windll/codec/jpeg_arena.h"
#include "main/target/windll/codec/jpeg_io.h"
#include "main/target/windll/codec/jpeg_limits.h"
#include "main/target/windll/codec/jpeg_planes.h"

#include <vector>

namespace ztlib {

struct JpegSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

// A picture to decode into: rows without padding, sizes in pixels. The format is GRAY, RGB, YUV,
// YUYV or UYVY; the width of the last two is even.
struct JpegTarget {
  PixelFormat format;
  std::uint8_t* pixels;
  std::uint32_t width;
  std::uint32_t height;
};

// Decodes JPEG streams from memory. Failures throw the plain `int` 1 and leave the object usable.
// One thread at a time. Tables of one stream serve later streams that bring none.
class CJPEGDecoder {
 public:
  CJPEGDecoder();
  virtual ~CJPEGDecoder() = default;
  CJPEGDecoder(const CJPEGDecoder&) = delete;
  CJPEGDecoder& operator=(const CJPEGDecoder&) = delete;

  [[nodiscard]] static bool IsTargetFormat(PixelFormat format);

  // The size at full scale; 0 by 0 for a stream that holds tables only.
  virtual JpegSize ReadHeader(std::span<const std::uint8_t> data);

  // Decodes at 1 / `scaleDenominator`. If the decoded picture has another size than the target, its
  // rows are packed one behind the other where all of them fit into the target; otherwise it is
  // cropped. The unused byte of RGB and YUV pixels is set to 255. Pictures in several scans are
  // failures beyond JpegLimits.
  virtual void Decode(std::span<const std::uint8_t> data, const JpegTarget& target,
                      std::uint32_t scaleDenominator);

  // Exchanges red and blue in RGB targets.
  virtual void SetSwapRGB(bool swap) { swapRGB = swap; }

 private:
  struct RowPlan;

  void Begin(std::span<const std::uint8_t> data);
  // Whether the picture is read as planes.
  bool ChooseOutput(PixelFormat format);
  void ReadScanline(std::uint8_t* target);
  void ReadScanlines(const RowPlan& plan);
  void ReadPlanes(const RowPlan& plan);

  jpeg_error_mgr errors{};
  JpegArena arena;
  JpegSource source;
  JpegLimits limits;
  JpegObject<jpeg_decompress_struct> object;
  JpegPlanes planes;
  std::vector<std::uint8_t> scratch;
  bool swapRGB = false;
};

}  // namespace ztlib
