#include "main/lib/base/frame_manager.h"

#include "main/lib/base/platform.h"

#include <atomic>
#include <cstdint>
#include <cstring>

namespace {

std::atomic<frame_manager::AllocateFunction> allocateFunction{nullptr};
std::atomic<frame_manager::ReleaseFunction> releaseFunction{nullptr};
std::atomic<frame_manager::ThirdFunction> thirdFunction{nullptr};

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

void frame_manager::Register(AllocateFunction allocate, ReleaseFunction release,
                             ThirdFunction third, bool keepExisting) noexcept {
  Replace(allocateFunction, allocate, keepExisting);
  Replace(releaseFunction, release, keepExisting);
  Replace(thirdFunction, third, keepExisting);
}

void* frame_manager::Allocate(int width, int height, int pixelFormat) {
  const AllocateFunction allocate = allocateFunction.load(std::memory_order_acquire);
  return allocate ? allocate(width, height, pixelFormat) : nullptr;
}

void frame_manager::Release(void* frame) noexcept {
  const ReleaseFunction release = releaseFunction.load(std::memory_order_acquire);
  if (!release) return;
  const CancellationPause pause;
  try {
    release(frame);
  } catch (...) {
    // The client cannot receive exceptions, not even its own.
  }
}

void* frame_manager::FirstPointer(const void* frame) noexcept {
  return FieldAt<void*>(frame, 0);
}
int frame_manager::LineSize(const void* frame) noexcept {
  return FieldAt<std::int32_t>(frame, 64);
}
int frame_manager::Width(const void* frame) noexcept {
  return FieldAt<std::int32_t>(frame, 104);
}
int frame_manager::Height(const void* frame) noexcept {
  return FieldAt<std::int32_t>(frame, 108);
}
