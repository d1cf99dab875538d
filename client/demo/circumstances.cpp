#include "client/demo/circumstances.h"

#include "client/input_file.h"
#include "client/platform.h"
#include "client/text.h"
#include "client/version.h"
#include "ztlib.h"

#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstring>
#include <thread>

#include <cpuid.h>
extern "C" {
#include <libavutil/avutil.h>
}

namespace {

std::string DateText() {
  using namespace std::chrono;
  const auto now = floor<minutes>(system_clock::now());
  const year_month_day date(floor<days>(now));
  const hh_mm_ss time(now - floor<days>(now));
  return Text("%04d-%02u-%02u %02d:%02d UTC", int(date.year()), unsigned(date.month()),
              unsigned(date.day()), int(time.hours().count()), int(time.minutes().count()));
}

// Of the words that give it, only those that change something.
std::string CommandText(const CDemoOptions& options) {
  std::string text = "ztclient demo";
  const auto add = [&](const std::string& word) {
    text += word.find(' ') == word.npos ? " " + word : " \"" + word + "\"";
  };
  const auto addOption = [&](const char* name, std::int64_t value, std::int64_t usual) {
    if (value != usual) text += Text(" %s %" PRId64, name, value);
  };
  const CRecordSettings& given = options.settings;
  const CRecordSettings usual;
  if (!options.input.empty()) add(ShownName(options.input));
  if (!options.motionConfig.empty()) {
    add("--config");
    add(ShownName(options.motionConfig));
  }
  if (given.width) text += Text(" --size %dx%d", given.width, given.height);
  addOption("--quality", given.quality, usual.quality);
  addOption("--from", given.from, usual.from);
  addOption("--frames", given.frames, usual.frames);
  addOption("--key-interval", given.keyInterval, usual.keyInterval);
  addOption("--reference-interval", given.referenceInterval, usual.referenceInterval);
  addOption("--sensitivity", given.sensitivity, usual.sensitivity);
  if (given.isAdvanced) add("--advanced");
  addOption("--bits", given.listBits, usual.listBits);
  if (!given.hasOverflowKeys) add("--no-overflow-keys");
  return text;
}

std::string SettingsText(const ztlib::EncoderSettings& coded) {
  return Text(
      "%dx%d, quality %d, a key frame every %d frames%s, a reference frame every %d, "
      "sensitivity %d, %s frames between them, %d bits per entry in the list of blocks",
      coded.width, coded.height, coded.quality, coded.keyInterval,
      coded.hasOverflowKeys ? " and when more than 40 % of the blocks changed" : "",
      coded.referenceInterval, coded.sensitivity, coded.isAdvanced ? "difference" : "plain",
      coded.listBits);
}

// The name that the processor has for itself.
std::string ProcessorName() {
  constexpr unsigned firstPart = 0x80000002, partCount = 3;
  std::array<char, 48 + 1> name{};
  for (unsigned part = 0; part < partCount; ++part) {
    std::array<unsigned, 4> words{};
    if (!__get_cpuid(firstPart + part, &words[0], &words[1], &words[2], &words[3]))
      return "unknown processor";
    std::memcpy(&name[sizeof words * part], words.data(), sizeof words);
  }
  const std::string text = name.data();
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == text.npos) return "unknown processor";
  return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

}  // namespace

std::string ShownName(const std::string& name) {
  if (name == standardName) return "standard input";
  const std::string mark = "://";
  if (const std::size_t at = name.find(mark); at != name.npos) {
    const std::string rest = name.substr(at + mark.size());
    const std::string place = rest.substr(0, rest.find_first_of("?#"));
    const std::size_t slash = place.rfind('/');
    const std::string last = slash == place.npos ? "" : place.substr(slash + 1);
    return last.empty() ? "stream" : last;
  }
  return PathOf(name).filename().string();
}

std::vector<CCircumstance> CircumstancesOf(const CDemoOptions& options,
                                           const ztlib::EncoderSettings& coded) {
  return {{"Date", DateText()},
          {"Command", CommandText(options)},
          {"Settings", SettingsText(coded)},
          {"Versions",
           Text("ztclient %s, ztlib %d.%d.%d, FFmpeg %s", ZTCLIENT_VERSION, ZTLIB_VERSION_MAJOR,
                ZTLIB_VERSION_MINOR, ZTLIB_VERSION_PATCH, av_version_info())},
          {"Processor",
           ProcessorName() + ", " +
               CountText(std::int64_t{std::thread::hardware_concurrency()}, "logical core") +
               "; kernels: " + KernelText()},
          {"Times", "means over all frames, on one thread"}};
}
