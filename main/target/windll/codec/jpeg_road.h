#pragma once

#include <cstdint>

namespace ztlib {

// Who codes sound baseline pictures, with the same result: code of this library, or libjpeg as all
// others.
enum class JpegRoad : std::uint8_t { own, libjpeg };

// libjpeg's road if ZTLIB_LIBJPEG=1 is in the environment, which is read once.
[[nodiscard]] JpegRoad DefaultJpegRoad();

}  // namespace ztlib
