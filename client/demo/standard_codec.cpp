#include "client/demo/standard_codec.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/opt.h>
}

namespace {

constexpr char failure[] = "cannot code for comparison";

}  // namespace

CStandardEncoder::CStandardEncoder(const ztlib::EncoderSettings& settings, AVRational frameRate) {
  const AVCodec* encoder = avcodec_find_encoder_by_name("libx264");
  isH264 = encoder != nullptr;
  if (!encoder) encoder = avcodec_find_encoder(AV_CODEC_ID_MPEG4);
  if (!encoder) throw CError("FFmpeg has no encoder for comparison");
  codec = NewCodec(encoder);
  codec->width = settings.width;
  codec->height = settings.height;
  codec->pix_fmt = AV_PIX_FMT_YUV420P;
  codec->color_range = AVCOL_RANGE_JPEG;
  codec->colorspace = AVCOL_SPC_BT470BG;
  codec->framerate = frameRate;
  codec->time_base = av_inv_q(frameRate);
  codec->gop_size = settings.keyInterval;
  codec->max_b_frames = 0;
  codec->thread_count = 1;
  AVDictionary* options = nullptr;
  if (isH264) {
    av_dict_set(&options, "preset", "veryfast", 0);
    av_dict_set(&options, "tune", "zerolatency", 0);
    // Each picture has its own.
    av_dict_set(&options, "crf", "23", 0);
  } else {
    codec->flags |= AV_CODEC_FLAG_QSCALE;
  }
  const int result = avcodec_open2(codec.get(), encoder, &options);
  av_dict_free(&options);
  AvCheck(result, failure);
}

const AVPacket& CStandardEncoder::Encode(AVFrame& planes, double quantizer) {
  if (isH264) {
    AvCheck(av_opt_set_double(codec->priv_data, "crf", quantizer, 0), failure);
  } else {
    // MPEG-4 has 1 to 31, where twice as much means twice the error.
    const double scale = std::clamp(std::exp2((quantizer - 12) / 6), 1.0, 31.0);
    planes.quality = static_cast<int>(FF_QP2LAMBDA * scale);
  }
  AvCheck(avcodec_send_frame(codec.get(), &planes), failure);
  AvCheck(avcodec_receive_packet(codec.get(), packet.get()), failure);
  return *packet;
}

CStandardDecoder::CStandardDecoder(AVCodecID id) {
  const AVCodec* decoder = avcodec_find_decoder(id);
  if (!decoder) throw CError("FFmpeg has no decoder for comparison");
  codec = NewCodec(decoder);
  codec->thread_count = 1;
  codec->flags |= AV_CODEC_FLAG_LOW_DELAY;
  AvCheck(avcodec_open2(codec.get(), decoder, nullptr), failure);
}

const AVFrame& CStandardDecoder::Decode(const AVPacket& packet) {
  AvCheck(avcodec_send_packet(codec.get(), &packet), failure);
  AvCheck(avcodec_receive_frame(codec.get(), picture.get()), failure);
  // Not every stream says so.
  picture->color_range = AVCOL_RANGE_JPEG;
  picture->colorspace = AVCOL_SPC_BT470BG;
  return *picture;
}
