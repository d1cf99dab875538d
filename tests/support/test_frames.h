#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

// A frame manager for tests, registered for the life of the object; one object at a time. Frames
// are records with the fields that the library reads, pictures have exactly the bytes they need and
// start out filled with one value. Every frame must have come back when the object dies.
class CTestFrames {
 public:
  struct Frame {
    std::uint8_t* data;
    char unread[56];
    std::int32_t lineSize;  // 0 unless a test sets it
    char unreadEither[36];
    std::int32_t width;
    std::int32_t height;
    std::int32_t format;
  };
  static_assert(offsetof(Frame, lineSize) == 64 && offsetof(Frame, width) == 104 &&
                offsetof(Frame, height) == 108);

  // `registerManager` is either form of the registration: of the library's inside or of its export.
  template <class Register>
  explicit CTestFrames(Register registerManager, std::uint8_t fill = 0xA5) {
    allocated = released = 0;
    CTestFrames::fill = fill;
    refuse = false;
    unregister = [](void* function) {
      reinterpret_cast<Register>(function)(nullptr, nullptr, nullptr, false);
    };
    function = reinterpret_cast<void*>(registerManager);
    registerManager(Allocate, Release, nullptr, false);
  }
  ~CTestFrames() {
    EXPECT_EQ(allocated, released);
    unregister(function);
  }
  CTestFrames(const CTestFrames&) = delete;
  CTestFrames& operator=(const CTestFrames&) = delete;

  static inline std::atomic<int> allocated = 0;
  static inline std::atomic<int> released = 0;
  static inline std::atomic<bool> refuse = false;

  [[nodiscard]] static std::size_t PictureSize(int width, int height, int pixelFormat) {
    constexpr std::size_t halfBytesPerPixel[] = {2, 2, 8, 8, 4, 4, 2, 2, 3};
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
           halfBytesPerPixel[pixelFormat] / 2;
  }

  // Also for frames that a test wraps; they count as allocated.
  static Frame* Make(int width, int height, int pixelFormat) {
    const std::size_t size = PictureSize(width, height, pixelFormat);
    auto* const frame = new Frame{};
    frame->data = static_cast<std::uint8_t*>(std::malloc(size));
    frame->width = width;
    frame->height = height;
    frame->format = pixelFormat;
    if (size > 0) std::memset(frame->data, fill, size);
    ++allocated;
    return frame;
  }

  static void* Allocate(int width, int height, int pixelFormat) {
    return refuse ? nullptr : Make(width, height, pixelFormat);
  }

  static void Release(void* frame) {
    std::free(static_cast<Frame*>(frame)->data);
    delete static_cast<Frame*>(frame);
    ++released;
  }

 private:
  static inline std::atomic<std::uint8_t> fill = 0;
  void* function;
  void (*unregister)(void*);
};
