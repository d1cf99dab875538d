#include "fuzz/codec_fuzz.h"
#include "tests/kit/tree.h"

namespace {

using namespace codec_fuzz;

// After any configuration a result has all of its keys or is nearly empty, and every bitmap has the
// size of the picture.
void CheckResult(const Tree& tree, bool signal) {
  if (tree.elements.empty()) return Require(!signal);
  const Tree motions = tree.Child("Motions");
  if (tree.elements.size() == 1) return Require(motions.elements.empty());
  Require(!motions.elements.empty() && motions.elements.size() <= 8);
  Require(tree.Double("AlarmPercent") >= 0 && tree.Double("DetectPercent") >= 0);
  const Tree resolution = tree.Child("Resolution");
  const int pixels = resolution.Int("Width") * resolution.Int("Height");
  for (const Tree::Element& element : motions.elements)
    Require(Tree(element.value).Binary("Motion").size() ==
            static_cast<std::size_t>(pixels / 8 + 48));
}

void Detect(void* context, int format, int width, int height, std::uint8_t seed,
            std::int64_t time) {
  const int side = format == ZTLIB_GRAY ? 1 : format == ZTLIB_YUV420BLOCK ? 16 : 2;
  width = width / side * side;
  height = height / side * side;
  // Gray rows except the last one are padded to multiples of 4, or none is and the frame's record
  // says so.
  const bool isDense = format == ZTLIB_GRAY && seed % 2 == 1;
  const int stride = format == ZTLIB_GRAY && !isDense ? (width + 3) / 4 * 4 : width;
  Frame* const frame = FramePool::Make(width, height, format,
                                       stride > width && height > 0
                                           ? static_cast<std::size_t>((height - 1) * stride + width)
                                           : PictureSize(width, height, format));
  if (isDense) frame->lineSize = width;
  for (std::size_t i = 0; i < frame->size; ++i)
    frame->data[i] = static_cast<std::uint8_t>(seed < 200 ? seed : (i * seed) >> 3);
  const Image image(ztlib_ztimage_create_avframe(format, frame));
  Bytes result;
  const bool signal = ztlib_simplemotion_detect(context, &result, Collect, image.get(), time);
  CheckResult(Tree(result), signal);
}

}  // namespace

// The input is a series of steps: a configuration with an arbitrary block and size, or a burst of
// frames of one size with a seed for their pixels, a time and a step in time.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::unique_ptr<void, void (*)(void*)> context(ztlib_simplemotion_create(),
                                                       ztlib_simplemotion_destroy);
  Input in{{data, size}};
  for (int steps = 0; !in.rest.empty() && steps < 8; ++steps) {
    const int choice = in.Byte(), width = in.Byte() % 72, height = in.Byte() % 40;
    if (choice >= 128) {
      const Bytes block = in.Block();
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
