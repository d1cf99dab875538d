#include "bench/wall/stream.h"

#include "client/layered/layered_encoder.h"
#include "client/scaler.h"
#include "tests/kit/codec.h"

#include <numeric>
#include <utility>

namespace {

constexpr int quality = 75;
constexpr int peerQuality = FF_QP2LAMBDA * 4;  // streams of about the same size

// A frame of plain video is a JPEG file behind this header.
constexpr std::ptrdiff_t headerSize = 112;

class CPeerEncoder {
 public:
  CPeerEncoder(int width, int height) : codec(NewCodec(avcodec_find_encoder(AV_CODEC_ID_MPEG4))) {
    codec->width = width;
    codec->height = height;
    codec->pix_fmt = AV_PIX_FMT_YUV420P;
    codec->time_base = {1, 25};
    codec->gop_size = 60;
    codec->flags |= AV_CODEC_FLAG_QSCALE;
    codec->global_quality = peerQuality;
    AvCheck(avcodec_open2(codec.get(), nullptr, nullptr), "MPEG-4");
  }
  [[nodiscard]] kit::Bytes Encode(AVFrame& picture) {
    picture.pts = pictures++;
    picture.pict_type = AV_PICTURE_TYPE_NONE;
    picture.quality = peerQuality;
    AvCheck(avcodec_send_frame(codec.get(), &picture), "MPEG-4");
    AvCheck(avcodec_receive_packet(codec.get(), packet.get()), "MPEG-4");
    kit::Bytes bytes(packet->data, packet->data + packet->size);
    av_packet_unref(packet.get());
    return bytes;
  }

 private:
  CodecPtr codec;
  PacketPtr packet = NewPacket();
  std::int64_t pictures = 0;
};

double MeanBytes(const std::vector<kit::Bytes>& all) {
  return std::accumulate(
             all.begin(), all.end(), 0.0,
             [](double sum, const kit::Bytes& one) { return sum + double(one.size()); }) /
         double(all.size());
}

}  // namespace

std::string CStream::Name() const {
  const char* const kind = video == ZTLIB_VIDEO_MJPEG       ? "mjpeg"
                           : video == ZTLIB_VIDEO_MJPEGDIFF ? "mjpegdiff"
                                                            : "layereddiff";
  return std::string(kind) + " " + std::to_string(width) + "x" + std::to_string(height);
}
double CStream::FrameBytes() const {
  return MeanBytes(frames);
}
double CStream::PacketBytes() const {
  return MeanBytes(packets);
}

CStream EncodeStream(IPictureSource& source, std::size_t count, int video, int width, int height) {
  CStream stream{.video = video, .width = width, .height = height, .frames = {}, .packets = {}};
  kit::Encoder encoder(video == ZTLIB_VIDEO_LAYEREDDIFF ? ZTLIB_VIDEO_MJPEG : video);
  encoder.Configure(
      kit::Config().Int("Width", width).Int("Height", height).Int("JPEGQuality", quality));
  CLayeredSettings settings;
  settings.isDifferential = true;
  CLayeredEncoder layered(settings);
  CPeerEncoder peer(width, height);
  CScaler scaler, planar;
  const FramePtr picture = NewFrame();
  while (stream.frames.size() < count && source.Next(*picture)) {
    if (video == ZTLIB_VIDEO_LAYEREDDIFF) {
      const AVFrame& planes = planar.Convert(*picture, AV_PIX_FMT_YUV420P, width, height);
      stream.frames.push_back(
          layered.Encode({width,
                          height,
                          {planes.data[0], planes.data[1], planes.data[2]},
                          {planes.linesize[0], planes.linesize[1], planes.linesize[2]}}));
    } else {
      const AVFrame& packed = scaler.Convert(*picture, AV_PIX_FMT_UYVY422, width, height);
      kit::Bytes pixels;
      for (int y = 0; y < height; ++y) {
        const std::uint8_t* const row = packed.data[0] + std::ptrdiff_t{y} * packed.linesize[0];
        pixels.insert(pixels.end(), row, row + std::ptrdiff_t{2} * width);
      }
      stream.frames.push_back(
          encoder.Process(kit::NewImage(ZTLIB_UYVY, width, height, pixels).get()));
    }
    if (video == ZTLIB_VIDEO_MJPEG) {
      const kit::Bytes& frame = stream.frames.back();
      stream.packets.emplace_back(frame.begin() + headerSize, frame.end());
    } else {
      const FramePtr copy(
          av_frame_clone(&planar.Convert(*picture, AV_PIX_FMT_YUV420P, width, height)));
      stream.packets.push_back(peer.Encode(*copy));
    }
  }
  if (stream.frames.empty()) throw CError(source.Name() + ": no picture in it");
  for (kit::Bytes& packet : stream.packets)
    packet.resize(packet.size() + AV_INPUT_BUFFER_PADDING_SIZE);
  return stream;
}
