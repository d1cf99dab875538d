#include "fuzz/codec_fuzz.h"

// A picture that gets a header keeps its bytes, and the header tells its size as the info does.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace codec_fuzz;
  constexpr std::uint32_t headerSize = 112;
  Bytes frame;
  ztlib_copyAndAddHeader(&frame, Collect, data, static_cast<std::uint32_t>(size));
  if (frame.empty()) return 0;
  const auto frameSize = static_cast<std::uint32_t>(frame.size());
  std::int32_t width = -1, height = -1, format = -1;
  const void* payload = nullptr;
  std::uint32_t payloadSize = 0;
  ztlib_getFrameInfo2(frame.data(), frameSize, &width, &height, &format, nullptr, nullptr, nullptr,
                      &payload, &payloadSize);
  Require(format == ZTLIB_VIDEO_MJPEG);
  Require(payload == frame.data() + headerSize && payloadSize == size);
  Require(std::memcmp(payload, data, size) == 0);
  Require(width >= 0 && width <= 65535 && height >= 0 && height <= 65535);

  GrantScreens();
  const Image image = NewImage();
  Decoder(ZTLIB_GRAY).Process(image.get(), frame);
  if (const Frame* const picture = FrameOf(image))
    Require(picture->width == width && picture->height == height);
  return 0;
}
