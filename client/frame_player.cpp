#include "client/frame_player.h"

#include "client/console.h"
#include "client/failure_text.h"
#include "client/interrupt.h"

#include <cinttypes>

namespace {

constexpr std::int64_t maxComplaints = 10;
// A recording may have one key frame alone, and must not be kept in memory.
constexpr std::size_t maxSkippedBytes = 64 << 20;

}  // namespace

std::optional<CCodedFrame> CFramePlayer::Next() {
  if (Interrupted()) return std::nullopt;
  const std::optional<CCodedFrame> frame = reader.Next();
  if (frame) ++frames;
  return frame;
}

void CFramePlayer::Skip(const CCodedFrame& frame, const CFrameHeader& header) {
  if (!header.IsDifferential()) ForgetSkipped();
  skipped.emplace_back(frame.bytes.begin(), frame.bytes.end());
  skippedBytes += frame.bytes.size();
  if (skippedBytes > maxSkippedBytes) DecodeSkipped();
}

void CFramePlayer::DecodeSkipped() {
  for (ztlib::Bytes& frame : skipped)
    try {
      decoder.Decode(frame);
    } catch (const ztlib::Error&) {  // nobody wants to see it
    }
  ForgetSkipped();
}

void CFramePlayer::ForgetSkipped() {
  skipped.clear();
  skippedBytes = 0;
}

const AVFrame* CFramePlayer::Decode(const CCodedFrame& frame, const CFrameHeader& header) {
  header.IsDifferential() ? DecodeSkipped() : ForgetSkipped();
  if (!decoder.Accepts(header)) {
    ++baseless;
    return nullptr;
  }
  try {
    const AVFrame& picture =
        decode.Run([&]() -> const AVFrame& { return FrameOf(decoder.Decode(frame.bytes)); });
    ++pictures;
    return &picture;
  } catch (const ztlib::Error& error) {
    if (++damaged <= maxComplaints)
      Complain(Text("frame %" PRId64 " at offset %" PRIu64 " cannot be decoded: ", frame.index,
                    frame.offset) +
               ReasonFor(frame, error));
    return nullptr;
  }
}

// A frame may fail for what was asked of it.
std::string CFramePlayer::ReasonFor(const CCodedFrame& frame, const ztlib::Error& error) const {
  const bool isPaired = settings.pixelFormat == ZTLIB_YUYV || settings.pixelFormat == ZTLIB_UYVY;
  const int width = ReadFrameHeader(frame.bytes).width / settings.scaleDown;
  if (isPaired && width > 0 && width % 2 != 0)
    return Text("a width of %d has no whole pairs of pixels, use rgb, yuv or gray", width);
  return WhyNotDecoded(frame.bytes, error);
}

void CFramePlayer::Complain(const std::string& text) const {
  ::Complain(path + ": " + text);
}

void CFramePlayer::Close() const {
  if (damaged > maxComplaints)
    Complain("and " + CountText(damaged - maxComplaints, "more damaged frame"));
  if (baseless > 0)
    Complain(CountText(baseless, "frame") + " left out for want of a key frame before");
  if (reader.Damage())
    Complain(
        Text("offset %" PRIu64 ": %s", reader.Damage()->offset, reader.Damage()->text.c_str()));
  else if (frames == 0 && !Interrupted())
    throw CError(path + ": no frame in it");
}
