#include "client/media_input.h"

#include "client/input_file.h"
#include "client/interrupt.h"
#include "client/platform.h"

#include <new>

CMediaInput::CMediaInput(const std::string& path) : name(path) {
  AVFormatContext* opened = avformat_alloc_context();
  if (!opened) throw std::bad_alloc();
  opened->interrupt_callback.callback = [](void*) { return Interrupted() ? 1 : 0; };
  const CInterruptibleWait wait;
  const int opening = avformat_open_input(&opened, name == standardName ? "pipe:0" : name.c_str(),
                                          nullptr, nullptr);
  input.reset(opened);
  const int finding = opening < 0 ? opening : avformat_find_stream_info(opened, nullptr);
  if (finding < 0) ThrowIfInterrupted();
  AvCheck(opening, name + ": cannot open");
  AvCheck(finding, name + ": cannot read");
  const AVCodec* decoder = nullptr;
  stream = AvCheck(av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0),
                   name + ": no video in it");
  AVStream* video = opened->streams[stream];
  codec = NewCodec(decoder);
  AvCheck(avcodec_parameters_to_context(codec.get(), video->codecpar), name + ": cannot decode");
  codec->pkt_timebase = video->time_base;
  AvCheck(avcodec_open2(codec.get(), decoder, nullptr), name + ": cannot decode");

  const AVRational rate = av_guess_frame_rate(opened, video, nullptr);
  if (rate.num > 0 && rate.den > 0) frameRate = rate;
  if (video->nb_frames > 0)
    count = video->nb_frames;
  else if (opened->duration > 0)
    count = av_rescale(opened->duration, frameRate.num, std::int64_t{AV_TIME_BASE} * frameRate.den);
}

bool CMediaInput::Next(AVFrame& picture) {
  for (;;) {
    const int result = avcodec_receive_frame(codec.get(), &picture);
    if (result == 0) {
      Clock(picture);
      return true;
    }
    if (result == AVERROR_EOF) return false;
    if (result == AVERROR(EAGAIN))
      Feed();
    else if (result == AVERROR_INVALIDDATA)
      ++damagedPackets;
    else
      AvCheck(result, name + ": cannot decode");
  }
}

void CMediaInput::Clock(const AVFrame& picture) {
  constexpr AVRational millisecond{1, 1000};
  const std::int64_t own = picture.best_effort_timestamp;
  const std::int64_t now =
      own == AV_NOPTS_VALUE ? firstTimeMs + av_rescale_q(pictures, av_inv_q(frameRate), millisecond)
                            : av_rescale_q(own, input->streams[stream]->time_base, millisecond);
  if (pictures++ == 0) firstTimeMs = now;
  timeMs = now - firstTimeMs;
}

std::string CMediaInput::Damage() const {
  return damagedPackets == 0 ? "" : CountText(damagedPackets, "damaged packet") + " passed over";
}

void CMediaInput::Feed() {
  do {
    av_packet_unref(packet.get());
    const CInterruptibleWait wait;
    const int result = av_read_frame(input.get(), packet.get());
    // The user wants no more of it.
    if (result == AVERROR_EOF || Interrupted()) {
      AvCheck(avcodec_send_packet(codec.get(), nullptr), name + ": cannot decode");
      return;
    }
    AvCheck(result, name + ": cannot read on");
  } while (packet->stream_index != stream);
  const int result = avcodec_send_packet(codec.get(), packet.get());
  if (result == AVERROR_INVALIDDATA)
    ++damagedPackets;
  else
    AvCheck(result, name + ": cannot decode");
}
