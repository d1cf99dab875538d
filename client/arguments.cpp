#include "client/arguments.h"

#include "client/commands.h"
#include "client/console.h"

#include <charconv>
#include <map>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

namespace {

constexpr int maxJpegSide = 65500;

void ParseSize(const std::string& text, CRecordSettings& settings) {
  const auto side = [](std::string_view digits) {
    int value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return error == std::errc() && end == digits.data() + digits.size() && value >= 1 &&
                   value <= maxJpegSide
               ? value
               : 0;
  };
  const std::size_t cross = text.find('x');
  if (cross != std::string::npos) {
    settings.width = side(std::string_view(text).substr(0, cross));
    settings.height = side(std::string_view(text).substr(cross + 1));
  }
  if (settings.width == 0 || settings.height == 0)
    throw CLI::ValidationError("--size: " + text + " is no size like 640x480");
}

void AddRecordSettings(CLI::App& command, CRecordSettings& settings) {
  command.add_option("--format", settings.videoFormat, "Video format")
      ->transform(CLI::CheckedTransformer(std::map<std::string, int>{{"mjpeg", ZTLIB_VIDEO_MJPEG}},
                                          CLI::ignore_case))
      ->option_text("mjpeg");
  command.add_option("--quality", settings.quality, "JPEG quality, 1 to 100")
      ->check(CLI::Range(1, 100))
      ->capture_default_str();
  command
      .add_option_function<std::string>(
          "--size", [&settings](const std::string& text) { ParseSize(text, settings); },
          "Size of the coded pictures; that of the input if not given")
      ->option_text("WxH");
  command.add_option("--frames", settings.frames, "Stop after so many frames")
      ->check(CLI::PositiveNumber);
}

const std::map<std::string, int> pixelNames{{"rgb", ZTLIB_RGB},
                                            {"yuv", ZTLIB_YUV},
                                            {"yuyv", ZTLIB_YUYV},
                                            {"uyvy", ZTLIB_UYVY},
                                            {"gray", ZTLIB_GRAY}};

}  // namespace

CArguments ParseArguments(int count, char** values) {
  CLI::App app("Records, plays and inspects coded frames of ztlib.", "ztclient");
  CArguments arguments;
  app.require_subcommand(1);
  app.fallthrough();
  app.add_flag("-v,--verbose", arguments.isVerbose, "Show the log lines of the library");

  auto recordOptions = std::make_shared<CRecordOptions>();
  CLI::App& record = *app.add_subcommand("record", "Code a video, camera stream or picture");
  record.add_option("input", recordOptions->input, "Anything that FFmpeg reads")->required();
  record.add_option("output", recordOptions->output, "Coded frames (.zts)")->required();
  AddRecordSettings(record, recordOptions->settings);
  record.final_callback(
      [&] { arguments.run = [recordOptions] { return Record(*recordOptions); }; });

  auto playOptions = std::make_shared<CPlayOptions>();
  CLI::App& play = *app.add_subcommand("play", "Decode a .zts file");
  play.add_option("input", playOptions->input, "Coded frames (.zts)")->required();
  play.add_option("--scale", playOptions->scale, "Divide width and height")
      ->check(CLI::IsMember({1, 2, 4, 8}))
      ->capture_default_str();
  play.add_option("--pixels", playOptions->pixels, "Pixel format to decode to; rgb if not given")
      ->transform(CLI::CheckedTransformer(pixelNames, CLI::ignore_case))
      ->option_text("rgb|yuv|yuyv|uyvy|gray");
  play.add_option("--fps", playOptions->framesPerSecond, "Frame rate of the written video")
      ->check(CLI::Range(0.01, 1000.0))
      ->capture_default_str();
  play.add_option("--png", playOptions->pngFolder, "Write numbered PNG files")->option_text("DIR");
  play.add_option("--y4m", playOptions->y4m, "Write YUV4MPEG2, - for standard output")
      ->option_text("FILE|-");
  play.add_option("--video", playOptions->video, "Write a video, lossless in .mkv")
      ->option_text("FILE");
  play.final_callback([&] { arguments.run = [playOptions] { return Play(*playOptions); }; });

  auto infoOptions = std::make_shared<CInfoOptions>();
  CLI::App& info = *app.add_subcommand("info", "List the frames of a .zts file");
  info.add_option("input", infoOptions->input, "Coded frames (.zts)")->required();
  info.add_flag("--json", infoOptions->isJson, "As JSON");
  info.final_callback([&] { arguments.run = [infoOptions] { return Info(*infoOptions); }; });

  auto demoOptions = std::make_shared<CDemoOptions>();
  CLI::App& demo =
      *app.add_subcommand("demo", "Record, play back and write report.html and demo.zts");
  demo.add_option("input", demoOptions->input, "As for record; a drawn street scene if not given");
  demo.add_option("--out", demoOptions->folder, "Folder for the results")
      ->option_text("DIR")
      ->capture_default_str();
  AddRecordSettings(demo, demoOptions->settings);
  demo.final_callback([&] { arguments.run = [demoOptions] { return Demo(*demoOptions); }; });

  try {
    app.parse(count, values);
  } catch (const CLI::Success& request) {
    arguments.run = nullptr;
    arguments.status = app.exit(request);
  } catch (const CLI::ParseError& error) {
    arguments.run = nullptr;
    arguments.status = 1;
    Complain(std::string(error.what()) + " (see ztclient --help)");
  }
  return arguments;
}
