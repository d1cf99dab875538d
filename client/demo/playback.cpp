#include "client/demo/playback.h"

#include <utility>

CPlayback::CPlayback(COutputs& outputs, const std::string& name, const std::string& path)
    : file(outputs, path) {
  coding.name = name;
}

void CPlayback::Add(std::span<std::uint8_t> frame, const AVFrame& reference) {
  file.Write(frame);
  rgb = &decodeRgb.Run([&]() -> const AVFrame& { return FrameOf(toRgb.Decode(frame)); });
  const AVFrame& yuv =
      decodeYuv.Run([&]() -> const AVFrame& { return FrameOf(toYuv.Decode(frame)); });
  const CPictureError loss = Compare(reference, yuv);
  coding.error += loss;
  const CFrameHeader header = ReadFrameHeader(frame);
  coding.frames.push_back({header.totalSize, header.blockCount, header.frameType, loss.luma.Psnr(),
                           loss.chroma.Psnr()});
}

CCoding CPlayback::Finish(const CCoder& coder) {
  file.Close();
  coding.width = coder.Settings().width;
  coding.height = coder.Settings().height;
  coding.stages = {coder.convert, coder.encode, decodeRgb, decodeYuv};
  return std::move(coding);
}
