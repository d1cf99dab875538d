#include "client/arguments.h"

#include "client/commands.h"
#include "client/console.h"
#include "client/frame_header.h"

#include <array>
#include <charconv>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace {

constexpr int maxJpegSide = 65500;

#if defined(ZTCLIENT_FFMPEG)
constexpr const char* pictureHelp = "Anything that FFmpeg reads";
#else
constexpr const char* pictureHelp = "A PNG file";
#endif

void ParseSize(const std::string& text, int& width, int& height) {
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
    width = side(std::string_view(text).substr(0, cross));
    height = side(std::string_view(text).substr(cross + 1));
  }
  if (width == 0 || height == 0)
    throw CLI::ValidationError("--size: " + text + " is no size like 640x480");
}

// Whole numbers with commas between them.
template <std::size_t count>
std::array<std::int32_t, count> ParseNumbers(const std::string& option, const std::string& text) {
  std::array<std::int32_t, count> numbers{};
  const char* at = text.data();
  const char* const last = text.data() + text.size();
  for (std::size_t i = 0; i < count; ++i) {
    const auto [end, error] = std::from_chars(at, last, numbers[i]);
    const bool isGood =
        error == std::errc() && (i + 1 < count ? end < last && *end == ',' : end == last);
    if (!isGood)
      throw CLI::ValidationError(option + ": " + text +
                                 Text(" is not %zu whole numbers with commas between them", count));
    at = end + 1;
  }
  return numbers;
}

const std::map<std::string, int> formatNames{{"mjpeg", ZTLIB_VIDEO_MJPEG},
                                             {"mjpegdiff", ZTLIB_VIDEO_MJPEGDIFF},
                                             {"layered", ZTLIB_VIDEO_LAYERED},
                                             {"layereddiff", ZTLIB_VIDEO_LAYEREDDIFF}};
const std::map<std::string, int> typeNames{{"key", frameTypeKey},
                                           {"plain", frameTypePlain},
                                           {"difference", frameTypeDifference},
                                           {"reference", frameTypeReference}};

void AddRecordSettings(CLI::App& command, CRecordSettings& settings) {
  command.add_option("--quality", settings.quality, "JPEG quality, 1 to 100")
      ->check(CLI::Range(1, 100))
      ->capture_default_str();
  command
      .add_option_function<std::string>(
          "--size",
          [&settings](const std::string& text) {
            ParseSize(text, settings.width, settings.height);
          },
          "Size of the coded pictures; that of the input if not given")
      ->option_text("WxH");
  command.add_option("--frames", settings.frames, "Stop after so many frames")
      ->check(CLI::PositiveNumber);
  constexpr const char* group = "Differential video";
  command.add_option("--key-interval", settings.keyInterval, "Frames between key frames")
      ->check(CLI::PositiveNumber)
      ->capture_default_str()
      ->group(group);
  command
      .add_option("--reference-interval", settings.referenceInterval,
                  "Frames between reference frames")
      ->check(CLI::PositiveNumber)
      ->capture_default_str()
      ->group(group);
  command
      .add_option("--sensitivity", settings.sensitivity,
                  "How small a change is sent: 0 only large ones, 20 all")
      ->check(CLI::Range(0, 20))
      ->capture_default_str()
      ->group(group);
  command.add_flag("--advanced", settings.isAdvanced, "Difference frames in place of plain ones")
      ->group(group);
  command.add_option("--bits", settings.listBits, "Bits per entry in the list of blocks")
      ->check(CLI::Range(0, 31))
      ->capture_default_str()
      ->group(group);
  command
      .add_flag("!--no-overflow-keys", settings.hasOverflowKeys,
                "No key frame when more than 40 % of the blocks changed")
      ->group(group);
}

// An option that would have no effect is a mistake.
void CheckDifferential(const CLI::App& command, const CRecordSettings& settings) {
  if (settings.videoFormat == ZTLIB_VIDEO_MJPEGDIFF) return;
  const auto refuse = [&](const char* name, const char* formats) {
    if (command.count(name) > 0)
      throw CLI::ValidationError(std::string(name) + " needs --format " + formats);
  };
  for (const char* name : {"--reference-interval", "--advanced"})
    refuse(name, "mjpegdiff");
  if (settings.videoFormat == ZTLIB_VIDEO_LAYEREDDIFF) return;
  for (const char* name : {"--key-interval", "--sensitivity", "--bits", "--no-overflow-keys"})
    refuse(name, "mjpegdiff or layereddiff");
}

const std::map<std::string, int> pixelNames{{"rgb", ZTLIB_RGB},
                                            {"yuv", ZTLIB_YUV},
                                            {"yuyv", ZTLIB_YUYV},
                                            {"uyvy", ZTLIB_UYVY},
                                            {"gray", ZTLIB_GRAY}};
const std::map<std::string, int> everyPixelName{{"bool8", ZTLIB_BOOL8},
                                                {"gray", ZTLIB_GRAY},
                                                {"rgb", ZTLIB_RGB},
                                                {"yuv", ZTLIB_YUV},
                                                {"yuyv", ZTLIB_YUYV},
                                                {"uyvy", ZTLIB_UYVY},
                                                {"rgbbayer", ZTLIB_RGBBAYER},
                                                {"yuvbayerblock", ZTLIB_YUVBAYERBLOCK},
                                                {"yuv420block", ZTLIB_YUV420BLOCK}};

void AddLayers(CLI::App& app, CArguments& arguments) {
  auto options = std::make_shared<CLayersOptions>();
  CLI::App& layers = *app.add_subcommand("layers", "Take layered video apart, or put it together");
  layers.require_subcommand(1);
  const auto command = [&](const char* name, const char* text, int (*run)(const CLayersOptions&)) {
    CLI::App& added = *layers.add_subcommand(name, text);
    added.final_callback([=, &arguments] { arguments.run = [=] { return run(*options); }; });
    return &added;
  };
  CLI::App& split = *command("split", "Write each layer to a file of its own", SplitRecording);
  split.add_option("input", options->input, "Layered frames (.zts)")->required();
  split.add_option("folder", options->folder, "Folder for layer0.zts to layer3.zts")->required();
  CLI::App& join = *command("join", "Make frames of the first layers", JoinRecording);
  join.add_option("folder", options->folder, "Folder of a split; later layers may be gone")
      ->required();
  join.add_option("output", options->output, "Layered frames (.zts)")->required();
  join.add_option("--layers", options->layers, "Take so many layers at most")
      ->check(CLI::Range(1, 4))
      ->capture_default_str();
  CLI::App& sizes = *command("sizes", "List the bytes of each layer", ShowLayerSizes);
  sizes.add_option("input", options->input, "Layered frames (.zts)")->required();
}

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
  record.add_option("--format", recordOptions->settings.videoFormat, "Video format")
      ->transform(CLI::CheckedTransformer(formatNames, CLI::ignore_case))
      ->option_text("mjpeg|mjpegdiff|layered|layereddiff");
  record.add_flag("--psnr", recordOptions->hasPsnr, "Play each frame back and measure its PSNR");
  AddRecordSettings(record, recordOptions->settings);
  record.final_callback([&] {
    CheckDifferential(record, recordOptions->settings);
    arguments.run = [recordOptions] { return Record(*recordOptions); };
  });

  auto playOptions = std::make_shared<CPlayOptions>();
  CLI::App& play = *app.add_subcommand("play", "Decode a .zts file");
  play.add_option("input", playOptions->input, "Coded frames (.zts)")->required();
  play.add_option("--scale", playOptions->scale, "Divide width and height")
      ->check(CLI::IsMember({1, 2, 4, 8}))
      ->capture_default_str();
  play.add_option("--pixels", playOptions->pixels, "Pixel format to decode to; rgb if not given")
      ->transform(CLI::CheckedTransformer(pixelNames, CLI::ignore_case))
      ->option_text("rgb|yuv|yuyv|uyvy|gray");
  CLI::Option* drop =
      play.add_option("--drop", playOptions->dropType, "Lose the frames of this type")
          ->transform(CLI::CheckedTransformer(typeNames, CLI::ignore_case))
          ->option_text("plain|difference|reference|key");
  play.add_option("--drop-every", playOptions->dropEvery, "Lose only every Nth of them")
      ->check(CLI::PositiveNumber)
      ->capture_default_str()
      ->needs(drop);
  play.add_option("--fps", playOptions->framesPerSecond, "Frame rate of the written video")
      ->check(CLI::Range(0.01, 1000.0))
      ->capture_default_str();
  play.add_option("--png", playOptions->pngFolder, "Write numbered PNG files")->option_text("DIR");
  play.add_option("--y4m", playOptions->y4m, "Write YUV4MPEG2, - for standard output")
      ->option_text("FILE|-");
  play.add_option("--video", playOptions->video, "Write a video, lossless in .mkv")
      ->option_text("FILE");
  play.final_callback([&] { arguments.run = [playOptions] { return Play(*playOptions); }; });

  AddLayers(app, arguments);

  auto infoOptions = std::make_shared<CInfoOptions>();
  CLI::App& info = *app.add_subcommand("info", "List the frames of a .zts file");
  info.add_option("input", infoOptions->input, "Coded frames (.zts)")->required();
  info.add_flag("--json", infoOptions->isJson, "As JSON");
  info.final_callback([&] { arguments.run = [infoOptions] { return Info(*infoOptions); }; });

  auto convertOptions = std::make_shared<CConvertOptions>();
  CLI::App& convert = *app.add_subcommand("convert",
                                          "Convert a picture between pixel formats; by the "
                                          "library's code inside of this program, as no "
                                          "function of the shared library does that alone");
  convert.add_option("input", convertOptions->input, "A .png file, anything else is raw samples")
      ->required();
  const auto addFormat = [&](const char* name, int& format, const char* help) {
    convert.add_option(name, format, help)
        ->required()
        ->transform(CLI::CheckedTransformer(everyPixelName, CLI::ignore_case))
        ->option_text("bool8|gray|rgb|yuv|yuyv|uyvy|rgbbayer|yuvbayerblock|yuv420block");
  };
  addFormat("--from", convertOptions->from, "Pixel format of the input");
  addFormat("--to", convertOptions->to, "Pixel format to convert to");
  convert
      .add_option_function<std::string>(
          "--size",
          [convertOptions](const std::string& text) {
            ParseSize(text, convertOptions->width, convertOptions->height);
          },
          "Size of raw input in pixels")
      ->option_text("WxH");
  convert
      .add_option("--out", convertOptions->output,
                  "A .png file shows the result, anything else gets its samples")
      ->option_text("FILE");
  convert.final_callback(
      [&] { arguments.run = [convertOptions] { return Convert(*convertOptions); }; });

  auto demoOptions = std::make_shared<CDemoOptions>();
  CLI::App& demo =
      *app.add_subcommand("demo", "Record in both formats, play back and write report.html");
  CLI::Option* demoInput = demo.add_option("input", demoOptions->input,
                                           "As for record; a drawn street scene if not given");
  demo.add_option("--out", demoOptions->folder, "Folder for the results")
      ->option_text("DIR")
      ->capture_default_str();
  demo.add_option("--config", demoOptions->motionConfig,
                  "Configuration of the motion detectors for the input, as for motion")
      ->option_text("FILE")
      ->needs(demoInput);
  AddRecordSettings(demo, demoOptions->settings);
  demo.final_callback([&] { arguments.run = [demoOptions] { return Demo(*demoOptions); }; });

  auto triangulateOptions = std::make_shared<CTriangulateOptions>();
  CLI::App& triangulate = *app.add_subcommand(
      "triangulate",
      "Estimate values between points, and draw them with the triangles (which no "
      "export gives: by the library's static twin)");
  triangulate.add_option("points", triangulateOptions->points, "Lines of x,y,value[,value...]")
      ->required();
  triangulate
      .add_option_function<std::string>(
          "--rect",
          [triangulateOptions](const std::string& text) {
            triangulateOptions->frame = ParseNumbers<4>("--rect", text);
          },
          "The frame; its right and bottom edge lie outside")
      ->option_text("X0,Y0,X1,Y1")
      ->required();
  triangulate
      .add_option_function<std::vector<std::string>>(
          "--at",
          [triangulateOptions](const std::vector<std::string>& texts) {
            for (const std::string& text : texts)
              triangulateOptions->places.push_back(ParseNumbers<2>("--at", text));
          },
          "Print the values there; at the points if neither this nor --png is given")
      ->option_text("X,Y ...");
  triangulate.add_option("--png", triangulateOptions->png, "Draw the first value over the frame")
      ->option_text("FILE");
  triangulate.final_callback(
      [&] { arguments.run = [triangulateOptions] { return Triangulate(*triangulateOptions); }; });

  auto histogramOptions = std::make_shared<CHistogramOptions>();
  CLI::App& histogram = *app.add_subcommand(
      "histogram", "Plot the gray values of a picture (no export: by the library's static twin)");
  histogram.add_option("picture", histogramOptions->picture, pictureHelp)->required();
  histogram
      .add_option("--mask", histogramOptions->mask,
                  "Count inside of these polygons: JSON lists of x and y in turn, 16384 being the "
                  "picture's width on both axes")
      ->option_text("FILE.json");
  histogram.add_option("--png", histogramOptions->png, "Draw the plot")->option_text("FILE");
  histogram.final_callback(
      [&] { arguments.run = [histogramOptions] { return Histogram(*histogramOptions); }; });

  auto motionOptions = std::make_shared<CMotionOptions>();
  CLI::App& motion = *app.add_subcommand("motion", "Watch a video or a .zts file for motion");
  motion.add_option("input", motionOptions->input, "As for record, or coded frames (.zts)")
      ->required();
  motion
      .add_option("--config", motionOptions->config,
                  "Configuration of the detectors as JSON; one with defaults if not given")
      ->option_text("FILE");
  motion
      .add_option("--width", motionOptions->width,
                  "Columns at most of the pictures that the detectors get")
      ->check(CLI::Range(1, maxJpegSide))
      ->capture_default_str();
  motion.add_option("--frames", motionOptions->frames, "Stop after so many frames")
      ->check(CLI::PositiveNumber);
  motion.add_option("--fps", motionOptions->framesPerSecond, "Frame rate of a .zts file")
      ->check(CLI::Range(0.01, 1000.0))
      ->capture_default_str();
  motion.add_option("--json", motionOptions->json, "Write all results as JSON")
      ->option_text("FILE");
  motion.add_option("--png", motionOptions->pngFolder, "Write pictures with the motion in them")
      ->option_text("DIR");
  motion.add_option("--video", motionOptions->video, "Write them as a video, lossless in .mkv")
      ->option_text("FILE");
  motion.final_callback(
      [&] { arguments.run = [motionOptions] { return Motion(*motionOptions); }; });

  auto treeOptions = std::make_shared<CTreeOptions>();
  CLI::App& tree =
      *app.add_subcommand("tree", "Turn a tagged block into JSON and JSON into a tagged block");
  tree.add_option("input", treeOptions->input, "A tagged block, or a tree as JSON")->required();
  tree.add_flag("--json", treeOptions->isCompact, "For programs: JSON on one line");
  tree.final_callback([&] { arguments.run = [treeOptions] { return Tree(*treeOptions); }; });

  auto calibrateOptions = std::make_shared<CCalibrateOptions>();
  CLI::App& calibrate = *app.add_subcommand(
      "calibrate",
      "Draw what a calibration makes of a picture (no export: by the library's static twin)");
  calibrate.add_option("picture", calibrateOptions->picture, pictureHelp)->required();
  calibrate
      .add_option("--config", calibrateOptions->configuration,
                  "The calibration as JSON, its names being the keys of the tree")
      ->option_text("FILE.json")
      ->required();
  calibrate.add_option("--out", calibrateOptions->picturePng, "The picture with the drawing")
      ->option_text("FILE.png")
      ->required();
  calibrate.final_callback(
      [&] { arguments.run = [calibrateOptions] { return Calibrate(*calibrateOptions); }; });

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
