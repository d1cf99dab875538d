#include "main/target/windll/image/ztimagex.h"

#include "main/lib/base/debug.h"

namespace ztlib {

namespace {
constexpr char source[] = "main/target/windll/image/ztimagex";
}

void ToCData(CData& list, Token token, const CZTImage* image, bool packed) {
  if (!image) ZT_THROW(CException, "Using null-pointer", "ToCData", source, 10);
  auto block = std::make_shared<CBinData>();
  if (!packed) {
    image->SaveToBinData(*block);
  } else {
    if (image->GetPixelFormat() != PixelFormat::GRAY) {
      ZT_LOG(1, source, 16, "Invalid format for packed image! Can only pack PixelFormat::GRAY!");
      ZT_THROW(CException, "Wrong format", "ToCData", source, 18);
    }
    CZTImage mask;
    mask.ConvertOrMap(PixelFormat::BOOL8, *image);
    mask.SaveToBinData(*block);
  }
  list.AddBinary(token, std::move(block));
}

}  // namespace ztlib
