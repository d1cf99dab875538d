#include "client/commands.h"
#include "client/console.h"
#include "client/failure_text.h"
#include "client/frame_file.h"
#include "client/layer_records.h"
#include "client/platform.h"
#include "client/progress_bar.h"

#include <cinttypes>
#include <filesystem>
#include <memory>
#include <optional>

namespace {

struct CLayersOptions {
  std::string input, output;  // coded frames
  std::string folder;         // of the layers' files
  int layers = 4;             // to be joined, at most
};

std::string LayerPath(const std::string& folder, std::size_t layer) {
  return (PathOf(folder) / Text("layer%zu.zts", layer)).string();
}

// Runs `work` on every frame of the file; whatever does not fit ends it, with the frame's number.
// `why` makes a sentence of a failure of the library.
template <class Work>
std::int64_t ForEachFrame(const std::string& path, std::uint32_t minSize, const char* label,
                          decltype(WhyNotSplit)& why, Work&& work) {
  CFrameFileReader reader(path, minSize);
  CProgressBar progress(label);
  std::int64_t frames = 0;
  while (!Interrupted()) {
    const std::optional<CCodedFrame> frame = reader.Next();
    if (!frame) break;
    try {
      work(*frame);
    } catch (const ztlib::Error& error) {
      throw CError(Text("%s: frame %" PRId64 " at offset %" PRIu64 ": %s", path.c_str(),
                        frame->index, frame->offset, why(frame->bytes, error).c_str()));
    }
    progress.Show(++frames, reader.Share());
  }
  if (reader.Damage())
    throw CError(Text("%s: offset %" PRIu64 ": %s", path.c_str(), reader.Damage()->offset,
                      reader.Damage()->text.c_str()));
  if (frames > 0) return frames;
  ThrowIfInterrupted();
  throw CError(path + ": no frame in it");
}

// Of all layers, whether they are there or not.
std::vector<std::string> LayerPaths(const std::string& folder) {
  std::vector<std::string> paths;
  for (std::size_t i = 0; i < layerCount; ++i)
    paths.push_back(LayerPath(folder, i));
  return paths;
}

int ShowLayerSizes(const CLayersOptions& options) {
  std::array<std::uint64_t, layerCount> totals{};
  std::string table;
  const auto addLine = [&table](const std::string& name, const auto& textOf) {
    table += Text("%9s", name.c_str());
    for (std::size_t i = 0; i < layerCount; ++i)
      table += Text("  %10s", std::string(textOf(i)).c_str());
    table += "\n";
  };
  addLine("frame", [](std::size_t i) { return Text("layer %zu", i); });
  const std::int64_t frames = ForEachFrame(
      options.input, minFrameSize, "sizes", WhyNotSplit, [&](const CCodedFrame& frame) {
        const auto sizes = LayerSizes(frame.bytes);
        addLine(Text("%" PRId64, frame.index), [&](std::size_t i) {
          if (!sizes[i].isThere) return std::string("-");
          totals[i] += sizes[i].bytes;
          return Text("%" PRIu32, sizes[i].bytes);
        });
      });
  std::uint64_t sum = 0;
  for (const std::uint64_t total : totals)
    sum += total;
  addLine("mean", [&](std::size_t i) { return Text("%.0f", double(totals[i]) / double(frames)); });
  addLine("share", [&](std::size_t i) {
    return Text("%.1f %%", sum > 0 ? 100 * double(totals[i]) / double(sum) : 0);
  });
  Print(Output(), table);
  return 0;
}

int SplitRecording(const CLayersOptions& options) {
  COutputs outputs({options.input}, LayerPaths(options.folder));
  std::error_code error;
  std::filesystem::create_directories(PathOf(options.folder), error);
  if (error) throw CError(options.folder + ": cannot make the folder: " + error.message());
  std::array<std::optional<CFrameFileWriter>, layerCount> files;
  const std::int64_t frames = ForEachFrame(
      options.input, minFrameSize, "split", WhyNotSplit, [&](const CCodedFrame& frame) {
        const auto records = ztlib::SplitLayers(frame.bytes);
        for (std::size_t i = 0; i < layerCount; ++i) {
          if (!files[i]) files[i].emplace(outputs, LayerPath(options.folder, i));
          files[i]->Write(records[i]);
        }
      });
  std::string summary = options.folder + ": " + CountText(frames, "frame") + " in";
  for (std::optional<CFrameFileWriter>& file : files) {
    file->Close();
    summary += " " + ByteText(file->Bytes()) + (&file == &files.back() ? "" : ",");
  }
  summary += "\n";
  outputs.Publish();
  Print(outputs.Texts(), summary);
  return 0;
}

int JoinRecording(const CLayersOptions& options) {
  COutputs outputs(LayerPaths(options.folder), {options.output});
  std::vector<CFrameFileReader> others;
  for (std::size_t i = 1; i < static_cast<std::size_t>(options.layers); ++i) {
    const std::string path = LayerPath(options.folder, i);
    // The last layers may have been thrown away.
    if (!std::filesystem::exists(PathOf(path))) break;
    others.emplace_back(path, layerHeaderSize);
  }
  std::optional<CFrameFileWriter> file;
  const std::string first = LayerPath(options.folder, 0);
  const std::int64_t frames =
      ForEachFrame(first, layerHeaderSize, "join", WhyNotJoined, [&](const CCodedFrame& frame) {
        std::vector<LayerRecord> records{{frame.bytes.begin(), frame.bytes.end()}};
        for (CFrameFileReader& other : others) {
          const std::optional<CCodedFrame> record = other.Next();
          if (!record) throw ztlib::Error(Text("layer %zu has no such frame", records.size()));
          records.emplace_back(record->bytes.begin(), record->bytes.end());
        }
        const std::vector<std::uint8_t> joined = JoinWholeFrame(records);
        if (!file) file.emplace(outputs, options.output);
        file->Write(joined);
      });
  for (std::size_t i = 0; i < others.size(); ++i)
    if (!Interrupted() && others[i].Position() != others[i].FileSize())
      throw CError(LayerPath(options.folder, i + 1) + ": more frames than in layer 0");
  file->Close();
  const std::string summary =
      Text("%s: %s of %s, %s\n", options.output.c_str(), CountText(frames, "frame").c_str(),
           CountText(static_cast<std::int64_t>(others.size()) + 1, "layer").c_str(),
           ByteText(file->Bytes()).c_str());
  outputs.Publish();
  Print(outputs.Texts(), summary);
  return 0;
}

}  // namespace

CCommand LayersCommand() {
  const auto options = std::make_shared<CLayersOptions>();
  const COption input{.name = "input",
                      .value = &options->input,
                      .help = "Layered frames (.zts)",
                      .isRequired = true};
  return {
      .name = "layers",
      .help = "Take layered video apart, or put it together",
      .parts = {
          {.name = "split",
           .help = "Write each layer to a file of its own",
           .options = {input,
                       {.name = "folder",
                        .value = &options->folder,
                        .help = "Folder for layer0.zts to layer3.zts",
                        .isRequired = true}},
           .run = [=] { return SplitRecording(*options); }},
          {.name = "join",
           .help = "Make frames of the first layers",
           .options = {{.name = "folder",
                        .value = &options->folder,
                        .help = "Folder of a split; later layers may be gone",
                        .isRequired = true},
                       {.name = "output",
                        .value = &options->output,
                        .help = "Layered frames (.zts)",
                        .isRequired = true},
                       {.name = "--layers",
                        .value = &options->layers,
                        .help = "Take so many layers at most",
                        .allowed = CLimits{1, 4},
                        .showsDefault = true}},
           .run = [=] { return JoinRecording(*options); }},
          {.name = "sizes", .help = "List the bytes of each layer", .options = {input}, .run = [=] {
             return ShowLayerSizes(*options);
           }}}};
}
