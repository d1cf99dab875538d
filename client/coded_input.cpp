#include "client/coded_input.h"

#include <cinttypes>

CCodedInput::CCodedInput(const std::string& path, double framesPerSecond)
    : name(path), frameRate(av_d2q(framesPerSecond, 100000)), reader(path) {}

bool CCodedInput::Next(AVFrame& picture) {
  while (const std::optional<CCodedFrame> frame = reader.Next())
    try {
      const AVFrame& planes = unpacker.Unpack(FrameOf(decoder.Decode(frame->bytes)));
      av_frame_unref(&picture);
      AvCheck(av_frame_ref(&picture, &planes), name + ": cannot decode");
      timeMs = av_rescale_q(frame->index, av_inv_q(frameRate), {1, 1000});
      return true;
    } catch (const ztlib::Error&) {
      ++damagedFrames;
    }
  return false;
}

std::string CCodedInput::Damage() const {
  std::string text;
  if (damagedFrames > 0) text = CountText(damagedFrames, "frame") + " that cannot be decoded";
  if (!reader.Damage()) return text;
  return text + (text.empty() ? "" : ", ") +
         Text("offset %" PRIu64 ": %s", reader.Damage()->offset, reader.Damage()->text.c_str());
}
