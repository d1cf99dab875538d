// A client that is built by a compiler for Microsoft's tools: it has no C runtime, only the library.
#include <ztlib.h>

int start(void) {
  void* const image = ztlib_ztimage_create();
  const int isEmpty = image && !ztlib_ztimage_get_avframe(image);
  ztlib_ztimage_destroy(image);
  // 16384 units are the width of the picture.
  return isEmpty && ztlib_getPixelXByVirtualX(8192, 640) == 320 ? 42 : 1;
}
