#include "main/lib/imgproc/image_cache.h"

#include "main/lib/base/debug.h"

#include <cstring>
#include <utility>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/imgproc/image_cache";
constexpr int planeLine = 151;
constexpr int levelLine = 184;

std::int64_t StrideOf(const FrameRecord& frame) {
  if (frame.stride != 0) return frame.stride;
  return static_cast<std::int64_t>((static_cast<std::uint64_t>(frame.width) + 3) &
                                   ~std::uint64_t{3});
}

// Half the lines of interleaved pairs fill the front of a plane of full size, densely; the rest is
// zero.
void Separate(const FrameRecord& frame, int plane, TCImageX<unsigned char, long long>& image) {
  image.Create(frame.width, frame.height);
  if (!image.Assigned()) return;
  unsigned char* const target = image.GetWritePtr();
  const std::int64_t count = frame.width * (frame.height / 2) / 2;
  const std::uint8_t* const pairs = frame.chroma + (plane - planeU);
  for (std::int64_t i = 0; i < count; ++i)
    target[i] = pairs[2 * i];
  const std::int64_t size = image.GetScanline() * image.GetDy();
  std::memset(target + count, 0, static_cast<std::size_t>(size - count));
}

}  // namespace

CImageDataCache::CImageDataCache() : mutex(CMutex::Kind::Recursive) {}

CImageDataCache::~CImageDataCache() = default;

const FrameRecord& CImageDataCache::LevelOf(int level) const {
  static const FrameRecord none;
  return level == 0 ? frame : none;
}

void CImageDataCache::SetFrame(const FrameRecord& record) {
  const CAutoLock lock(&mutex);
  images.clear();
  frame = record;
}

void CImageDataCache::DropFrame() {
  const CAutoLock lock(&mutex);
  images.clear();
  frame.luma = nullptr;
  frame.chroma = nullptr;
  frame.owner.reset();
}

GrayView CImageDataCache::GetPlaneView(int level, int plane) const {
  const CAutoLock lock(&mutex);
  const FrameRecord& record = LevelOf(level);
  switch (plane) {
    case planeY:
      return {record.width, record.height, record.luma, StrideOf(record)};
    case planeUV:
      return {record.width, record.height / 2, record.chroma, StrideOf(record)};
    default:
      return {};
  }
}

Size CImageDataCache::GetSize(int level) const {
  const CAutoLock lock(&mutex);
  const FrameRecord& record = LevelOf(level);
  return {record.width, record.height};
}

int CImageDataCache::GetMaxLevel() const {
  const CAutoLock lock(&mutex);
  return 0;
}

int CImageDataCache::GetLevelForWidth(int) const {
  const CAutoLock lock(&mutex);
  return 0;
}

FrameTime CImageDataCache::GetFrameTime() const {
  const CAutoLock lock(&mutex);
  return frame.time;
}

std::int32_t CImageDataCache::GetFrameKind() const {
  const CAutoLock lock(&mutex);
  return frame.kind;
}

const std::uint8_t* CImageDataCache::GetPlanePointer(int level) const {
  const CAutoLock lock(&mutex);
  return LevelOf(level).luma;
}

std::shared_ptr<CCachedImage> CImageDataCache::GetImage(int _level, int _plane) {
  const CAutoLock lock(&mutex);
  ZT_ASSERT(_plane != planeUV, source, planeLine);
  ZT_ASSERT(_level >= 0, source, levelLine);
  const std::uint32_t key =
      static_cast<std::uint32_t>(_level) << 8 | static_cast<std::uint32_t>(_plane);
  if (const auto found = images.find(key); found != images.end()) return found->second;

  const FrameRecord& record = LevelOf(_level);
  auto cached = std::make_shared<CCachedImage>();
  const bool hasPairs = record.chroma && record.width > 0 && record.height > 0;
  if (hasPairs && (_plane == planeU || _plane == planeV)) {
    Separate(record, _plane, cached->image);
  } else {
    // The header has no way to say that the bytes are only for reading; its users know.
    unsigned char* const luma =
        _plane == planeY ? const_cast<unsigned char*>(record.luma) : nullptr;
    cached->image.Wrap(record.width, record.height,
                       std::shared_ptr<unsigned char>(record.owner, luma), StrideOf(record));
    cached->owner = record.owner;
  }
  images.emplace(key, cached);
  return cached;
}

}  // namespace ztlib
