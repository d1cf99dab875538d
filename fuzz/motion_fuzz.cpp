#include "fuzz/codec_fuzz.h"

namespace {

using namespace codec_fuzz;

// After any configuration a result is a sound tree with all of its keys, or is nearly empty, and
// every bitmap has the size of the picture.
void CheckResult(const Bytes& block, bool signal) {
  const auto count = [](ztlib::ByteView node) {
    ztlib::TreeReader reader(node);
    std::size_t elements = 0;
    while (reader.Next())
      ++elements;
    Require(!reader.IsDamaged());
    return elements;
  };
  const auto find = [](ztlib::ByteView node, const char* name, char tag) {
    const auto element = ztlib::Find(node, name, tag);
    Require(element.has_value());
    return *element;
  };
  if (count(block) == 0) return Require(!signal);
  const ztlib::ByteView motions = find(block, "Motions", '@').value;
  const std::size_t areas = count(motions);
  if (count(block) == 1) return Require(areas == 0);
  Require(areas > 0 && areas <= 8);
  Require(find(block, "AlarmPercent", 'F').Double() >= 0);
  Require(find(block, "DetectPercent", 'F').Double() >= 0);
  const ztlib::ByteView resolution = find(block, "Resolution", '@').value;
  const auto pixels =
      find(resolution, "Width", 'I').Integer() * find(resolution, "Height", 'I').Integer();
  ztlib::TreeReader reader(motions);
  while (const auto area = reader.Next())
    Require(find(area->value, "Motion", 'X').value.size() ==
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
  CheckResult(result, signal);
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
