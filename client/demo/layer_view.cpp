#include "client/demo/layer_view.h"

CLayerView::CLayerView(CMomentMaker& momentMaker, COutputs& outputs, const std::string& path,
                       const CCoder& coder)
    : pictures(momentMaker), file(outputs, path) {
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
  file.Write(layered->Coded());
  const ztlib::Image source = packer->Pack(picture);
  const auto records = ztlib::SplitLayers(layered->Coded());
  for (std::size_t i = 0; i < layerCount; ++i) {
    std::vector<std::uint8_t> cut = JoinWholeFrame(std::span(records).first(i + 1));
    bytes[i] += cut.size();
    errors[i] += Compare(FrameOf(source), FrameOf(toYuv.Decode(cut))).luma;
    const AVFrame& small =
        decode[i].Run([&]() -> const AVFrame& { return FrameOf(scaled[i].Decode(cut)); });
    if (!isShown) continue;
    shown.index = index;
    shown.cuts[i].bytes = cut.size();
    shown.cuts[i].jpeg = pictures.Overview(FrameOf(toRgb.Decode(cut)));
    shown.scales[i].width = small.width;
    shown.scales[i].height = small.height;
    shown.scales[i].jpeg = pictures.Overview(small);
  }
  ++frames;
}

std::optional<CLayerPictures> CLayerView::Finish() {
  file.Close();
  if (frames == 0) return std::nullopt;
  for (std::size_t i = 0; i < layerCount; ++i) {
    shown.cuts[i].share = double(bytes[i]) / double(bytes.back());
    shown.cuts[i].lumaPsnr = errors[i].Psnr();
    shown.scales[i].seconds = decode[i].SecondsPerRun();
  }
  return std::move(shown);
}
