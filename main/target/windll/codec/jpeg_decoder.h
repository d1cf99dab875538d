#pragma once

#include "main/target/windll/codec/baseline_scan.h"
#include "main/target/windll/codec/jpeg_arena.h"
#include "main/target/windll/codec/jpeg_io.h"
#include "main/target/windll/codec/jpeg_limits.h"
#include "main/target/windll/codec/jpeg_planes.h"
#include "main/target/windll/codec/jpeg_road.h"
#include "main/target/windll/codec/jpeg_row_plan.h"

#include <vector>

namespace ztlib {

struct JpegSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

// Decodes JPEG streams from memory. Failures throw the plain `int` 1 and leave the object usable.
// One thread at a time. Tables of one stream serve later streams that bring none. libjpeg reads every
// header; which road a picture takes behind it is seen in nothing but time and, after a failure, in
// the rows.
class CJPEGDecoder {
 public:
  explicit CJPEGDecoder(JpegRoad road = DefaultJpegRoad());
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

 protected:
  [[nodiscard]] const jpeg_decompress_struct& Object() const { return object; }

 private:
  void Begin(std::span<const std::uint8_t> data);
  // False if the picture is libjpeg's, which then takes it from its header on.
  bool DecodeScan(const JpegTarget& target);
  void DecodeByLibjpeg(const JpegTarget& target);
  // Whether the picture is read as planes.
  bool ChooseOutput(PixelFormat format);
  void ReadScanline(std::uint8_t* target);
  void ReadScanlines(const JpegRowPlan& plan);
  void ReadPlanes(const JpegRowPlan& plan, JpegGroupSource& from);
  void ReadGrayPlane(const JpegRowPlan& plan, JpegGroupSource& from);

  const JpegRoad road;
  jpeg_error_mgr errors{};
  JpegArena arena;
  JpegSource source;
  JpegLimits limits;
  JpegObject<jpeg_decompress_struct> object;
  JpegPlanes planes;
  BaselineScan scan;
  std::vector<std::uint8_t> scratch;
  bool swapRGB = false;
};

}  // namespace ztlib
