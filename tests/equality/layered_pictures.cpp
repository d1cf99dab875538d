#include "tests/equality/steps.h"
#include "tests/kit/codec.h"

#include <deque>

namespace {

using namespace kit;

void Put(Bytes& bytes, std::size_t at, std::uint32_t value, int size = 4) {
  for (int i = 0; i < size; ++i)
    bytes[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value >> (8 * i));
}
void Append(Bytes& bytes, std::uint32_t value, int size) {
  bytes.resize(bytes.size() + static_cast<std::size_t>(size));
  Put(bytes, bytes.size() - static_cast<std::size_t>(size), value, size);
}

// The model of a layer's code: no symbol, one, all alike, powers of two, or any weights.
void AppendModel(Bytes& coded, Draw& draw) {
  const std::uint32_t kind = draw.Below(8);
  for (std::uint32_t i = 0; i < 16; ++i) {
    const bool isSmall = draw.Below(16) < 9;
    const std::uint32_t any = isSmall ? draw.Below(500) : 20000 + draw.Below(40000);
    const std::uint32_t weights[] = {0, i == 8, 5, 1U << i, any};
    Append(coded, weights[std::min(kind, 4U)], 2);
  }
  // Few bits in the planes, runs of zeros between them and more than there is room for.
  for (std::uint32_t length = kind < 3 ? 0 : draw.Below(60); length > 0; --length) {
    Append(coded, 128 | draw.Below(256) << 8, 2);
    Append(coded, draw.Below(256), 1);
  }
  for (int zeros = 0; zeros < 4; ++zeros)
    Append(coded, 128 | 250U << 8, 2);
}

// A frame of random models and random bits: whatever bits are there, they mean something.
Bytes AnyFrame(std::uint32_t seed) {
  Draw draw(seed);
  Bytes coded(112);
  // Some streams are longer than what is decoded of one at a time.
  const std::uint32_t across = seed % 40 == 0 ? 60 : draw.Below(9), down = draw.Below(4);
  const std::uint32_t width = 16 * across + draw.Below(16), height = 16 * down + draw.Below(16);
  const std::uint32_t group = draw.Below(12);
  Put(coded, 96, group < 3 ? 0xFFFFFFFF : group - 2);
  Put(coded, 100, width);
  Put(coded, 104, height);
  Put(coded, 108, draw.Below(2), 2);
  Put(coded, 110, draw.Below(120) - 5, 2);
  constexpr std::uint32_t perSquare[] = {4, 1, 1, 18, 72, 200};
  for (std::uint32_t stream = 0; stream < 6; ++stream) {
    const std::uint32_t layer = stream < 3 ? 0 : stream - 2;
    if (stream != 1 && stream != 2) {
      Put(coded, 64 + 4 * layer, static_cast<std::uint32_t>(coded.size()));
      AppendModel(coded, draw);
    }
    if (layer > 0 && draw.Below(6) == 0) continue;
    // Some streams end early, some behind the end of the frame.
    const std::uint32_t full =
        across * down * perSquare[stream] + (stream == 0 ? 0 : draw.Below(40));
    const bool isShort = stream > 0 && draw.Below(5) == 0;
    const std::uint32_t count = isShort ? draw.Below(full + 1) : full;
    Put(coded, 16 + 4 * stream, static_cast<std::uint32_t>(coded.size()));
    Put(coded, 40 + 4 * stream, count);
    for (std::uint32_t left = (count + 7) / 8 + (draw.Below(3) == 0 ? 0 : count / 2); left > 0;
         --left)
      Append(coded, draw.Below(256), 1);
  }
  // The frame's size is that of the picture, or none that fits.
  Bytes frame(112 + coded.size());
  std::ranges::copy(coded, frame.begin() + 112);
  const std::uint32_t more = seed % 3 / 2 * 16;
  Put(frame, 32, seed % 3 == 0 ? 64 : width / 16 * 16 + more);
  Put(frame, 36, seed % 3 == 0 ? 64 : height / 16 * 16 + more);
  return frame;
}

}  // namespace

void LayeredPictures() {
  // Kept from frame to frame, as their buffers are.
  std::deque<Decoder> decoders;
  for (const int format : {ZTLIB_RGB, ZTLIB_YUV, ZTLIB_YUYV, ZTLIB_UYVY})
    for (const int scale : {1, 2, 4, 8})
      decoders.emplace_back(format, scale, ZTLIB_VIDEO_LAYERED);
  for (std::uint32_t first = 0; first < 250; first += 25)
    Step("layered pictures of any bits " + std::to_string(first), [&] {
      const Image image = NewImage();
      for (std::uint32_t seed = first; seed < first + 25; ++seed)
        for (Decoder& decoder : decoders) {
          decoder.Process(image.get(), AnyFrame(seed));
          MixImage(image);
        }
    });
}
