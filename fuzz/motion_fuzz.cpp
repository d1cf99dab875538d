#include "fuzz/require.h"
#include "include/ztlib.h"
#include "main/lib/base/cdata/HAData.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace {

using Bytes = std::span<const std::uint8_t>;

struct Frame {
  std::uint8_t* data;
  char unread[96];
  std::int32_t width;
  std::int32_t height;
};

void* AllocateFrame(int width, int height, int) {
  return new Frame{new std::uint8_t[static_cast<std::size_t>(width) * height], {}, width, height};
}
void ReleaseFrame(void* frame) {
  delete[] static_cast<Frame*>(frame)->data;
  delete static_cast<Frame*>(frame);
}

template <class T>
T Take(Bytes& input) {
  T value{};
  const std::size_t count = std::min(sizeof value, input.size());
  std::memcpy(&value, input.data(), count);
  input = input.subspan(count);
  return value;
}

struct Output {
  int calls = 0;
  CData tree;
};

// Whatever was configured, a result has all of its keys or is nearly empty, and every bitmap is
// that of the picture.
void CheckResult(const CData& tree, bool signal) {
  if (tree.Count() == 0) return Require(!signal);
  const CData& motions = tree.Child(Tok::Motions);
  if (tree.Count() == 1) return Require(motions.Count() == 0);
  Require(motions.Count() >= 1 && motions.Count() <= 8);
  Require(tree.GetDouble(Tok::AlarmPercent, -1) >= 0);
  Require(tree.GetDouble(Tok::DetectPercent, -1) >= 0);
  const CData& resolution = tree.Child(Tok::Resolution);
  const int pixels = resolution.GetInt(Tok::Width, -1) * resolution.GetInt(Tok::Height, -1);
  for (const CDataElement& element : motions.Elements()) {
    const CBinData& blob = *element.value.GetNode()->At(0).value.GetBinary();
    Require(blob.Size() == static_cast<std::size_t>(pixels / 8 + 48));
  }
}

void Detect(void* context, int format, int width, int height, std::uint8_t seed,
            std::int64_t time) {
  constexpr int sampleSizes[] = {1, 1, 4, 4, 4, 4, 1, 4, 384};
  const int side = format == ZTLIB_YUV420BLOCK ? 16 : 2;  // a multiple of every other sample
  if (format != ZTLIB_GRAY) {
    width = width / side * side;
    height = height / side * side;
  }
  auto* const frame = new Frame{nullptr, {}, width, height};
  const int samples = format == ZTLIB_YUV420BLOCK ? width * height / 256 : width * height;
  const std::size_t size = static_cast<std::size_t>(samples * sampleSizes[format]);
  frame->data = new std::uint8_t[size];
  for (std::size_t i = 0; i < size; ++i)
    frame->data[i] = static_cast<std::uint8_t>(seed < 200 ? seed : (i * seed) >> 3);
  void* const image = ztlib_ztimage_create_avframe(format, frame);
  Output output;
  const bool signal = ztlib_simplemotion_detect(
      context, &output,
      [](void* user, const void* data, std::uint32_t bytes) {
        auto& self = *static_cast<Output*>(user);
        ++self.calls;
        ParseTagged(self.tree, data, bytes);
      },
      image, time);
  Require(output.calls == 1);
  CheckResult(output.tree, signal);
  ztlib_ztimage_destroy(image);
}

}  // namespace

// Steps, one behind the other: a configuration with an arbitrary block and size, or a burst of
// frames of one size with a seed for their pixels, a time and a step in time.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ztlib_registerAVFrameMgr(AllocateFrame, ReleaseFrame, nullptr, 0);
  void* const context = ztlib_simplemotion_create();
  Bytes rest(data, size);
  for (int steps = 0; !rest.empty() && steps < 8; ++steps) {
    const auto choice = Take<std::uint8_t>(rest);
    const int width = Take<std::uint8_t>(rest) % 72;
    const int height = Take<std::uint8_t>(rest) % 40;
    if (choice >= 128) {
      const std::size_t length = std::min<std::size_t>(Take<std::uint16_t>(rest), rest.size());
      const ztlib_blob config{rest.data(), length};
      ztlib_simplemotion_configure(context, &config, choice == 255 ? -width : width, height);
      rest = rest.subspan(length);
    } else {
      const auto seed = Take<std::uint8_t>(rest);
      const auto step = static_cast<std::uint64_t>(Take<std::int16_t>(rest));
      auto time = Take<std::uint64_t>(rest);
      for (int frames = choice / 9 * 3; frames >= 0; --frames, time += step)
        Detect(context, choice % 9, width, height, static_cast<std::uint8_t>(seed + frames % 3),
               static_cast<std::int64_t>(time));
    }
  }
  ztlib_simplemotion_destroy(context);
  return 0;
}
