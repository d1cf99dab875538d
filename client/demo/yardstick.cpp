#include "client/demo/yardstick.h"

#include "client/console.h"
#include "client/interrupt.h"
#include "client/progress_bar.h"
#include "client/scaler.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

constexpr char failure[] = "cannot code for comparison";

class CStandardEncoder {
 public:
  CStandardEncoder(const ztlib::EncoderSettings& settings, AVRational frameRate,
                   double bitsPerSecond) {
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
    codec->bit_rate = std::max(std::int64_t{1000}, static_cast<std::int64_t>(bitsPerSecond));
    codec->gop_size = settings.keyInterval;
    codec->max_b_frames = 0;
    codec->thread_count = 1;
    AVDictionary* options = nullptr;
    if (isH264) {
      av_dict_set(&options, "preset", "veryfast", 0);
      av_dict_set(&options, "tune", "zerolatency", 0);
    }
    const int result = avcodec_open2(codec.get(), encoder, &options);
    av_dict_free(&options);
    AvCheck(result, failure);
  }

  [[nodiscard]] AVCodecID Id() const { return codec->codec_id; }
  [[nodiscard]] const char* Name() const { return isH264 ? "H.264" : "MPEG-4"; }
  [[nodiscard]] const char* Settings() const {
    return isH264 ? "H.264 of libx264, preset veryfast without delay" : "MPEG-4 of FFmpeg";
  }
  // Each picture becomes a packet at once, valid until the next call.
  [[nodiscard]] const AVPacket& Encode(const AVFrame& picture) {
    AvCheck(avcodec_send_frame(codec.get(), &picture), failure);
    AvCheck(avcodec_receive_packet(codec.get(), packet.get()), failure);
    return *packet;
  }

 private:
  CodecPtr codec;
  PacketPtr packet = NewPacket();
  bool isH264 = false;
};

class CStandardDecoder {
 public:
  explicit CStandardDecoder(AVCodecID id) {
    const AVCodec* decoder = avcodec_find_decoder(id);
    if (!decoder) throw CError("FFmpeg has no decoder for comparison");
    codec = NewCodec(decoder);
    codec->thread_count = 1;
    codec->flags |= AV_CODEC_FLAG_LOW_DELAY;
    AvCheck(avcodec_open2(codec.get(), decoder, nullptr), failure);
  }

  [[nodiscard]] const AVFrame& Decode(const AVPacket& packet) {
    AvCheck(avcodec_send_packet(codec.get(), &packet), failure);
    AvCheck(avcodec_receive_frame(codec.get(), picture.get()), failure);
    // Not every stream says so.
    picture->color_range = AVCOL_RANGE_JPEG;
    picture->colorspace = AVCOL_SPC_BT470BG;
    return *picture;
  }

 private:
  CodecPtr codec;
  FramePtr picture = NewFrame();
};

// `bytes` is what all frames together shall take.
CCoding Measure(IPictureSource& source, const CCoder& coder, std::int64_t frames, double bytes) {
  constexpr int mostTicks = 60000;  // per second, of MPEG-4
  const ztlib::EncoderSettings& settings = coder.Settings();
  const CSize size{settings.width, settings.height}, scaled = coder.Scaled();
  const AVRational frameRate = av_d2q(av_q2d(source.FrameRate()), mostTicks);
  CStandardEncoder encoder(settings, frameRate, 8 * bytes / double(frames) * av_q2d(frameRate));
  CStandardDecoder decoder(encoder.Id());
  CScaler toPlanes;
  CPacker reference(ZTLIB_YUV, size, scaled), packer(ZTLIB_YUV, size, size);
  // FFmpeg's conversion to RGB is no subject here.
  CStage convert{"convert"}, encode{"encode"}, decodeRgb{"decode to RGB"},
      decodeYuv{"decode to YUV"};
  CCoding result;
  result.name = encoder.Name();
  result.settings = encoder.Settings();
  result.width = size.width;
  result.height = size.height;
  CProgressBar progress(encoder.Name());
  const FramePtr picture = NewFrame();
  for (std::int64_t i = 0; i < frames && source.Next(*picture); ++i) {
    ThrowIfInterrupted();
    FramePtr planes = NewFrame();
    AvCheck(av_frame_ref(planes.get(), &convert.Run([&]() -> const AVFrame& {
              return toPlanes.Convert(*picture, AV_PIX_FMT_YUV420P, scaled.width, scaled.height);
            })),
            failure);
    planes->format = AV_PIX_FMT_YUV420P;
    planes->width = size.width;
    planes->height = size.height;
    planes->pts = i;
    planes->pict_type = AV_PICTURE_TYPE_NONE;
    const AVPacket& packet =
        encode.Run([&]() -> const AVPacket& { return encoder.Encode(*planes); });
    const AVFrame& decoded =
        decodeYuv.Run([&]() -> const AVFrame& { return decoder.Decode(packet); });
    const CPictureError loss =
        Compare(FrameOf(reference.Pack(*picture)), FrameOf(packer.Pack(decoded)));
    result.error += loss;
    result.frames.push_back(
        {static_cast<std::uint32_t>(packet.size), 0, 0, loss.luma.Psnr(), loss.chroma.Psnr()});
    progress.Show(i + 1, double(i + 1) / double(frames));
  }
  if (static_cast<std::int64_t>(result.frames.size()) != frames)
    throw CError("the clip has changed");
  result.stages = {convert, encode, decodeRgb, decodeYuv};
  return result;
}

}  // namespace

std::optional<CCoding> MeasureYardstick(const OpenPictures& open, const CCoder& coder,
                                        const CCoding& coding) {
  constexpr double tolerance = 0.05;
  const auto frames = static_cast<std::int64_t>(coding.frames.size());
  const auto wanted = static_cast<double>(coding.Bytes());
  try {
    CCoding result = Measure(*open(), coder, frames, wanted);
    // In a short clip an encoder misses its bit rate, so it is aimed once more.
    const double ratio = double(result.Bytes()) / wanted;
    if (std::abs(ratio - 1) > tolerance) result = Measure(*open(), coder, frames, wanted / ratio);
    return result;
  } catch (const CInterrupted&) {
    return std::nullopt;
  } catch (const CError& error) {
    Complain(std::string("the report is without a comparison with FFmpeg: ") + error.what());
    return std::nullopt;
  }
}
