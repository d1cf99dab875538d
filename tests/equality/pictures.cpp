#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/codec/jpeg_decoder.h"
#include "main/target/windll/codec/utils/scale_down.h"
#include "tests/equality/steps.h"
#include "tests/support/jpeg_reference.h"

#include <utility>

using namespace ztlib;

namespace {

void ScaleDown(int factor) {
  constexpr int width = 1110, height = 133;
  Bytes pixels = Noise(std::size_t{width} * height * 2, 1);
  std::fill_n(pixels.begin(), width * 128, std::uint8_t{255});
  TCImageView<TTUYVY<unsigned char>> image;
  image.Create(width / 2, height);
  std::copy(pixels.begin(), pixels.end(), image.RowBytes(0));
  TCImageView<TTGray<unsigned char>> small;
  small.Create(width / factor, height / factor);
  try {
    ScaleDownUYVY_To_Gray(small, image, factor);
  } catch (const CException& error) {
    Mix(error.what());
  }
  Mix(std::span(small.RowBytes(0), static_cast<std::size_t>(small.dx * small.dy)));
}

// Rows are packed into larger targets and cropped by others.
void DecodeInto(CJPEGDecoder& decoder, const Bytes& stream, int format, int width, int height) {
  Bytes pixels(kit::PictureSize(width, height, format), 0xA5);
  try {
    decoder.Decode(stream,
                   {.format = static_cast<PixelFormat>(format),
                    .pixels = pixels.data(),
                    .width = static_cast<std::uint32_t>(width),
                    .height = static_cast<std::uint32_t>(height)},
                   1);
  } catch (int failure) {
    Mix(failure);
  }
  Mix(std::span(pixels));
}

}  // namespace

void Pictures() {
  for (const int factor : {1, 2, 4, 6, 8, 16, 32, 64, 128})
    Step("luma at 1/" + std::to_string(factor), [factor] { ScaleDown(factor); });
  for (int format = ZTLIB_GRAY; format <= ZTLIB_UYVY; ++format)
    Step(std::string("jpeg into other sizes of ") + formatNames[format], [format] {
      CJPEGDecoder decoder;
      constexpr int sizes[][2] = {{48, 32}, {64, 40}, {32, 48}, {24, 64}, {46, 31}, {46, 33},
                                  {48, 10}, {50, 20}, {2, 2},   {0, 0},   {0, 7},   {48, 0}};
      for (const int lumaAcross : {2, 4})
        for (const int coded : {48, 47})
          for (const auto& [width, height] : sizes)
            DecodeInto(decoder,
                       jpeg_reference::Encode(jpeg_reference::Scene(coded, 32), coded, 32,
                                              {.lumaAcross = lumaAcross}),
                       format, width, height);
    });
}
