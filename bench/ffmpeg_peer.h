#pragma once

#include "tests/kit/bytes.h"

#include <cstddef>
#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
}

// FFmpeg's encoder or decoder on one thread. Its quantiser 4 gives a JPEG stream of about the size
// that quality 75 has.
struct FfmpegPeer {
  FfmpegPeer(const AVCodec* codec, int width, int height) : context(avcodec_alloc_context3(codec)) {
    context->width = width;
    context->height = height;
    context->pix_fmt = codec->id == AV_CODEC_ID_MJPEG ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_YUV420P;
    context->time_base = {1, 25};
    context->thread_count = 1;
    context->gop_size = 600;
    context->flags |= AV_CODEC_FLAG_QSCALE;
    context->global_quality = 4 * FF_QP2LAMBDA;
    avcodec_open2(context, codec, nullptr);
  }
  ~FfmpegPeer() {
    av_packet_free(&packet);
    avcodec_free_context(&context);
  }
  FfmpegPeer(const FfmpegPeer&) = delete;
  FfmpegPeer& operator=(const FfmpegPeer&) = delete;

  // The packet's size, 0 for a failure.
  int Encode(const AVFrame* picture) {
    if (avcodec_send_frame(context, picture) != 0 || avcodec_receive_packet(context, packet) != 0)
      return 0;
    const int size = packet->size;
    av_packet_unref(packet);
    return size;
  }

  // The planes of a picture in UYVY; the caller frees them.
  [[nodiscard]] AVFrame* Planes(const kit::Bytes& uyvy) const {
    AVFrame* picture = av_frame_alloc();
    picture->format = context->pix_fmt;
    picture->width = context->width;
    picture->height = context->height;
    picture->quality = context->global_quality;
    av_frame_get_buffer(picture, 0);
    const std::uint8_t* pixel = uyvy.data();
    for (int y = 0; y < picture->height; ++y)
      for (int x = 0; x < picture->width; ++x, pixel += 2) {
        const int plane = 1 + x % 2;
        picture->data[0][y * picture->linesize[0] + x] = pixel[1];
        picture->data[plane][y / 2 * picture->linesize[plane] + x / 2] = pixel[0];
      }
    return picture;
  }

  AVCodecContext* context;
  AVPacket* packet = av_packet_alloc();
};
