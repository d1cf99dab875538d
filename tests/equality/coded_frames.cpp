#include "tests/equality/steps.h"
#include "tests/kit/codec.h"
#include "tests/support/jpeg_reference.h"

#include <utility>

namespace {

using namespace kit;

// All samplings that decoders know or refuse: across in tens and down in units for Y, U and V.
constexpr int samplings[][3] = {
    {22, 11, 11}, {21, 11, 11}, {12, 11, 11}, {11, 11, 11}, {22, 22, 11}, {22, 11, 22},
    {22, 21, 21}, {22, 12, 12}, {22, 11, 21}, {11, 22, 22}, {21, 22, 22}, {12, 22, 22},
    {41, 11, 11}, {14, 11, 11}, {42, 11, 11}, {41, 21, 21}, {14, 12, 12}, {31, 11, 11}};

void DecodeAll(const jpeg_reference::Style& style) {
  for (const auto& [width, height] :
       {std::pair(101, 67), {48, 32}, {34, 17}, {10, 35}, {6, 9}, {4, 5}, {5, 1}, {1, 33}}) {
    const Bytes stream =
        jpeg_reference::Encode(jpeg_reference::Scene(width, height), width, height, style);
    Bytes frame;
    ztlib_copyAndAddHeader(&frame, Collect, stream.data(),
                           static_cast<std::uint32_t>(stream.size()));
    for (const int scale : {1, 2, 3, 4, 5, 8, 16})
      for (int format = ZTLIB_GRAY; format <= ZTLIB_UYVY; ++format) {
        const Image image = NewImage();
        Decoder(format, scale).Process(image.get(), frame);
        MixImage(image);
      }
  }
}

// A marker that decoders skip, whole, cut short and longer than the stream.
void DecodeWithComment() {
  const Bytes plain = jpeg_reference::Encode(jpeg_reference::Scene(48, 32), 48, 32);
  for (const std::uint8_t told : {2, 9, 30, 255}) {
    Bytes stream = plain;
    const Bytes comment{0xFF, 0xFE, told == 255, told, 'c', 'o', 'm', 'm', 'e', 'n', 't'};
    stream.insert(stream.begin() + 2, comment.begin(), comment.end());
    for (const std::size_t size : {std::size_t{6}, std::size_t{11}, stream.size()}) {
      Bytes frame;
      ztlib_copyAndAddHeader(&frame, Collect, stream.data(), static_cast<std::uint32_t>(size));
      Mix(std::span(frame));
      const Image image = NewImage();
      Decoder(ZTLIB_YUV).Process(image.get(), frame);
      MixImage(image);
    }
  }
}

// Headers of all ages: of any size that they may tell, in frames cut to any size.
void ReadHeaders(int format) {
  for (const int headerSize : {0, 63, 64, 76, 100, 112, 150, 151})
    for (const int differential : {-1, 0, 1, 2})
      for (const int type : {0, 3, 4, 5, 9})
        for (const int size : {25, 26, 63, 75, 76, 112, 150}) {
          Bytes frame = Noise(150, 4);
          const std::int32_t fields[] = {3, 150, headerSize};
          std::memcpy(frame.data(), fields, sizeof fields);
          const std::int16_t marks[] = {static_cast<std::int16_t>(format),
                                        static_cast<std::int16_t>(differential),
                                        static_cast<std::int16_t>(type - 4)};
          std::memcpy(&frame[24], marks, sizeof marks);
          std::memcpy(&frame[72], &type, sizeof type);
          frame.resize(static_cast<std::size_t>(size));
          FrameInformation(frame);
        }
}

}  // namespace

void CodedFrames() {
  for (const int format : {3, 7})
    Step("frame headers " + std::to_string(format), [format] { ReadHeaders(format); });
  using Style = jpeg_reference::Style;
  for (const auto& [y, u, v] : samplings)
    Step("jpeg sampling " + std::to_string(y) + std::to_string(u) + std::to_string(v),
         [y = y, u = u, v = v] {
           DecodeAll({.lumaAcross = y / 10,
                      .lumaDown = y % 10,
                      .chroma = {u / 10, u % 10, v / 10, v % 10}});
         });
  for (const Style& style : {Style{"gray", 1, 1, 1}, Style{"progressive", 2, 2, 3, true},
                             Style{"restarts", 2, 2, 3, false, 1}})
    Step(std::string("jpeg of all sizes, ") + style.name, [&style] { DecodeAll(style); });
  Step("jpeg with a comment", DecodeWithComment);
  Step("inverse transform off any alignment", [] {
    for (std::uint32_t seed = 0; seed < 50; ++seed) {
      Bytes memory = Noise(2 * 64 + 1, seed);
      idct8x8_mmx(reinterpret_cast<std::int16_t*>(&memory[1]));
      Mix(std::span(memory));
    }
  });
}
