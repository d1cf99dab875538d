#pragma once

#include "client/text.h"

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

struct CAvDelete {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

using FramePtr = std::unique_ptr<AVFrame, CAvDelete>;
using PacketPtr = std::unique_ptr<AVPacket, CAvDelete>;
using CodecPtr = std::unique_ptr<AVCodecContext, CAvDelete>;
using ScalerPtr = std::unique_ptr<SwsContext, CAvDelete>;

// Throws "<what>: <FFmpeg's text>" for a negative result.
int AvCheck(int result, const std::string& what);

[[nodiscard]] FramePtr NewFrame();
[[nodiscard]] FramePtr NewFrame(AVPixelFormat format, int width, int height);
[[nodiscard]] PacketPtr NewPacket();
[[nodiscard]] CodecPtr NewCodec(const AVCodec* codec);
