#include "main/lib/imgproc/timestamper.h"

namespace ztlib {

namespace {

// From 1601 to 1970.
constexpr std::uint64_t epochDifferenceMs = 11'644'473'600'000;

const struct Load {
  Load() { RegisterTimestamper(); }
} load;

}  // namespace

FrameTime CTimestamper::FromClientTime(std::int64_t msSince1601) {
  const std::uint64_t since1970 = static_cast<std::uint64_t>(msSince1601) - epochDifferenceMs;
  return {0, 0, static_cast<std::int64_t>(since1970)};
}

std::uint64_t CTimestamper::ToClientTime(const FrameTime& time) {
  return static_cast<std::uint64_t>(time.timestampMs) + epochDifferenceMs;
}

// RegisterDeviceComponents calls this too: from a static archive the linker takes only objects that
// something refers to, and nothing else refers to this one.
void RegisterTimestamper() {
  static const ComponentRegistration<CTimestamper, CTimestamper> registration("CTimestamper");
}

}  // namespace ztlib
