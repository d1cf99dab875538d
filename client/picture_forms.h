#pragma once

#include "client/picture_file.h"
#include "client/scaler.h"
#include "client/yuv_packing.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// The forms in which decoded pictures are written.

// Makes PNG files.
class CPngCoder {
 public:
  // The file image, valid until the next call.
  [[nodiscard]] std::span<const std::uint8_t> Code(const AVFrame& picture) {
    return coder.Code(unpacker.Unpack(picture));
  }

 private:
  CUnpacker unpacker;
  CPictureCoder coder{CPictureCoder::EKind::png};
};

struct CPlane {
  const std::uint8_t* data = nullptr;
  std::ptrdiff_t stride = 0;
  int columns = 0, rows = 0;
};

// Makes the planes of a YUV4MPEG2 stream, whose size and layout are those of the first picture.
class CPlaneMaker {
 public:
  explicit CPlaneMaker(const AVFrame& first);

  // The layout's name in YUV4MPEG2.
  [[nodiscard]] const char* Layout() const { return layout; }
  // Valid until the next call.
  [[nodiscard]] std::span<const CPlane> Make(const AVFrame& picture);

 private:
  int width, height;
  AVPixelFormat format = AV_PIX_FMT_YUV420P;
  const char* layout = "420jpeg";
  CUnpacker unpacker;
  CScaler scaler;
  std::array<CPlane, 3> planes;
};
