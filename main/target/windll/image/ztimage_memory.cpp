#include "main/lib/base/byte_io.h"
#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/debug.h"
#include "main/target/windll/image/bit_packing.h"
#include "main/target/windll/image/ztimage.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

namespace ztlib {

namespace {

// The name under which clients know these failures is that of the image itself.
constexpr char source[] = "main/target/windll/image/ztimage";

constexpr std::uint32_t version1 = 1;
constexpr std::size_t headerSize = CZTImage::savedHeaderSize;
// Offsets in the header; the places between are reserved.
constexpr std::size_t versionAt = 0;
constexpr std::size_t totalSizeAt = 4;
constexpr std::size_t headerSizeAt = 8;
constexpr std::size_t formatAt = 16;
constexpr std::size_t dxAt = 20;
constexpr std::size_t dyAt = 24;

struct SavedGeometry {
  PixelFormat format;
  std::int32_t dx;
  std::int32_t dy;
};

// Throws for a geometry that cannot be built; otherwise returns the bytes that its body must have.
std::uint64_t NeededBodySize(const SavedGeometry& saved) {
  if (!IsPixelFormat(saved.format))
    ZT_THROW(CException, "Wrong format", "CreateNewImageBase", source, 36);
  CheckImageSize(saved.dx, saved.dy, GetSampleDx(saved.format), GetSampleDy(saved.format), "Create",
                 "main/lib/base/image_rw", 38);
  const auto samples = static_cast<std::uint64_t>(saved.dx) * static_cast<std::uint64_t>(saved.dy);
  if (saved.format == PixelFormat::BOOL8) return (samples + 7) / 8;
  return samples * VisitPixelType(saved.format,
                                  [](auto tag) { return sizeof(typename decltype(tag)::type); });
}

}  // namespace

int CZTImage::GetSizeOfSavedBody_V1() const {
  const CZTImageImplBase& image = ConstImpl("GetSizeOfSavedBody_V1");
  const std::int64_t samples = std::int64_t{image.GetDx()} * image.GetDy();
  const std::int64_t size = image.GetPixelFormat() == PixelFormat::BOOL8
                                ? samples / 8 + packedBitsSlack
                                : samples * image.GetSampleSize();
  if (size > std::numeric_limits<std::int32_t>::max() - savedHeaderSize)
    ZT_THROW(CException, "Invalid range", "GetSizeOfSavedBody_V1", source, 54);
  return static_cast<int>(size);
}

void* CZTImage::SaveToBuff(void* buffer) const {
  const CZTImageImplBase& image = ConstImpl("SaveToBuff");
  const int bodySize = GetSizeOfSavedBody_V1();
  auto* const header = static_cast<std::uint8_t*>(buffer);
  StoreLE(header + versionAt, version1);
  StoreLE(header + totalSizeAt, static_cast<std::uint32_t>(bodySize + savedHeaderSize));
  StoreLE(header + headerSizeAt, static_cast<std::uint32_t>(headerSize));
  StoreLE(header + formatAt, image.GetPixelFormat());
  StoreLE(header + dxAt, image.GetDx());
  StoreLE(header + dyAt, image.GetDy());

  std::uint8_t* const body = header + headerSize;
  if (image.GetPixelFormat() == PixelFormat::BOOL8) {
    BitPacker packer(body);
    // A picture without columns may have 2^31 - 1 rows, and a loop over them would take seconds.
    const int rows = image.GetDx() > 0 ? image.GetDy() : 0;
    for (int y = 0; y < rows; ++y)
      packer.Append(static_cast<const std::uint8_t*>(image.GetPtrAt(0, y)),
                    static_cast<std::size_t>(image.GetDx()));
    packer.Finish();
  } else if (const auto rowSize = static_cast<std::size_t>(image.GetRowSize()); rowSize > 0) {
    std::uint8_t* row = body;
    for (int y = 0; y < image.GetDy(); ++y, row += rowSize)
      std::memcpy(row, image.GetPtrAt(0, y), rowSize);
  }
  return body + bodySize;
}

void CZTImage::SaveToBinData(CBinData& block) const {
  block.Resize(static_cast<std::uint64_t>(GetSizeOfSavedBody_V1()) + headerSize);
  SaveToBuff(block.Data());
}

const void* CZTImage::LoadFromBuff(const void* buffer, int size) {
  if (size < savedHeaderSize || !buffer)
    ZT_THROW(CException, "Invalid or nullptr memory!", "LoadFromBuff", source, 93);
  const auto* const header = static_cast<const std::uint8_t*>(buffer);
  const auto ver = LoadLE<std::uint32_t>(header + versionAt);
  // A warning and nothing else: blocks of unknown versions have always been read as version 1.
  ZT_MUST_BE_FALSE(ver != 1, "LoadFromBuff", source, 97);
  const SavedGeometry saved{LoadLE<PixelFormat>(header + formatAt),
                            LoadLE<std::int32_t>(header + dxAt),
                            LoadLE<std::int32_t>(header + dyAt)};
  const auto bodySize = static_cast<std::uint64_t>(size) - headerSize;
  if (bodySize < NeededBodySize(saved))
    ZT_THROW(CException, "Invalid or nullptr memory!", "LoadFromBuff", source, 103);

  auto loaded = CreateNewImageBase(saved.format, saved.dx, saved.dy);
  const auto rowSize = static_cast<std::size_t>(loaded->GetRowSize());
  if (rowSize > 0) {
    const std::uint8_t* const body = header + headerSize;
    for (int y = 0; y < saved.dy; ++y) {
      auto* const row = static_cast<std::uint8_t*>(loaded->GetPtrAt(0, y));
      if (saved.format == PixelFormat::BOOL8)
        UnpackBits(row, body, static_cast<std::size_t>(y) * rowSize, rowSize);
      else
        std::memcpy(row, body + static_cast<std::size_t>(y) * rowSize, rowSize);
    }
  }
  impl = std::move(loaded);
  return header + size;
}

void CZTImage::FromBindata(const CBinData& block) {
  if (!block.HasMemory()) {
    auto blank = CreateNewImageBase(PixelFormat::GRAY, 16, 1);
    std::memset(blank->GetPtr(), 0, 16);
    impl = std::move(blank);
    return;
  }
  if (block.Size() < sizeof(std::uint32_t))
    ZT_THROW(CException, "Invalid or nullptr memory!", "FromBindata", source, 129);
  if (LoadLE<std::uint32_t>(block.Data()) != version1)
    ZT_THROW(CException, "Wrong format", "FromBindata", source, 131);
  if (block.Size() > std::numeric_limits<std::int32_t>::max())
    ZT_THROW(CException, "Invalid range", "FromBindata", source, 133);
  LoadFromBuff(block.Data(), static_cast<int>(block.Size()));
}

}  // namespace ztlib
