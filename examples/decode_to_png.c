/* decode_to_png RECORDING.zts PREFIX: writes PREFIX0000.png and so on. Pictures are AVFrames. */
#include <libavutil/frame.h>
#include <png.h>
#include <stdlib.h>
#include <ztlib.h>

static void* allocate(int width, int height, int format) {
  static const int bits[] = {8, 8, 32, 32, 16, 16, 8, 8, 12}; /* of a pixel */
  AVFrame* frame = (int64_t)width * height > 1 << 26 ? NULL : av_frame_alloc();
  if (!frame) return NULL;
  frame->width = width, frame->height = height;
  frame->buf[0] = av_buffer_allocz((size_t)width * height * bits[format] / 8);
  if (frame->buf[0])
    frame->data[0] = frame->buf[0]->data;
  else
    av_frame_free(&frame);
  return frame;
}
static void release(void* frame) {
  av_frame_free(&(AVFrame*){frame});
}

static int failures;
static void note(const char* failure) {
  fprintf(stderr, "failed: %s\n", failure);
  ++failures;
}

static int write_png(const AVFrame* frame, const char* name) {
  png_image png = {.version = PNG_IMAGE_VERSION, .format = PNG_FORMAT_BGRA};
  const size_t pixels = (size_t)(png.width = frame->width) * (png.height = frame->height);
  /* The fourth byte of a pixel is its opacity there, and nothing in the library. */
  for (size_t i = 0; i < pixels; ++i)
    frame->data[0][4 * i + 3] = 255;
  return png_image_write_to_file(&png, name, 0, frame->data[0], 0, NULL);
}

int main(int count, char** arguments) {
  FILE* file = count == 3 ? fopen(arguments[1], "rb") : NULL;
  uint32_t head[2]; /* the second number is the size of the frame in bytes */
  void *decoder = NULL, *image = ztlib_ztimage_create();
  ztlib_registerAVFrameMgr(allocate, release, NULL, 0);
  ztlib_registerExceptionHandler(note);
  for (int i = 0; file && !failures && fread(head, 8, 1, file) == 1 && head[1] >= 64; ++i) {
    char name[4096], *frame = malloc(head[1]);
    const int whole = frame && !fseek(file, -8, SEEK_CUR) && fread(frame, head[1], 1, file) == 1;
    if (whole && !decoder) {
      decoder = ztlib_decoder_create(ztlib_getVideoFormat(&(ztlib_blob){frame, head[1]}));
      ztlib_decoder_config(decoder, &(ztlib_blob){"I\13PixelFormat\4\0\0\0\2\0\0\0", 22});
    }
    if (whole && !failures) ztlib_decoder_process(&decoder, image, frame, head[1]);
    snprintf(name, sizeof name, "%s%04d.png", arguments[2], i);
    failures += !whole || failures || !write_png(ztlib_ztimage_get_avframe(image), name);
    free(frame);
  }
  ztlib_decoder_destroy(&decoder);
  ztlib_ztimage_destroy(image);
  return !file || failures || !feof(file);
}
