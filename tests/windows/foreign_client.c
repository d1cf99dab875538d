// A client that is built by a compiler for Microsoft's tools: it has no C runtime, only the
// library. Nothing in it could catch an exception of g++, so that one which left the library would
// end it.
#include <ztlib.h>

// The linker wants this wherever there are floats.
int _fltused = 0;

static int failures = 0;
static void count(const char* text) {
  failures += text[0] != 0;
}

// Makes each guarded export fail that can fail by what is missing.
static int failEverywhere(void) {
  static int32_t none = 0;
  static float value = 0;
  static void* nothing = 0;
  static const ztlib_blob empty = {0, 0};
  static const ztlib_blob* const layers[4] = {0, 0, 0, 0};
  ztlib_ztimage_create_avframe(9, 0);
  ztlib_ztimage_get_avframe(0);
  ztlib_ztimage_saveToZTMem(0, 0, 0);
  ztlib_ztimage_loadFromZTMem(0, 0);
  ztlib_getScaleDownByPixel3(1, 99, 1, 1);
  ztlib_encoder_config(0, 0);
  ztlib_encoder_process(0, 0, 0, 0, 0);
  ztlib_decoder_config(0, 0);
  ztlib_decoder_process(&nothing, 0, 0, 0);
  ztlib_getFrameInfo1(0, &none, &none, &none, &none, &none, &none, 0, 0);
  ztlib_getFrameInfo2(&empty, 0, &none, &none, &none, &none, &none, &none, 0, 0);
  ztlib_copyAndAddHeader(0, 0, 0, 0);
  ztlib_decomposeToLayers(0, 0, 0);
  ztlib_composeFromLayers(0, 0, layers, 4);
  ztlib_simplemotion_configure(0, 0, 0, 0);
  ztlib_simplemotion_detect(0, 0, 0, 0, 0);
  ztlib_triangulation_init(0, 0, 0, 1, 1, 1);
  ztlib_triangulation_addPoint(0, 0, 0, &value, 1);
  ztlib_triangulation_finalize(0);
  ztlib_triangulation_estimate(0, 0, 0, &value, 1);
  return failures == 20;
}

int start(void) {
  void* const image = ztlib_ztimage_create();
  const int isEmpty = image && !ztlib_ztimage_get_avframe(image);
  ztlib_ztimage_destroy(image);
  ztlib_registerExceptionHandler(count);
  // 16384 units are the width of the picture.
  return isEmpty && failEverywhere() && ztlib_getPixelXByVirtualX(8192, 640) == 320 ? 42 : 1;
}
