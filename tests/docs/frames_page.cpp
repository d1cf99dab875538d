#include "client/layered/layered_encoder.h"
#include "include/ztlib.hpp"

#include <cstdio>

// Prints docs/frames.md: one small frame of each video format, made by the library and by the
// encoder of layered video that tests have.
namespace {

constexpr int width = 32, height = 16;

// A gray slope with a bright square, which lies further right at a later time.
ztlib::Image Picture(int time) {
  auto frame = ztlib::FramePool::New(width, height, ZTLIB_UYVY);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      std::uint8_t* const luma = frame->data[0] + (y * width + x) * 2 + 1;
      luma[-1] = 128;
      *luma = static_cast<std::uint8_t>(x / 8 == time && y < 8 ? 200 : 64 + y);
    }
  return {ZTLIB_UYVY, std::move(frame)};
}

// Lines that repeat the one before are a star.
void Print(const char* title, const char* text, ztlib::ByteView frame) {
  std::printf("\n## %s\n\n%s\n\n", title, text);
  bool isRepeated = false;
  for (std::size_t at = 0; at < frame.size(); at += 16) {
    const ztlib::ByteView line = frame.Sub(at, 16);
    if (at > 0 && line.size() == 16 && std::equal(line.begin(), line.end(), line.begin() - 16)) {
      if (!isRepeated) std::puts("    *");
      isRepeated = true;
      continue;
    }
    isRepeated = false;
    std::printf("    %04zx ", at);
    for (const std::uint8_t byte : line)
      std::printf(" %02x", byte);
    std::puts("");
  }
}

}  // namespace

int main() {
  std::puts(
      "# Frames, byte by byte\n\n"
      "One small frame of each video format, as a test makes them anew: 32 by 16 pixels, a gray "
      "slope\n"
      "with a bright square of 8 by 8. [formats.md](formats.md) tells what the fields mean. "
      "Numbers are\n"
      "in hexadecimal, the first column is the offset, and a star stands for lines like the one "
      "before.");
  const ztlib::Session session;
  ztlib::Bytes frame;
  ztlib::Encoder({ZTLIB_VIDEO_MJPEG, width, height}).Encode(Picture(0), frame);
  Print(
      "Format 3: plain MJPEG",
      "The header of 112 (70) bytes has `kind` 3 at 0, the size of the frame at 4, its own at 8,\n"
      "`format` 3 at 18, width and height at 20 and 24, and the quality 75 (4b) at 40. Then the "
      "JPEG\n"
      "stream begins: ff d8; quantisers behind ff db, the size behind ff c0, codes behind ff c4, "
      "and\n"
      "behind ff da the coded blocks.",
      frame);

  ztlib::EncoderSettings settings{ZTLIB_VIDEO_MJPEGDIFF, width, height};
  settings.hasOverflowKeys = false;
  const ztlib::Encoder differential(settings);
  differential.Encode(Picture(0), frame);
  Print(
      "Format 7: a key frame",
      "It differs from plain video in `format` 7, `refresh` 1 at 1c and `blockSize` 16 (10) at 42.",
      ztlib::ByteView(frame).Sub(0, 112));
  differential.Encode(Picture(2), frame);
  Print("Format 7: a frame with the blocks that changed",
        "`differential` is 1 at 1a, `jpegOffset` at 44 is behind the list of blocks, `frameType` "
        "at 48 is\n"
        "3, `blockCount` at 54 is 2, and `listSize` and `jpegSize` follow. At 70 the list begins: "
        "2 blocks,\n"
        "no run, 6 bits an entry, and from 7c on the entries 0 and 1. The strip is a whole JPEG "
        "stream.",
        ztlib::ByteView(frame).Sub(0, 0x90));

  const ztlib::Image first = Picture(0), later = Picture(2);
  const CLayeredPlanes planes(first.FrameAs().data[0], 2 * width, width, height);
  const CLayeredPlanes changed(later.FrameAs().data[0], 2 * width, width, height);
  CLayeredSettings layered;
  Print("Format 0: layered video",
        "Behind the header of 112 bytes comes a second one, and at e0 the model of layer 0, whose "
        "codes\n"
        "the three streams behind it share. The other layers have a model and a stream each.",
        CLayeredEncoder(layered).Encode(planes.Picture()));
  layered.isDifferential = true;
  layered.hasOverflowKeys = false;
  CLayeredEncoder encoder(layered);
  static_cast<void>(encoder.Encode(planes.Picture()));
  Print("Format 4: a differential frame of layered video",
        "The list of blocks lies between the two headers, and the layers hold a strip of these "
        "blocks.",
        encoder.Encode(changed.Picture()));
}
