#include "client/picture_file.h"

void CPictureCoder::Open(AVPixelFormat format, int width, int height) {
  if (codec && codec->pix_fmt == format && codec->width == width && codec->height == height) return;
  const bool isPng = kind == EKind::png;
  const AVCodec* encoder = avcodec_find_encoder(isPng ? AV_CODEC_ID_PNG : AV_CODEC_ID_MJPEG);
  if (!encoder) throw CError(isPng ? "FFmpeg has no PNG encoder" : "FFmpeg has no JPEG encoder");
  codec = NewCodec(encoder);
  codec->width = width;
  codec->height = height;
  codec->pix_fmt = format;
  codec->time_base = {1, 25};
  codec->color_range = AVCOL_RANGE_JPEG;
  codec->sample_aspect_ratio = {1, 1};
  codec->flags |= AV_CODEC_FLAG_QSCALE;
  codec->global_quality = 2 * FF_QP2LAMBDA;
  // One picture in, one file out.
  codec->thread_count = 1;
  AvCheck(avcodec_open2(codec.get(), encoder, nullptr), "cannot code a picture");
}

std::span<const std::uint8_t> CPictureCoder::Code(const AVFrame& picture) {
  AVPixelFormat format = AV_PIX_FMT_YUVJ444P;
  AVPixelFormat planes = AV_PIX_FMT_YUV444P;
  if (kind == EKind::png)
    format = planes = picture.format == AV_PIX_FMT_GRAY8 ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_RGB24;
  Open(format, picture.width, picture.height);
  FramePtr shown = NewFrame();
  AvCheck(
      av_frame_ref(shown.get(), &scaler.Convert(picture, planes, picture.width, picture.height)),
      "cannot code a picture");
  shown->format = format;
  shown->pts = ++pictures;
  shown->quality = codec->global_quality;
  AvCheck(avcodec_send_frame(codec.get(), shown.get()), "cannot code a picture");
  av_packet_unref(packet.get());
  AvCheck(avcodec_receive_packet(codec.get(), packet.get()), "cannot code a picture");
  return {packet->data, static_cast<std::size_t>(packet->size)};
}
