#include <stdio.h>
#include <stdlib.h>
#include <ztlib.h>
typedef struct {
  void* data;
  char rest[96];
  int32_t width, height;
} frame; /* like AVFrame */
static void* allocate(int width, int height, int format) {
  frame* f = calloc(1, sizeof *f + (size_t)width * height * 4);
  if (f) *f = (frame){f + 1, {(char)format}, width, height};
  return f;
}
static void decode(void* image, const void* data, uint32_t size) {
  void* decoder = ztlib_decoder_create(ZTLIB_VIDEO_MJPEG);
  ztlib_decoder_config(decoder, &(ztlib_blob){"I\13PixelFormat\4\0\0\0\2\0\0\0", 22});
  ztlib_decoder_process(&decoder, image, (void*)data, size);
  ztlib_decoder_destroy(&decoder);
}
int main(void) {
  const char config[] = "I\5Width\4\0\0\0\100\0\0\0I\6Height\4\0\0\0\60\0\0\0";
  ztlib_registerAVFrameMgr(allocate, free, NULL, 0);
  void* picture = ztlib_ztimage_create_avframe(ZTLIB_YUV, allocate(64, 48, ZTLIB_YUV));
  void* encoder = ztlib_encoder_create(ZTLIB_VIDEO_MJPEG);
  ztlib_encoder_config(encoder, &(ztlib_blob){config, sizeof config});
  ztlib_encoder_process(encoder, picture, decode, picture, 1); /* there and back again */
  const frame* f = ztlib_ztimage_get_avframe(picture);
  const uint8_t* p = f->data;
  printf("%d x %d, first pixel %d %d %d\n", f->width, f->height, p[2], p[1], p[0]);
  ztlib_encoder_destroy(&encoder);
  ztlib_ztimage_destroy(picture);
}
