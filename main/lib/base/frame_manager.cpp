#include "main/lib/base/frame_manager.h"

#include "main/lib/base/platform.h"

#include <atomic>
#include <cstdint>
#include <cstring>

namespace ztlib {

namespace {

std::atomic<AllocateFrameFunction> allocateFunction{nullptr};
std::atomic<ReleaseFrameFunction> releaseFunction{nullptr};
std::atomic<ThirdFrameFunction> thirdFunction{nullptr};

template <class Function>
void Replace(std::atomic<Function>& present, Function next, bool keepExisting) {
  Function expected = nullptr;
  if (keepExisting)
    present.compare_exchange_strong(expected, next);
  else
    present.store(next);
}

template <class Field>
Field FieldAt(const void* frame, std::size_t offset) {
  Field field;
  std::memcpy(&field, static_cast<const char*>(frame) + offset, sizeof field);
  return field;
}

}  // namespace

void RegisterFrameManager(AllocateFrameFunction allocate, ReleaseFrameFunction release,
                          ThirdFrameFunction third, bool keepExisting) noexcept {
  Replace(allocateFunction, allocate, keepExisting);
  Replace(releaseFunction, release, keepExisting);
  Replace(thirdFunction, third, keepExisting);
}

void* AllocateFrame(int width, int height, int pixelFormat) {
  const AllocateFrameFunction allocate = allocateFunction.load(std::memory_order_acquire);
  return allocate ? allocate(width, height, pixelFormat) : nullptr;
}

void ReleaseFrame(void* frame) noexcept {
  const ReleaseFrameFunction release = releaseFunction.load(std::memory_order_acquire);
  if (!release) return;
  const CancellationPause pause;
  try {
    release(frame);
  } catch (...) {
    // The client cannot receive exceptions, not even its own.
  }
}

void* FramePointer(const void* frame) noexcept {
  return FieldAt<void*>(frame, 0);
}
int FrameLineSize(const void* frame) noexcept {
  return FieldAt<std::int32_t>(frame, 64);
}
int FrameWidth(const void* frame) noexcept {
  return FieldAt<std::int32_t>(frame, 104);
}
int FrameHeight(const void* frame) noexcept {
  return FieldAt<std::int32_t>(frame, 108);
}

}  // namespace ztlib
