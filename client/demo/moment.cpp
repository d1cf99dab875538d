#include "client/demo/moment.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace {

// Of the detail that is shown, in pixels.
constexpr int detailWidth = 132, detailHeight = 88;
constexpr int overviewWidth = 640;

struct CArea {
  int left, top, width, height;
};

const std::uint8_t* Pixel(const AVFrame& picture, int x, int y) {
  return picture.data[0] + std::ptrdiff_t{y} * picture.linesize[0] + std::ptrdiff_t{4} * x;
}

std::uint64_t Difference(const AVFrame& first, const AVFrame& second, const CArea& area) {
  std::uint64_t sum = 0;
  for (int y = area.top; y < area.top + area.height; ++y) {
    const std::uint8_t* a = Pixel(first, area.left, y);
    const std::uint8_t* b = Pixel(second, area.left, y);
    for (int x = 0; x < area.width; ++x)
      for (int channel = 0; channel < 3; ++channel) {
        const int difference = a[4 * x + channel] - b[4 * x + channel];
        sum += static_cast<std::uint64_t>(difference * difference);
      }
  }
  return sum;
}

// The place of a half-overlapping grid where the two pictures differ most.
CArea FindDetail(const AVFrame& first, const AVFrame& second) {
  CArea best{0, 0, std::min(detailWidth, first.width), std::min(detailHeight, first.height)};
  std::uint64_t most = 0;
  CArea area = best;
  for (area.top = 0; area.top + area.height <= first.height; area.top += detailHeight / 2)
    for (area.left = 0; area.left + area.width <= first.width; area.left += detailWidth / 2) {
      const std::uint64_t difference = Difference(first, second, area);
      if (difference > most) {
        most = difference;
        best = area;
      }
    }
  return best;
}

// Fills a picture of the area's size, channel by channel.
template <class Value>
FramePtr Detail(const CArea& area, Value&& value) {
  FramePtr detail = NewFrame(AV_PIX_FMT_BGR0, area.width, area.height);
  for (int y = 0; y < area.height; ++y) {
    std::uint8_t* row = detail->data[0] + std::ptrdiff_t{y} * detail->linesize[0];
    for (int i = 0; i < 4 * area.width; ++i)
      row[i] = static_cast<std::uint8_t>(value(area.left + i / 4, area.top + y, i % 4));
  }
  return detail;
}

std::string AsString(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

}  // namespace

std::string CMomentMaker::Overview(const AVFrame& picture) {
  const int width = std::min(overviewWidth, picture.width);
  const int height =
      std::max(1, static_cast<int>(av_rescale(picture.height, width, picture.width)));
  return AsString(jpeg.Code(toOverview.Convert(picture, AV_PIX_FMT_BGR0, width, height)));
}

std::string CMomentMaker::Png(const AVFrame& picture) {
  return AsString(png.Code(picture));
}

CMoment CMomentMaker::Make(std::int64_t index, const AVFrame& source, CSize scaled,
                           const AVFrame& plain, const AVFrame& decoded) {
  const FramePtr cut = NewFrame();
  AvCheck(av_frame_ref(cut.get(),
                       &toDecoded.Convert(source, AV_PIX_FMT_BGR0, scaled.width, scaled.height)),
          "cannot show a picture");
  cut->width = decoded.width;
  cut->height = decoded.height;
  const AVFrame& original = *cut;
  const CArea area = FindDetail(original, decoded);
  const auto channelOf = [](const AVFrame& picture) {
    return [&picture](int x, int y, int channel) { return Pixel(picture, x, y)[channel]; };
  };
  const auto difference = [&](int x, int y, int channel) {
    return std::min(255, differenceGain * std::abs(Pixel(original, x, y)[channel] -
                                                   Pixel(decoded, x, y)[channel]));
  };
  return {index,
          {},
          Overview(original),
          Overview(decoded),
          Png(*Detail(area, channelOf(original))),
          Png(*Detail(area, channelOf(plain))),
          Png(*Detail(area, channelOf(decoded))),
          Png(*Detail(area, difference))};
}
