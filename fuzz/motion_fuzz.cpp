#include "fuzz/codec_fuzz.h"
#include "main/lib/base/cdata/HAData.h"

#include <algorithm>
#include <memory>

namespace {

using codec_fuzz::Frame;
using Input = std::span<const std::uint8_t>;

template <class T>
T Take(Input& input) {
  T value{};
  const std::size_t count = std::min(sizeof value, input.size());
  std::memcpy(&value, input.data(), count);
  input = input.subspan(count);
  return value;
}

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
  const int side = format == ZTLIB_GRAY ? 1 : format == ZTLIB_YUV420BLOCK ? 16 : 2;
  width = width / side * side;
  height = height / side * side;
  auto* const frame = static_cast<Frame*>(codec_fuzz::AllocateFrame(width, height, format));
  for (std::size_t i = 0; i < frame->memory.size(); ++i)
    frame->data[i] = static_cast<std::uint8_t>(seed < 200 ? seed : (i * seed) >> 3);
  const codec_fuzz::Image image(format, frame);
  std::vector<CData> results;
  const bool signal = ztlib_simplemotion_detect(
      context, &results,
      [](void* user, const void* data, std::uint32_t bytes) {
        ParseTagged(static_cast<std::vector<CData>*>(user)->emplace_back(), data, bytes);
      },
      image.object, time);
  Require(results.size() == 1);
  CheckResult(results[0], signal);
}

}  // namespace

// Steps, one behind the other: a configuration with an arbitrary block and size, or a burst of
// frames of one size with a seed for their pixels, a time and a step in time.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::unique_ptr<void, void (*)(void*)> context(ztlib_simplemotion_create(),
                                                       ztlib_simplemotion_destroy);
  Input rest(data, size);
  for (int steps = 0; !rest.empty() && steps < 8; ++steps) {
    const auto choice = Take<std::uint8_t>(rest);
    const int width = Take<std::uint8_t>(rest) % 72;
    const int height = Take<std::uint8_t>(rest) % 40;
    if (choice >= 128) {
      const std::size_t length = std::min<std::size_t>(Take<std::uint16_t>(rest), rest.size());
      const ztlib_blob config{rest.data(), length};
      ztlib_simplemotion_configure(context.get(), &config, choice == 255 ? -width : width, height);
      rest = rest.subspan(length);
    } else {
      const auto seed = Take<std::uint8_t>(rest);
      const auto step = static_cast<std::uint64_t>(Take<std::int16_t>(rest));
      auto time = Take<std::uint64_t>(rest);
      for (int frames = choice / 9 * 3; frames >= 0; --frames, time += step)
        Detect(context.get(), choice % 9, width, height,
               static_cast<std::uint8_t>(seed + frames % 3), static_cast<std::int64_t>(time));
    }
  }
  return 0;
}
