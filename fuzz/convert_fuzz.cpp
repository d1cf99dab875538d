#include "fuzz/codec_fuzz.h"
#include "main/lib/base/exceptions.h"
#include "main/target/windll/image/ztimage.h"

using namespace ztlib;

namespace {

void TryConversion(const CZTImageImplBase& image, PixelFormat target) {
  try {
    Require(image.ConvertToNew(target)->GetPixelFormat() == target);
  } catch (const CException&) {  // a refused pair, format or sensor picture; nothing else is thrown
  }
}

}  // namespace

// Four bytes choose the formats and the size, the others are pixels, again and again if the picture
// needs more. It is converted, and so is what is left of it without a column on either side and a
// row above and below. No frame is left behind.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  codec_fuzz::GrantScreens();
  Input in{{data, size}};
  const auto source = static_cast<PixelFormat>(in.Byte() % 9);
  const auto target = static_cast<PixelFormat>(in.Byte() % 11);
  const int width = in.Byte(), height = in.Byte() % 8;
  {
    const auto image = CreateNewImageBase(source, width, height);
    const auto* const frame = static_cast<const kit::Frame*>(image->GetFrame());
    for (std::size_t i = 0; frame && i < frame->size && !in.rest.empty(); ++i)
      frame->data[i] = in.rest[i % in.rest.size()];
    TryConversion(*image, target);
    if (width > 2 && height > 2)
      TryConversion(*image->CreateMapOfRect({1, 1, width - 2, height - 2}), target);
  }
  Require(kit::FramePool::allocated == kit::FramePool::released);
  return 0;
}
