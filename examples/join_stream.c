/* join_stream RECORDING.zts FIRST LOST: joins differential video at frame FIRST and loses frame LOST.
 * A client does not know whether later frames need those that it has missed. So it waits for the
 * next key frame, from which on its pictures are those of one that has seen all. */
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

typedef struct {
  void *decoder, *image;
} viewer;
static viewer open_viewer(void) {
  viewer v = {ztlib_decoder_create(ZTLIB_VIDEO_MJPEGDIFF), ztlib_ztimage_create()};
  ztlib_decoder_config(v.decoder, &(ztlib_blob){"I\13PixelFormat\4\0\0\0\3\0\0\0", 22});
  return v;
}
static const frame* show(viewer* v, void* data, uint32_t size) {
  ztlib_decoder_process(&v->decoder, v->image, data, size);
  return ztlib_ztimage_get_avframe(v->image);
}
static void close_viewer(viewer* v) {
  ztlib_decoder_destroy(&v->decoder);
  ztlib_ztimage_destroy(v->image);
}

int main(int count, char** arguments) {
  FILE* file = count == 4 ? fopen(arguments[1], "rb") : NULL;
  if (!file) return 1;
  ztlib_registerAVFrameMgr(allocate, free, NULL, 0);
  viewer all = open_viewer(), late = open_viewer();
  uint32_t head[2]; /* the second number is the size of the frame in bytes */
  for (int i = 0, waits = 1; fread(head, 8, 1, file) == 1 && head[1] >= 64; ++i) {
    int32_t n, type;
    void* data = malloc(head[1]);
    if (!data || fseek(file, -8, SEEK_CUR) || fread(data, head[1], 1, file) != 1) return 1;
    ztlib_getFrameInfo2(data, head[1], &n, &n, &n, &n, &n, &type, NULL, NULL);
    const frame* whole = show(&all, data, head[1]);
    const int arrives = i >= atoi(arguments[2]) && i != atoi(arguments[3]);
    waits = !arrives || (waits && type != 0);
    const frame* f = waits ? NULL : show(&late, data, head[1]);
    const int same = f && !memcmp(f->data, whole->data, (size_t)4 * f->width * f->height);
    printf("%d %s\n", i, !arrives ? "missed" : waits ? "waits" : same ? "same" : "differs");
    free(data);
  }
  close_viewer(&all), close_viewer(&late);
}
