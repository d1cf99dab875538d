#include "main/target/windll/codec/videoencoder_mjpeg_diff.h"

#include "main/lib/base/debug.h"
#include "main/target/windll/codec/block_kernels.h"
#include "main/target/windll/codec/block_list.h"
#include "main/target/windll/codec/utils/scale_down.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace ztlib {

namespace {

constexpr char source[] = "main/target/windll/codec/videoencoder_mjpeg_diff";

using UYVY = TTUYVY<unsigned char>;
using Gray = TTGray<unsigned char>;

constexpr std::uint32_t blockSide = 16;
constexpr std::size_t blockRowSize = blockSide * 2;  // bytes of UYVY
constexpr std::uint32_t thumbnailScale = 8;
// A strip is no wider than a JPEG picture may be.
constexpr std::size_t maxStripBlocks = 65500 / blockSide;

std::uint32_t ThresholdOf(std::uint32_t sensitivity) {
  constexpr std::uint32_t top = 20;
  return sensitivity < top ? top - sensitivity : 1;
}

int AsInt(std::uint32_t value) {
  return static_cast<int>(value);
}

// Rounded up; the sum of the largest size does not fit into an int.
int ThumbnailSizeOf(int size) {
  return AsInt((static_cast<std::uint32_t>(size) + thumbnailScale - 1) / thumbnailScale);
}

}  // namespace

void CVideoEncoderMJPEGDIFF::BlockMap::Resize(std::size_t newColumns, std::size_t newRows) {
  // A size without a block has no border either: its other side may be anything.
  const bool empty = newColumns == 0 || newRows == 0;
  columns = empty ? 0 : newColumns;
  rows = empty ? 0 : newRows;
  marks.assign((columns + 2) * (rows + 2), 0);
  rowIsMarked.assign(rows + 2, 0);
}

std::int16_t CVideoEncoderMJPEGDIFF::GetVideoFormat() const {
  return videoFormatMJPEGDIFF;
}

void CVideoEncoderMJPEGDIFF::SetQuality(int newQuality) {
  ForwardQuality(newQuality, source, 161);
}

void CVideoEncoderMJPEGDIFF::Configure(const CData& config) {
  const CAutoLock lock(&mutex);
  const std::uint32_t newBits = GetUnsigned(config, Tok::Bits, bitsPerEntry);
  const std::uint32_t bits = newBits <= maxBlockListBits ? newBits : bitsPerEntry;
  const bool advanced = config.GetBool(Tok::AdvancedProfile, advancedMode);

  // What can fail comes first.
  Setup setup = Prepare(config, MaxBlockListSize(maxStripBlocks, bits));
  const std::uint64_t blocks = (std::uint64_t{setup.width} * setup.height) >> 8;
  const std::uint64_t mostChanged = blocks * 40 / 100;
  CZTImage newReference;
  CZTImage newReferenceThumbnail;
  CZTImage newThumbnail;
  const int across = AsInt(setup.width / thumbnailScale);
  const int down = AsInt(setup.height / thumbnailScale);
  newReferenceThumbnail.CreateBySizeInPixels(PixelFormat::GRAY, across, down);
  newThumbnail.CreateBySizeInPixels(PixelFormat::GRAY, across, down);
  if (advanced)
    newReference.CreateBySizeInPixels(PixelFormat::UYVY, AsInt(setup.width), AsInt(setup.height));
  BlockMap newMap;
  newMap.Resize(static_cast<std::size_t>(across / 2), static_cast<std::size_t>(down / 2));
  std::vector<std::uint8_t> newSpreadRow(newMap.columns);
  std::vector<std::uint8_t> newStrip;
  newStrip.reserve(std::min<std::uint64_t>(mostChanged, maxStripBlocks) * blockSide * blockRowSize);
  std::vector<std::uint32_t> newList;
  newList.reserve(newMap.columns * newMap.rows);

  Commit(std::move(setup));
  maxChangedBlocks = static_cast<std::uint32_t>(mostChanged);
  frameCounter = 0xFFFFFFFF;
  keyFrameInterval = GetUnsigned(config, Tok::IFrameInterval, keyFrameInterval);
  bitsPerEntry = bits;
  if (const CDataValue* const sensitivity = config.Find(Tok::IVPixelSensitivity, cdInt))
    pixelThreshold = ThresholdOf(static_cast<std::uint32_t>(sensitivity->GetInt()));
  if (const std::uint32_t interval = GetUnsigned(config, Tok::RPFrameInterval, referenceInterval))
    referenceInterval = interval;
  advancedMode = advanced;
  allowOutOfOrderKeyFrames =
      config.GetBool(Tok::GenerateOutOfOrderIFrames, allowOutOfOrderKeyFrames);
  referenceImage.Swap(newReference);
  referenceThumbnail.Swap(newReferenceThumbnail);
  thumbnail.Swap(newThumbnail);
  changed = std::move(newMap);
  spreadRow = std::move(newSpreadRow);
  strip = std::move(newStrip);
  blockList = std::move(newList);
}

void CVideoEncoderMJPEGDIFF::Encode(CBinData& out, const CZTImage& image,
                                    const EncodeRequest& request) {
  const CAutoLock lock(&mutex);
  CheckConfigured(source);
  CZTImage converted;
  const bool asItIs = image.GetPixelFormat() == PixelFormat::UYVY;
  if (!asItIs) converted.ConvertOrMap(PixelFormat::UYVY, image);
  const CZTImage& picture = asItIs ? image : converted;
  CheckSizes(picture, request.thumbnail);
  hasExtraInfo = request.extraInfo != nullptr;
  if (!request.thumbnail) {
    Thumbnail target = thumbnail.GetView<Gray>();
    ScaleDownUYVY_To_Gray(target, picture.GetView<UYVY>(), thumbnailScale);
  }
  const CZTImage& present = request.thumbnail ? *request.thumbnail : thumbnail;

  FrameHeader header{.format = videoFormatMJPEGDIFF, .blockSize = blockSide};
  const bool mayDiffer = frameCounter < keyFrameInterval && !request.forceKeyFrame;
  if (!mayDiffer || !EncodeDifferential(picture, present, header))
    EncodeKey(picture, present, header);
  header.differential = header.frameType != frameTypeKey;
  header.refresh = header.frameType == frameTypeKey || header.frameType == frameTypeReference;
  out = FinishFrame(header, request);
  if (header.frameType == frameTypeKey) frameCounter = 0;
  ++frameCounter;
}

void CVideoEncoderMJPEGDIFF::CheckSizes(const CZTImage& picture, const CZTImage* given) const {
  const int across = picture.GetDxInPixels();
  const int down = picture.GetDyInPixels();
  const int smallAcross = given ? given->GetDxInPixels() : ThumbnailSizeOf(across);
  const int smallDown = given ? given->GetDyInPixels() : ThumbnailSizeOf(down);
  const int referenceAcross = referenceThumbnail.GetDxInPixels();
  const int referenceDown = referenceThumbnail.GetDyInPixels();
  if (across == AsInt(width) && down == AsInt(height) && smallAcross == referenceAcross &&
      smallDown == referenceDown)
    return;
  ZT_LOG(1, source, 56,
         "Image dimensions differ! encoder setting: (%ix%i, %ix%i), input: (%ix%i, %ix%i)\n",
         AsInt(width), AsInt(height), referenceAcross, referenceDown, across, down, smallAcross,
         smallDown);
  std::terminate();
}

void CVideoEncoderMJPEGDIFF::EncodeKey(const CZTImage& picture, const CZTImage& present,
                                       FrameHeader& header) {
  encoder_->Init(width, height, quality);
  EncodeStream({.format = PixelFormat::UYVY,
                .pixels = picture.GetPtrAs<std::uint8_t>(),
                .distance = static_cast<std::size_t>(picture.GetScanlineSize())},
               0);
  header.frameType = frameTypeKey;
  if (advancedMode) referenceImage.OverWrite(picture);
  referenceThumbnail.OverWrite(present);
}

bool CVideoEncoderMJPEGDIFF::EncodeDifferential(const CZTImage& picture, const CZTImage& present,
                                                FrameHeader& header) {
  const Picture& pixels = picture.GetView<UYVY>();
  const bool renews = frameCounter % referenceInterval == 0;
  Compare(present.GetView<Gray>());
  ListBlocks();
  if (allowOutOfOrderKeyFrames && blockList.size() > maxChangedBlocks) return false;
  if (blockList.size() > maxStripBlocks) return false;
  packedList.clear();
  if (!PackBlockList(packedList, blockList, bitsPerEntry)) return false;

  encodedSize = 0;
  if (!blockList.empty()) {
    FillStrip(pixels, advancedMode && !renews);
    encoder_->Init(static_cast<std::uint32_t>(blockList.size()) * blockSide, blockSide, quality);
    EncodeStream({.format = PixelFormat::UYVY,
                  .pixels = strip.data(),
                  .distance = blockList.size() * blockRowSize},
                 packedList.size());
  }
  std::memcpy(buffer.get() + FrameHeader::size, packedList.data(), packedList.size());
  header.frameType = renews         ? frameTypeReference
                     : advancedMode ? frameTypeDifference
                                    : frameTypePlain;
  header.blockCount = static_cast<std::uint32_t>(blockList.size());
  header.listSize = static_cast<std::uint32_t>(packedList.size());
  header.jpegSize = encodedSize;
  header.jpegOffset = FrameHeader::size + header.listSize;
  // Only now: after a failure the reference is what receivers have.
  if (renews) RenewReference(pixels, present.GetView<Gray>());
  return true;
}

void CVideoEncoderMJPEGDIFF::Compare(const Thumbnail& present) {
  const Thumbnail& reference = referenceThumbnail.GetView<Gray>();
  for (std::size_t row = 0; row < changed.rows; ++row) {
    const auto y = static_cast<std::int32_t>(2 * row);
    const std::uint8_t* const old[2] = {reference.RowBytes(y), reference.RowBytes(y + 1)};
    const std::uint8_t* const now[2] = {present.RowBytes(y), present.RowBytes(y + 1)};
    changed.rowIsMarked[row + 1] = KernelsFor<BlockKernels>().compareGroups(
        changed.Row(row), old, now, changed.columns, pixelThreshold);
  }
}

// A block is sent with its four neighbours: what moves is about to reach them.
void CVideoEncoderMJPEGDIFF::ListBlocks() {
  blockList.clear();
  const std::size_t distance = changed.columns + 2;
  for (std::size_t row = 0; row < changed.rows; ++row) {
    const std::uint8_t* const near = &changed.rowIsMarked[row];
    if (!near[0] && !near[1] && !near[2]) continue;
    const std::uint8_t* const marks = changed.Row(row);
    KernelsFor<BlockKernels>().spreadMarks(spreadRow.data(), marks - distance, marks,
                                           marks + distance, changed.columns);
    const std::uint8_t* const begin = spreadRow.data();
    const std::uint8_t* const end = begin + changed.columns;
    for (const auto* at = begin; (at = std::find(at, end, std::uint8_t{255})) != end; ++at)
      blockList.push_back(static_cast<std::uint32_t>(row * changed.columns) +
                          static_cast<std::uint32_t>(at - begin));
  }
}

// Calls f with the place in the strip and in the picture (row, byte) of each row of 16 pixels. The
// list counts whole blocks of a row, the picture counts a partial one at its end too; both are the
// same for widths that are multiples of 16.
template <class F>
void CVideoEncoderMJPEGDIFF::ForEachBlockRow(F&& f) const {
  const std::size_t blocksPerRow = (width + blockSide - 1) / blockSide;
  const std::size_t stripDistance = blockList.size() * blockRowSize;
  for (std::size_t i = 0; i < blockList.size(); ++i) {
    const auto top = static_cast<std::int32_t>(blockList[i] / blocksPerRow * blockSide);
    const std::size_t left = blockList[i] % blocksPerRow * blockRowSize;
    for (std::int32_t row = 0; row < AsInt(blockSide); ++row)
      f(static_cast<std::size_t>(row) * stripDistance + i * blockRowSize, top + row, left);
  }
}

// Only a partial last block reaches behind the picture.
std::size_t CVideoEncoderMJPEGDIFF::BytesInside(const Picture& picture, std::int32_t y,
                                                std::size_t left) {
  const std::ptrdiff_t inside =
      picture.RowBytes(picture.dy - 1) - picture.RowBytes(y) +
      static_cast<std::ptrdiff_t>(static_cast<std::size_t>(picture.dx) * sizeof(UYVY) - left);
  return std::min(blockRowSize, static_cast<std::size_t>(std::max<std::ptrdiff_t>(inside, 0)));
}

void CVideoEncoderMJPEGDIFF::FillStrip(const Picture& picture, bool asDifference) {
  strip.resize(blockList.size() * blockSide * blockRowSize);
  ForEachBlockRow([&](std::size_t to, std::int32_t y, std::size_t left) {
    const std::size_t count = BytesInside(picture, y, left);
    const std::uint8_t* const now = picture.RowBytes(y) + left;
    if (asDifference)
      KernelsFor<BlockKernels>().halfDifference(
          &strip[to], referenceImage.GetView<UYVY>().RowBytes(y) + left, now, count);
    else
      std::memcpy(&strip[to], now, count);
    // Missing pixels read as 0, and their difference is none.
    std::memset(&strip[to] + count, asDifference ? 128 : 0, blockRowSize - count);
  });
}

void CVideoEncoderMJPEGDIFF::RenewReference(const Picture& picture, const Thumbnail& present) {
  if (advancedMode)
    ForEachBlockRow([&](std::size_t, std::int32_t y, std::size_t left) {
      std::memcpy(referenceImage.GetView<UYVY>().RowBytes(y) + left, picture.RowBytes(y) + left,
                  BytesInside(picture, y, left));
    });
  // The changed groups themselves, without the neighbours that were sent with them.
  const Thumbnail& reference = referenceThumbnail.GetView<Gray>();
  for (std::size_t row = 0; row < changed.rows; ++row) {
    if (!changed.rowIsMarked[row + 1]) continue;
    const std::uint8_t* const marks = changed.Row(row);
    for (std::size_t column = 0; column < changed.columns; ++column)
      if (marks[column])
        for (const std::int32_t y : {AsInt(2 * static_cast<std::uint32_t>(row)),
                                     AsInt(2 * static_cast<std::uint32_t>(row) + 1)})
          std::memcpy(reference.RowBytes(y) + 2 * column, present.RowBytes(y) + 2 * column, 2);
  }
}

}  // namespace ztlib
