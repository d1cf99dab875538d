#include "bench/wall/camera.h"
#include "client/text.h"
#include "tests/kit/codec.h"

#include <ctime>

std::int64_t CStageClock::Now() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

namespace {

class CLibraryCamera final : public ICamera {
 public:
  explicit CLibraryCamera(CStream& cameraStream)
      : stream(cameraStream),
        shown(ZTLIB_RGB, 1, stream.video),
        watched(ZTLIB_GRAY, WatchedScale(stream.width), stream.video),
        context(ztlib_simplemotion_create(), ztlib_simplemotion_destroy) {
    kit::Apply(
        kit::Config().Child("Configs",
                            kit::Config().Child("", kit::Config().Bool("GenerateMetadata", true))),
        ztlib_simplemotion_configure, context.get(), stream.width / WatchedScale(stream.width),
        stream.height / WatchedScale(stream.width));
  }

  void Next() override {
    kit::Bytes& frame = stream.frames[static_cast<std::size_t>(frames) % stream.frames.size()];
    Decode(shown, picture, frame, screen);
    Decode(watched, small, frame, gray);
    const CStageClock clock(*this, motion);
    ztlib_simplemotion_detect(
        context.get(), nullptr, [](void*, const void*, std::uint32_t) {}, small.get(),
        ++frames * 40);
  }

 private:
  void Decode(kit::Decoder& decoder, const kit::Image& image, kit::Bytes& frame, EStage stage) {
    const CStageClock clock(*this, stage);
    ztlib_decoder_process(&decoder.object, image.get(), frame.data(),
                          static_cast<std::uint32_t>(frame.size()));
    if (!kit::FrameOf(image)) throw CError(stream.Name() + ": not decoded");
  }

  CStream& stream;
  kit::Decoder shown, watched;
  kit::Image picture = kit::NewImage(), small = kit::NewImage();
  std::unique_ptr<void, decltype(&ztlib_simplemotion_destroy)> context;
};

}  // namespace

CameraPtr NewLibraryCamera(CStream& stream) {
  return std::make_unique<CLibraryCamera>(stream);
}
