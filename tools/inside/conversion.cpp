#include "tools/inside/conversion.h"

#include "client/frame_pool.h"
#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/image/ztimage_impl.h"

namespace {

// The twin has a frame manager of its own.
void ShareFramePool() {
  static const bool shared = [] {
    frame_manager::Register(
        [](int width, int height, int pixelFormat) -> void* {
          return CFramePool::Instance().Allocate(width, height, pixelFormat);
        },
        [](void* frame) { CFramePool::Instance().Release(static_cast<CFrame*>(frame)); }, nullptr,
        false);
    return true;
  }();
  static_cast<void>(shared);
}

}  // namespace

CConvertible::CConvertible(PoolFramePtr frame, int pixelFormat) {
  ShareFramePool();
  try {
    image = CreateNewImageBase(static_cast<PixelFormat>(pixelFormat), frame.get());
  } catch (const CException& failure) {
    throw CLibraryError(failure.what());
  }
  static_cast<void>(frame.release());
}

CConvertible::CConvertible(std::shared_ptr<const CZTImageImplBase> converted)
    : image(std::move(converted)) {}

CConvertible CConvertible::ConvertedTo(int pixelFormat) const {
  try {
    return CConvertible(image->ConvertToNew(static_cast<PixelFormat>(pixelFormat)));
  } catch (const CException& failure) {
    throw CLibraryError(failure.what());
  }
}

const CFrame* CConvertible::Frame() const {
  return static_cast<const CFrame*>(image->GetFrame());
}
