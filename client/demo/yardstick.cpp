#include "client/demo/yardstick.h"

#include "client/console.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

CYardstick::CYardstick(const CCoder& coder, AVRational sourceRate)
    : settings(coder.Settings()),
      scaled(coder.Scaled()),
      frameRate(av_d2q(av_q2d(sourceRate), mostTicks)),
      packer(ZTLIB_YUV, {settings.width, settings.height}, {settings.width, settings.height}) {}

void CYardstick::Open() {
  encoder.emplace(settings, frameRate);
  decoder.emplace(encoder->Id());
  coding = {encoder->Name(),
            std::string("for comparison: ") + encoder->Settings() +
                ", aimed at the bytes of differential video",
            settings.width, settings.height};
  // FFmpeg's conversion to RGB is no subject here.
  for (const char* stage : {"convert", "encode", "decode to RGB", "decode to YUV"})
    coding.stages.emplace_back(stage);
}

void CYardstick::Code(const AVFrame& picture, const AVFrame& reference) {
  const FramePtr planes = NewFrame();
  AvCheck(av_frame_ref(planes.get(), &coding.stages[stageConvert].Run([&]() -> const AVFrame& {
            return toPlanes.Convert(picture, AV_PIX_FMT_YUV420P, scaled.width, scaled.height);
          })),
          "cannot code for comparison");
  planes->format = AV_PIX_FMT_YUV420P;
  planes->width = settings.width;
  planes->height = settings.height;
  planes->pts = static_cast<std::int64_t>(coding.frames.size());
  planes->pict_type = AV_PICTURE_TYPE_NONE;
  const AVPacket& packet = coding.stages[stageEncode].Run(
      [&]() -> const AVPacket& { return encoder->Encode(*planes, quantizer); });
  const AVFrame& decoded = coding.stages[stageDecodeYuv].Run(
      [&]() -> const AVFrame& { return decoder->Decode(packet); });
  const CPictureError loss = Compare(reference, FrameOf(packer.Pack(decoded)));
  coding.error += loss;
  coding.frames.push_back(
      {static_cast<std::uint32_t>(packet.size), 0, 0, loss.luma.Psnr(), loss.chroma.Psnr()});
}

void CYardstick::Add(const AVFrame& picture, const AVFrame& reference, std::uint32_t bytes) {
  if (hasFailed) return;
  wanted += bytes;
  // 6 more of the quantizer mean about half the bytes.
  const auto aim = [&](double share) {
    const double excess = 6 * std::log2(double(coding.Bytes()) / double(wanted));
    quantizer = std::clamp(quantizer + share * excess, finest, coarsest);
    return excess;
  };
  try {
    if (!encoder) {
      // No picture before it tells how to code the first one.
      constexpr int mostTrials = 6;
      constexpr double tolerance = 0.5;
      for (int i = 0; i < mostTrials; ++i) {
        Open();
        Code(picture, reference);
        if (std::abs(aim(1)) < tolerance) break;
      }
      Open();
    }
    Code(picture, reference);
    // More swings, less is too late for clips of seconds.
    aim(0.3);
  } catch (const CError& error) {
    Complain(std::string("the report is without a comparison with FFmpeg: ") + error.what());
    hasFailed = true;
  }
}

std::optional<CCoding> CYardstick::Finish() {
  if (hasFailed) return std::nullopt;
  return std::move(coding);
}
