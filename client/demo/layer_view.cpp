#include "client/demo/layer_view.h"

CLayerView::CLayerView(CMomentMaker& momentMaker, COutputs& outputs, const std::string& path,
                       const CCoder& coder)
    : pictures(momentMaker), playback(outputs, "Layered", path) {
  ztlib::EncoderSettings settings = coder.Settings();
  settings.videoFormat = ZTLIB_VIDEO_LAYERED;
  const CSize step = StepsOf(settings.videoFormat);
  settings.width -= settings.width % step.width;
  settings.height -= settings.height % step.height;
  if (settings.width == 0 || settings.height == 0) return;
  layered.emplace(settings, coder.Scaled());
  packer.emplace(ZTLIB_YUV, CSize{settings.width, settings.height}, coder.Scaled());
}

void CLayerView::Add(std::int64_t index, const AVFrame& picture, bool isShown) {
  if (!layered) return;
  layered->Code(picture);
  const ztlib::Image source = packer->Pack(picture);
  const auto show = [&](std::size_t i, std::size_t size, const AVFrame& whole,
                        const AVFrame& small) {
    shown.cuts[i].bytes = size;
    shown.cuts[i].jpeg = pictures.Overview(whole);
    shown.scales[i].width = small.width;
    shown.scales[i].height = small.height;
    shown.scales[i].jpeg = pictures.Overview(small);
  };
  if (isShown) shown.index = index;
  const auto records = ztlib::SplitLayers(layered->Coded());
  for (std::size_t i = 0; i < cutCount; ++i) {
    std::vector<std::uint8_t> cut = JoinWholeFrame(std::span(records).first(i + 1));
    bytes[i] += cut.size();
    errors[i] += Compare(FrameOf(source), FrameOf(toYuv.Decode(cut))).luma;
    const AVFrame& small =
        decode[i].Run([&]() -> const AVFrame& { return FrameOf(scaled[i].Decode(cut)); });
    if (isShown) show(i, cut.size(), FrameOf(toRgb.Decode(cut)), small);
  }
  playback.Add(layered->Coded(), FrameOf(source));
  if (isShown) show(cutCount, layered->Coded().size(), playback.Rgb(), playback.Rgb());
}

std::optional<CLayerPictures> CLayerView::Finish() {
  if (!layered) {
    playback.Close();
    return std::nullopt;
  }
  shown.coding = playback.Finish(*layered);
  const double all = double(shown.coding.Bytes());
  for (std::size_t i = 0; i < cutCount; ++i) {
    shown.cuts[i].share = double(bytes[i]) / all;
    shown.cuts[i].lumaPsnr = errors[i].Psnr();
    shown.scales[i].seconds = decode[i].SecondsPerRun();
  }
  shown.cuts.back().share = 1;
  shown.cuts.back().lumaPsnr = shown.coding.error.luma.Psnr();
  shown.scales.back().seconds = shown.coding.Seconds(stageDecodeRgb);
  return std::move(shown);
}
