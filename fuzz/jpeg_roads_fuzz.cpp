#include "fuzz/input.h"
#include "fuzz/jpeg_roads.h"

// Decodes the streams of an input one after the other on both roads. Each begins with how it is
// decoded, in a byte each for format and scale, size and length, as tables go from stream to stream.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in{{data, size}};
  jpeg_roads::Pair roads;
  for (int streams = 0; !in.rest.empty() && streams < 8; ++streams) {
    const std::uint8_t how = in.Byte();
    const std::uint8_t sizes = in.Byte();
    const std::vector<std::uint8_t> stream = in.Block();
    roads.Compare(stream, {.format = jpeg_roads::formats[how % 5],
                           .scale = 1U << (how / 5 % 4),
                           .swapRgb = how / 20 % 2 != 0,
                           .wider = sizes % 16 - 8,
                           .higher = sizes / 16 - 8});
  }
  return 0;
}
