#include "client/option_values.h"

#include "client/text.h"
#include "ztlib.h"

#include <charconv>
#include <string_view>

namespace {

// 0 if it is none.
int SideOf(std::string_view digits) {
  int value = 0;
  const char* const last = digits.data() + digits.size();
  const auto [end, error] = std::from_chars(digits.data(), last, value);
  const bool isGood = error == std::errc() && end == last && value >= 1 && value <= maxJpegSide;
  return isGood ? value : 0;
}

}  // namespace

const CWords& VideoFormatNames() {
  static const CWords names{{"mjpeg", ZTLIB_VIDEO_MJPEG},
                            {"mjpegdiff", ZTLIB_VIDEO_MJPEGDIFF},
                            {"layered", ZTLIB_VIDEO_LAYERED},
                            {"layereddiff", ZTLIB_VIDEO_LAYEREDDIFF}};
  return names;
}

COption::Parse SizeParser(int& width, int& height) {
  return {[&](const std::string& text) {
    const std::size_t cross = text.find('x');
    if (cross != std::string::npos) {
      width = SideOf(std::string_view(text).substr(0, cross));
      height = SideOf(std::string_view(text).substr(cross + 1));
    }
    if (width == 0 || height == 0)
      throw CError(Text("--size: %s is no size like 640x480 with sides of 1 to %d", text.c_str(),
                        maxJpegSide));
  }};
}

void ParseNumbers(const std::string& option, const std::string& text,
                  std::span<std::int32_t> numbers) {
  const char* at = text.data();
  const char* const last = text.data() + text.size();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto [end, error] = std::from_chars(at, last, numbers[i]);
    const bool isGood =
        error == std::errc() && (i + 1 < numbers.size() ? end < last && *end == ',' : end == last);
    if (!isGood)
      throw CError(Text("%s: %s is not %zu whole numbers with commas between them", option.c_str(),
                        text.c_str(), numbers.size()));
    at = end + 1;
  }
}
