#include <stdio.h>
#include <stdlib.h>
#include <string.h>
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

/* Named numbers; a zero byte ends them. */
typedef struct {
  uint8_t bytes[200];
  size_t size;
} settings;

static void set(settings* s, const char* name, uint32_t value) {
  const uint8_t length = (uint8_t)strlen(name), kind[] = {'I', length};
  const uint8_t number[] = {4, 0, 0, 0, value, value >> 8, value >> 16, value >> 24};
  memcpy(s->bytes + s->size, kind, 2);
  memcpy(s->bytes + s->size + 2, name, length);
  memcpy(s->bytes + s->size + 2 + length, number, 8);
  s->size += 10 + length;
}

static void decode(void* image, const void* data, uint32_t size) {
  settings rgb = {0};
  set(&rgb, "PixelFormat", ZTLIB_RGB);
  const ztlib_blob config = {rgb.bytes, rgb.size + 1};
  void* decoder = ztlib_decoder_create(ZTLIB_VIDEO_MJPEG);
  ztlib_decoder_config(decoder, &config);
  ztlib_decoder_process(&decoder, image, (void*)data, size);
  ztlib_decoder_destroy(&decoder);
}

int main(void) {
  settings pictures = {0};
  set(&pictures, "Width", 64);
  set(&pictures, "Height", 48);
  const ztlib_blob config = {pictures.bytes, pictures.size + 1};
  ztlib_registerAVFrameMgr(allocate, free, NULL, 0);
  void* picture = ztlib_ztimage_create_avframe(ZTLIB_YUV, allocate(64, 48, ZTLIB_YUV));
  void* encoder = ztlib_encoder_create(ZTLIB_VIDEO_MJPEG);
  ztlib_encoder_config(encoder, &config);
  ztlib_encoder_process(encoder, picture, decode, picture, 1); /* there and back again */
  const frame* f = ztlib_ztimage_get_avframe(picture);
  const uint8_t* p = f->data;
  printf("%d x %d, first pixel %d %d %d\n", f->width, f->height, p[2], p[1], p[0]);
  ztlib_encoder_destroy(&encoder);
  ztlib_ztimage_destroy(picture);
}
