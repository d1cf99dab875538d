#pragma once

#include "main/lib/base/image_rw.h"
#include "main/lib/base/synchron_pthread.h"
#include "main/lib/imgproc/gray_view.h"
#include "main/lib/imgproc/timestamper.h"

#include <cstdint>
#include <map>
#include <memory>

namespace ztlib {

// A frame as it is handed to those who analyse it.
struct FrameRecord {
  FrameTime time;
  std::int32_t kind = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;
  const std::uint8_t* luma = nullptr;
  const std::uint8_t* chroma = nullptr;  // pairs of bytes, half the height; may be null
  std::shared_ptr<const void> owner;     // keeps the planes alive, if set
  // Bytes from row to row of both planes; 0 for the width rounded up to a multiple of 4.
  std::int64_t stride = 0;
};

enum : int { planeY = 0, planeU = 1, planeV = 2, planeUV = 3 };

// A plane of a frame. The luma plane lies in the frame's own memory and must not be written to.
struct CCachedImage {
  TCImageX<unsigned char, long long> image;
  std::shared_ptr<const void> owner;
};

// The last frame, and planes that are derived from it when somebody asks. There is one level of
// resolution, 0. Every operation takes the lock, but what it hands out is good only until the next
// frame.
class CImageDataCache {
 public:
  CImageDataCache();
  ~CImageDataCache();
  CImageDataCache(const CImageDataCache&) = delete;
  CImageDataCache& operator=(const CImageDataCache&) = delete;

  void SetFrame(const FrameRecord& record);
  // Forgets all pointers to the frame; its size, time and kind stay.
  void DropFrame();

  // Luma or chroma pairs of level 0; all zero for anything else.
  [[nodiscard]] GrayView GetPlaneView(int level, int plane) const;
  [[nodiscard]] Size GetSize(int level) const;
  [[nodiscard]] int GetMaxLevel() const;
  [[nodiscard]] int GetLevelForWidth(int width) const;
  [[nodiscard]] FrameTime GetFrameTime() const;
  [[nodiscard]] std::int32_t GetFrameKind() const;
  [[nodiscard]] const std::uint8_t* GetPlanePointer(int level) const;
  // One plane, the same object for each call until the next frame. Never null; its image is
  // without memory where there is no such plane.
  std::shared_ptr<CCachedImage> GetImage(int _level, int _plane);

 private:
  // The record of a level, or an empty one.
  [[nodiscard]] const FrameRecord& LevelOf(int level) const;

  mutable CMutex mutex;
  FrameRecord frame;
  std::map<std::uint32_t, std::shared_ptr<CCachedImage>> images;
};

}  // namespace ztlib
