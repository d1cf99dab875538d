#include "bench/wall/handle_memory.h"

#include "tests/kit/frames.h"
#include "ztlib.hpp"

#include <cstdio>
#include <functional>
#include <string>

#include <malloc.h>

namespace {

double HeapMegabytes() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd) / 1048576;
}

// `use` makes a handle, uses it and calls `measure` while it lives, with the megabytes that are not
// the handle's.
void Print(const std::string& name,
           const std::function<void(const std::function<void(double)>& measure)>& use) {
  const double before = HeapMegabytes();
  use([&](double others) {
    std::printf("%-38s %8.2f\n", name.c_str(), HeapMegabytes() - before - others);
  });
}

double PictureMegabytes(const ztlib::Image& image, int bytesPerPixel) {
  return static_cast<double>(image.Width()) * image.Height() * bytesPerPixel / 1048576;
}

void PrintDecoder(CStream& stream, int scale) {
  Print(stream.Name() + " decoder, 1/" + std::to_string(scale), [&](const auto& measure) {
    ztlib::Decoder decoder({ZTLIB_RGB, scale});
    const ztlib::Image* shown = nullptr;
    for (kit::Bytes& frame : stream.frames)
      shown = &decoder.Decode(frame);
    measure(PictureMegabytes(*shown, 4));
  });
}

void PrintEncoder(CStream& stream, ztlib_video_format video) {
  ztlib::Decoder decoder({ZTLIB_UYVY});
  const ztlib::Image& picture = decoder.Decode(stream.frames[0]);
  Print(stream.Name() + " encoder", [&](const auto& measure) {
    const ztlib::Encoder encoder({video, stream.width, stream.height});
    for (int i = 0; i < 2; ++i)
      encoder.Encode(picture, [](ztlib::ByteView) {});
    measure(0);
  });
}

void PrintMotion(const CStream& stream, std::size_t areas) {
  const std::string size = std::to_string(stream.width) + "x" + std::to_string(stream.height);
  const ztlib::Image picture(
      ZTLIB_GRAY,
      std::unique_ptr<kit::Frame, void (*)(void*)>(
          kit::FramePool::Make(stream.width, stream.height, ZTLIB_GRAY), kit::FramePool::Release));
  Print("motion " + size + ", masked areas: " + std::to_string(areas), [&](const auto& measure) {
    ztlib::MotionSettings settings;
    settings.areas.resize(areas);
    for (ztlib::MotionArea& area : settings.areas)
      area.polygons = {{{0, 0}, {16000, 0}, {8000, 9000}}};
    ztlib::Motion motion(settings, stream.width, stream.height);
    for (int i = 0; i < 40; ++i)
      motion.Detect(picture, i * 40);
    measure(0);
  });
}

}  // namespace

void PrintHandleMemory(std::vector<CStream>& streams) {
  std::printf("\n%-38s %8s\n", "a handle beside the picture it shows", "MiB");
  for (CStream& stream : streams) {
    for (const int scale : {1, 4})
      PrintDecoder(stream, scale);
    if (stream.video != ZTLIB_VIDEO_LAYEREDDIFF)
      PrintEncoder(stream, static_cast<ztlib_video_format>(stream.video));
    if (stream.video == ZTLIB_VIDEO_MJPEG)
      for (const std::size_t areas : {1, 8})
        PrintMotion(stream, areas);
  }
}
