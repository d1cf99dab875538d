#pragma once

#include "bench/wall/stream.h"

#include <array>
#include <cstdint>
#include <memory>

// One camera of the wall. It belongs to one thread.
class ICamera {
 public:
  // What is done for each frame. Times are those of the processor.
  enum EStage { screen, gray, motion, stages };

  virtual ~ICamera() = default;
  // Decodes the next frame to a picture for the screen and to a small gray one, and watches that.
  virtual void Next() = 0;

  std::array<std::int64_t, stages> nanoseconds{};
  std::int64_t frames = 0;
};
using CameraPtr = std::unique_ptr<ICamera>;

// The stream outlives the camera, and belongs to the same thread: the library may write into
// frames.
[[nodiscard]] CameraPtr NewLibraryCamera(CStream& stream);
// FFmpeg's decoder on one thread, libyuv's conversions, OpenCV's MOG2.
[[nodiscard]] CameraPtr NewPeerCamera(CStream& stream);

// Adds the processor time of its life to that of a stage.
class CStageClock {
 public:
  CStageClock(ICamera& owner, ICamera::EStage measured)
      : camera(owner), stage(measured), begin(Now()) {}
  ~CStageClock() { camera.nanoseconds[stage] += Now() - begin; }
  CStageClock(const CStageClock&) = delete;
  CStageClock& operator=(const CStageClock&) = delete;

 private:
  static std::int64_t Now();
  ICamera& camera;
  ICamera::EStage stage;
  std::int64_t begin;
};

// Divides the sides of a picture so that the small one is not much wider than 320 pixels.
[[nodiscard]] constexpr int WatchedScale(int width) {
  return width >= 1280 ? 4 : width >= 640 ? 2 : 1;
}
