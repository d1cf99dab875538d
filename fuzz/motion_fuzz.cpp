#include "fuzz/codec_fuzz.h"
#include "main/lib/base/cdata/HAData.h"

#include <memory>

using namespace ztlib;

namespace {

using codec_fuzz::Frame;

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
  // Gray rows are padded to multiples of 4 but for the last one, or dense with a record that says
  // so.
  const bool isDense = format == ZTLIB_GRAY && seed % 2 == 1;
  const int stride = format == ZTLIB_GRAY && !isDense ? (width + 3) / 4 * 4 : width;
  auto* const frame = static_cast<Frame*>(codec_fuzz::AllocateFrame(width, height, format));
  if (isDense) frame->lineSize = width;
  if (stride > width && height > 0)
    frame->Resize(static_cast<std::size_t>((height - 1) * stride + width));
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
  Input in{{data, size}};
  for (int steps = 0; !in.rest.empty() && steps < 8; ++steps) {
    const int choice = in.Byte(), width = in.Byte() % 72, height = in.Byte() % 40;
    if (choice >= 128) {
      const std::vector<std::uint8_t> block = in.Block();
      const ztlib_blob config{block.data(), block.size()};
      ztlib_simplemotion_configure(context.get(), &config, choice == 255 ? -width : width, height);
    } else {
      const std::uint8_t seed = in.Byte();
      const auto step = static_cast<std::uint64_t>(in.Take<std::int16_t>());
      auto time = in.Take<std::uint64_t>();
      for (int frames = choice / 9 * 3; frames >= 0; --frames, time += step)
        Detect(context.get(), choice % 9, width, height,
               static_cast<std::uint8_t>(seed + frames % 3), static_cast<std::int64_t>(time));
    }
  }
  return 0;
}
