#include "main/target/windll/codec/jpeg_road.h"

#include <cstdlib>
#include <cstring>

namespace ztlib {

JpegRoad DefaultJpegRoad() {
  static const JpegRoad road = [] {
    const char* const libjpeg = std::getenv("ZTLIB_LIBJPEG");
    return libjpeg && std::strcmp(libjpeg, "1") == 0 ? JpegRoad::libjpeg : JpegRoad::own;
  }();
  return road;
}

}  // namespace ztlib
