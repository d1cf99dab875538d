#pragma once

#include "main/lib/base/component_repository.h"

#include <cstdint>

namespace ztlib {

// When a frame was taken. The first two words are those of cameras and stay 0 here.
struct FrameTime {
  std::int64_t first = 0;
  std::int64_t second = 0;
  std::int64_t timestampMs = 0;  // since 1970-01-01 UTC
};

// Times of the client, which counts from 1601-01-01 UTC, become times of frames and again times of
// the client. A component, so that it is counted with the others.
class CTimestamper : public IComponent {
 public:
  // Both wrap, so that every time comes back as it went in.
  [[nodiscard]] static FrameTime FromClientTime(std::int64_t msSince1601);
  [[nodiscard]] static std::uint64_t ToClientTime(const FrameTime& time);
};

// At load, or earlier if asked to; a second call does nothing.
void RegisterTimestamper();

}  // namespace ztlib
