#include "fuzz/codec_fuzz.h"

// A block that loads is as the image says when it is saved again, but for reserved fields, slack
// and what the block had too much.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace codec_fuzz;
  GrantScreens();
  const Image holder = NewImage();
  void* const image = holder.get();
  const ztlib_blob block{data, size};
  if (ztlib_ztimage_loadFromZTMem(image, &block)) {
    Bytes saved;
    ztlib_ztimage_saveToZTMem(image, &saved, Collect);
    constexpr std::size_t formatAt = 16;
    constexpr std::size_t body = 32;
    Require(saved.size() >= body && std::memcmp(saved.data() + formatAt, data + formatAt, 12) == 0);
    // Bits behind the last pixel are not kept.
    if (saved[formatAt] != ZTLIB_BOOL8) {
      Require(size >= saved.size());
      Require(std::memcmp(saved.data() + body, data + body, saved.size() - body) == 0);
    }
    const ztlib_blob again{saved.data(), saved.size()};
    Require(ztlib_ztimage_loadFromZTMem(image, &again));
    Bytes second;
    ztlib_ztimage_saveToZTMem(image, &second, Collect);
    Require(second == saved);
  }
  return 0;
}
