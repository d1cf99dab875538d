#include "client/frame_checksums.h"

#include "client/console.h"
#include "client/frame_player.h"
#include "client/progress_bar.h"

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
  CFramePlayer player(path, {});
  CProgressBar progress("verify");
  while (const std::optional<CCodedFrame> frame = player.Next()) {
    progress.Show(player.Frames(), player.Share());
    const AVFrame* const picture = player.Decode(*frame, ReadFrameHeader(frame->bytes));
    if (!picture) continue;
    if (player.Pictures() == 1)
      Print(Output(), Text("#format: frame checksums\n#version: 2\n#hash: MD5\n#tb 0: 1/25\n"
                           "#media_type 0: video\n#codec_id 0: rawvideo\n#dimensions 0: %dx%d\n"
                           "#sar 0: 1/1\n"
                           "#stream#, dts,        pts, duration,     size, hash\n",
                           picture->width, picture->height));
    const std::size_t size = std::size_t(picture->width) * std::size_t(picture->height) * 4;
    Print(Output(), Text("0, %10" PRId64 ", %10" PRId64 ", %8d, %8zu, %s\n", frame->index,
                         frame->index, 1, size, HashOf(*picture, size).c_str()));
  }
  player.Close();
  return player.IsDamaged() || player.BaselessFrames() > 0 ? 1 : 0;
}
