#include "bench/wall/camera.h"
#include "client/av.h"
#include "include/ztlib.h"

#include <libyuv.h>
#include <opencv2/core.hpp>
#include <opencv2/video/background_segm.hpp>

namespace {

class CPeerCamera final : public ICamera {
 public:
  explicit CPeerCamera(CStream& cameraStream)
      : stream(cameraStream),
        codec(NewCodec(avcodec_find_decoder(
            stream.video == ZTLIB_VIDEO_MJPEG ? AV_CODEC_ID_MJPEG : AV_CODEC_ID_MPEG4))),
        shown(std::size_t{4} * stream.width * stream.height),
        small(stream.height / WatchedScale(stream.width), stream.width / WatchedScale(stream.width),
              CV_8UC1) {
    codec->thread_count = 1;
    AvCheck(avcodec_open2(codec.get(), nullptr, nullptr), "decoder");
  }

  void Next() override {
    Show(stream.packets[static_cast<std::size_t>(frames) % stream.packets.size()]);
    {
      const CStageClock clock(*this, gray);
      libyuv::ScalePlane(picture->data[0], picture->linesize[0], stream.width, stream.height,
                         small.data, small.cols, small.cols, small.rows, libyuv::kFilterBox);
    }
    const CStageClock clock(*this, motion);
    background->apply(small, foreground);
    ++frames;
  }

 private:
  void Show(kit::Bytes& bytes) {
    const CStageClock clock(*this, screen);
    packet->data = bytes.data();
    packet->size = static_cast<int>(bytes.size()) - AV_INPUT_BUFFER_PADDING_SIZE;
    AvCheck(avcodec_send_packet(codec.get(), packet.get()), "decoder");
    AvCheck(avcodec_receive_frame(codec.get(), picture.get()), "decoder");
    libyuv::J420ToARGB(picture->data[0], picture->linesize[0], picture->data[1],
                       picture->linesize[1], picture->data[2], picture->linesize[2], shown.data(),
                       stream.width * 4, stream.width, stream.height);
  }

  CStream& stream;
  CodecPtr codec;
  PacketPtr packet = NewPacket();
  FramePtr picture = NewFrame();
  kit::Bytes shown;
  cv::Mat small, foreground;
  cv::Ptr<cv::BackgroundSubtractor> background = cv::createBackgroundSubtractorMOG2(500, 16, false);
};

}  // namespace

CameraPtr NewPeerCamera(CStream& stream) {
  cv::setNumThreads(1);
  return std::make_unique<CPeerCamera>(stream);
}
