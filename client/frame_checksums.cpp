#include "client/frame_checksums.h"

#include "client/damage_report.h"
#include "client/failure_text.h"
#include "client/frame.h"
#include "client/frame_file.h"
#include "client/interrupt.h"

#include <array>
#include <cinttypes>

extern "C" {
#include <libavutil/md5.h>
}

namespace {

std::string HashOf(const AVFrame& picture, std::size_t size) {
  std::array<std::uint8_t, 16> hash{};
  av_md5_sum(hash.data(), picture.data[0], size);
  std::string text;
  for (const std::uint8_t byte : hash)
    text += Text("%02x", byte);
  return text;
}

}  // namespace

int PrintFrameChecksums(const std::string& path) {
  CFrameFileReader reader(path);
  ztlib::Decoder decoder;
  CDamageReport damaged(path);
  CProgressBar progress("verify");
  std::int64_t frames = 0, pictures = 0, baseless = 0;
  while (!Interrupted()) {
    const std::optional<CCodedFrame> frame = reader.Next();
    if (!frame) break;
    progress.Show(++frames, reader.Share());
    if (!decoder.Accepts(ReadFrameHeader(frame->bytes))) {
      ++baseless;
      continue;
    }
    try {
      const AVFrame& picture = FrameOf(decoder.Decode(frame->bytes));
      if (pictures++ == 0)
        Print(Output(), Text("#format: frame checksums\n#version: 2\n#hash: MD5\n#tb 0: 1/25\n"
                             "#media_type 0: video\n#codec_id 0: rawvideo\n#dimensions 0: %dx%d\n"
                             "#sar 0: 1/1\n"
                             "#stream#, dts,        pts, duration,     size, hash\n",
                             picture.width, picture.height));
      const std::size_t size = std::size_t(picture.width) * std::size_t(picture.height) * 4;
      Print(Output(), Text("0, %10" PRId64 ", %10" PRId64 ", %8d, %8zu, %s\n", frame->index,
                           frame->index, 1, size, HashOf(picture, size).c_str()));
    } catch (const ztlib::Error& error) {
      damaged.Add(Text("frame %" PRId64 " at offset %" PRIu64 ": ", frame->index, frame->offset) +
                      WhyNotDecoded(frame->bytes, error),
                  progress);
    }
  }
  damaged.Close();
  progress.Wipe();
  if (baseless > 0)
    Complain(path + ": " + CountText(baseless, "frame") +
             " left out for want of a key frame before");
  if (reader.Damage())
    Complain(Text("%s: offset %" PRIu64 ": %s", path.c_str(), reader.Damage()->offset,
                  reader.Damage()->text.c_str()));
  else if (frames == 0 && !Interrupted())
    throw CError(path + ": no frame in it");
  return reader.Damage() || damaged.Count() + baseless > 0 ? 1 : 0;
}
