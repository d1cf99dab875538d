#include "main/target/windll/image/ztimagex.h"

#include "main/lib/base/debug.h"

namespace {
constexpr char source[] = "main/target/windll/image/ztimagex";
}

void ToCData(CData& list, Token token, const CZTImage* image, bool packed) {
  if (!image) ZT_THROW(CException, "Using null-pointer", "ToCData", source, __LINE__);
  auto block = std::make_shared<CBinData>();
  if (!packed) {
    image->SaveToBinData(*block);
  } else {
    if (image->GetPixelFormat() != PixelFormat::GRAY) {
      ZT_LOG(1, source, __LINE__,
             "Invalid format for packed image! Can only pack PixelFormat::GRAY!");
      ZT_THROW(CException, "Wrong format", "ToCData", source, __LINE__);
    }
    CZTImage mask;
    mask.ConvertOrMap(PixelFormat::BOOL8, *image);
    mask.SaveToBinData(*block);
  }
  list.AddBinary(token, std::move(block));
}
