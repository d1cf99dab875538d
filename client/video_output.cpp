#include "client/av_output.h"
#include "client/input_file.h"
#include "client/picture_sink.h"
#include "client/scaler.h"
#include "client/yuv_packing.h"

namespace {

class CVideoOutput : public IPictureSink {
 public:
  CVideoOutput(COutputs& outputs, const std::string& target, double framesPerSecond,
               EUnfinished unfinishedFile)
      : path(target),
        frameRate(av_d2q(framesPerSecond, 100000)),
        unfinished(unfinishedFile),
        io(outputs) {
    AVFormatContext* made = nullptr;
    avformat_alloc_output_context2(&made, nullptr, path == standardName ? "matroska" : nullptr,
                                   path.c_str());
    if (!made) throw CError(path + ": no container for that file name, try .mkv");
    output.reset(made);
    isLossless = avformat_query_codec(made->oformat, AV_CODEC_ID_FFV1, 0) == 1;
    encoder = avcodec_find_encoder(isLossless ? AV_CODEC_ID_FFV1 : made->oformat->video_codec);
    if (!encoder) throw CError(path + ": FFmpeg has no encoder for that container");
    io.Open(*made, path, unfinished);
  }

  ~CVideoOutput() override {
    // Many a container is of no use without its end.
    if (isOpen && unfinished == EUnfinished::kept) try {
        End();
      } catch (const std::exception&) {
        // The reason why it ends is on its way to the user.
      }
  }

  void Write(const AVFrame& packed, std::int64_t index) override {
    const AVFrame& picture = unpacker.Unpack(packed);
    if (!codec) Open(picture);
    FramePtr shown = NewFrame();
    AvCheck(
        av_frame_ref(shown.get(), &scaler.Convert(picture, planes, codec->width, codec->height)),
        path + ": cannot code");
    shown->format = codec->pix_fmt;
    shown->pts = index;
    Encode(shown.get());
  }

  void Close() override {
    if (!isOpen) return;
    End();
    io.Close(*output, path);
  }

 private:
  struct CFree {
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
  };

  // With the size and, if nothing is lost and as near as the codec has it, the pixel format of the
  // first picture.
  void Open(const AVFrame& first) {
    codec = NewCodec(encoder);
    codec->width = first.width;
    codec->height = first.height;
    // Most players show 4:2:0 alone where a codec loses something anyway. Only sides of even length
    // have it with every encoder.
    const bool isHalved = !isLossless && first.width % 2 == 0 && first.height % 2 == 0;
    const AVPixelFormat wanted =
        isHalved ? AV_PIX_FMT_YUV420P : static_cast<AVPixelFormat>(first.format);
    codec->pix_fmt = encoder->pix_fmts
                         ? avcodec_find_best_pix_fmt_of_list(encoder->pix_fmts, wanted, 0, nullptr)
                         : wanted;
    planes = codec->pix_fmt == AV_PIX_FMT_YUVJ420P   ? AV_PIX_FMT_YUV420P
             : codec->pix_fmt == AV_PIX_FMT_YUVJ422P ? AV_PIX_FMT_YUV422P
             : codec->pix_fmt == AV_PIX_FMT_YUVJ444P ? AV_PIX_FMT_YUV444P
                                                     : codec->pix_fmt;
    codec->time_base = av_inv_q(frameRate);
    codec->framerate = frameRate;
    codec->color_range = AVCOL_RANGE_JPEG;
    if (!(av_pix_fmt_desc_get(planes)->flags & AV_PIX_FMT_FLAG_RGB))
      codec->colorspace = AVCOL_SPC_BT470BG;
    if (output->oformat->flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AvCheck(avcodec_open2(codec.get(), encoder, nullptr), path + ": cannot code");
    AVStream* stream = avformat_new_stream(output.get(), nullptr);
    if (!stream) throw CError(path + ": no memory");
    stream->time_base = codec->time_base;
    stream->avg_frame_rate = frameRate;
    AvCheck(avcodec_parameters_from_context(stream->codecpar, codec.get()), path + ": cannot code");
    io.Check(avformat_write_header(output.get(), nullptr), path + ": cannot write");
    isOpen = true;
  }

  void End() {
    isOpen = false;
    Encode(nullptr);
    io.Check(av_write_trailer(output.get()), path + ": cannot write");
  }

  // Null ends the stream.
  void Encode(const AVFrame* picture) {
    AvCheck(avcodec_send_frame(codec.get(), picture), path + ": cannot code");
    for (;;) {
      const int result = avcodec_receive_packet(codec.get(), packet.get());
      if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
      AvCheck(result, path + ": cannot code");
      packet->duration = 1;
      av_packet_rescale_ts(packet.get(), codec->time_base, output->streams[0]->time_base);
      io.Check(av_interleaved_write_frame(output.get(), packet.get()), path + ": cannot write");
    }
  }

  std::string path;
  AVRational frameRate;
  EUnfinished unfinished;
  CAvOutput io;
  std::unique_ptr<AVFormatContext, CFree> output;
  const AVCodec* encoder = nullptr;
  CodecPtr codec;
  PacketPtr packet = NewPacket();
  AVPixelFormat planes = AV_PIX_FMT_NONE;
  CUnpacker unpacker;
  CScaler scaler;
  bool isLossless = false;
  bool isOpen = false;  // the header is written, the trailer is not
};

}  // namespace

std::unique_ptr<IPictureSink> NewVideoOutput(COutputs& outputs, const std::string& path,
                                             double framesPerSecond, EUnfinished unfinished) {
  return std::make_unique<CVideoOutput>(outputs, path, framesPerSecond, unfinished);
}
