#include "client/commands.h"
#include "client/console.h"
#include "client/frame_checksums.h"
#include "client/frame_file.h"
#include "client/frame_header.h"
#include "client/interrupt.h"

#include <cinttypes>
#include <map>
#include <memory>

#include <nlohmann/json.hpp>

namespace {

struct CInfoOptions {
  std::string input;
  bool isJson = false, verifies = false;
};

struct CTotals {
  std::int64_t frames = 0;
  std::uint64_t bytes = 0, payload = 0;
  std::uint64_t blocks = 0, list = 0, strip = 0;
  std::uint32_t smallest = UINT32_MAX, largest = 0;

  void Add(const CFrameHeader& header) {
    ++frames;
    bytes += header.totalSize;
    payload += header.payload.size();
    smallest = std::min(smallest, header.totalSize);
    largest = std::max(largest, header.totalSize);
    blocks += header.blockCount;
    list += header.listSize;
    strip += header.stripSize;
  }
  [[nodiscard]] std::uint32_t Smallest() const { return frames ? smallest : 0; }
  [[nodiscard]] double Mean() const { return frames ? double(bytes) / double(frames) : 0; }
};

// Of the whole file and of each type of frame in it.
struct CSummary {
  CTotals all;
  std::map<std::int32_t, std::pair<std::string, CTotals>> types;
  std::string fault;  // of the first frame that does not play
  std::int64_t faults = 0;

  void Add(const CCodedFrame& frame, const CFrameHeader& header) {
    if (const std::string reason = header.Fault(); !reason.empty() && ++faults == 1)
      fault = Text("frame %" PRId64 " at offset %" PRIu64 ": ", frame.index, frame.offset) + reason;
    all.Add(header);
    auto& [name, totals] = types[header.frameType];
    name = header.TypeName();
    totals.Add(header);
  }
};

std::optional<CCodedFrame> NextFrame(CFrameFileReader& reader) {
  return Interrupted() ? std::nullopt : reader.Next();
}

CSummary ShowTable(CFrameFileReader& reader) {
  CSummary summary;
  const CTotals& totals = summary.all;
  while (const std::optional<CCodedFrame> frame = NextFrame(reader)) {
    if (totals.frames == 0)
      Print(Output(),
            "    frame        offset  format       kind         size  type            bytes"
            "  blocks    list     strip\n");
    const CFrameHeader header = ReadFrameHeader(frame->bytes);
    summary.Add(*frame, header);
    std::string line =
        Text("%9" PRId64 "  %12" PRIu64 "  %-11s  %-8s%9s  %-10s  %9" PRIu32, frame->index,
             frame->offset, header.FormatName().c_str(), header.OriginName().c_str(),
             header.IsLoneLayer() ? "-" : Text("%dx%d", header.width, header.height).c_str(),
             header.TypeName().c_str(), header.totalSize);
    if (header.IsDifferential())
      line += Text("  %6" PRIu32 "  %6" PRIu32 "  %8" PRIu32, header.blockCount, header.listSize,
                   header.stripSize);
    Print(Output(), line + "\n");
  }
  if (totals.frames == 0) return summary;
  Print(Output(),
        Text("%s, %s (headers %s), per frame %" PRIu32 " to %" PRIu32 ", mean %.0f bytes\n",
             CountText(totals.frames, "frame").c_str(), ByteText(totals.bytes).c_str(),
             ByteText(totals.bytes - totals.payload).c_str(), totals.Smallest(), totals.largest,
             totals.Mean()));
  if (summary.types.size() == 1) return summary;
  for (const auto& [type, named] : summary.types) {
    const auto& [name, part] = named;
    std::string line =
        Text("%-10s  %7s, %9s, mean %.0f bytes", name.c_str(),
             Text("%" PRId64, part.frames).c_str(), ByteText(part.bytes).c_str(), part.Mean());
    if (part.list > 0)
      line +=
          Text(", %.1f blocks, %.0f of list and %.0f of strip",
               double(part.blocks) / double(part.frames), double(part.list) / double(part.frames),
               double(part.strip) / double(part.frames));
    Print(Output(), line + "\n");
  }
  return summary;
}

nlohmann::ordered_json Json(const CTotals& totals) {
  return {{"frames", totals.frames},        {"bytes", totals.bytes},
          {"payloadBytes", totals.payload}, {"smallestFrame", totals.Smallest()},
          {"largestFrame", totals.largest}, {"meanFrame", totals.Mean()},
          {"blocks", totals.blocks},        {"listBytes", totals.list},
          {"stripBytes", totals.strip}};
}

CSummary ShowJson(CFrameFileReader& reader, const std::string& path) {
  CSummary summary;
  nlohmann::ordered_json frames = nlohmann::ordered_json::array();
  while (const std::optional<CCodedFrame> frame = NextFrame(reader)) {
    const CFrameHeader header = ReadFrameHeader(frame->bytes);
    summary.Add(*frame, header);
    frames.push_back({{"offset", frame->offset},
                      {"format", header.videoFormat},
                      {"formatName", header.FormatName()},
                      {"kind", header.origin},
                      {"kindName", header.OriginName()},
                      {"width", header.width},
                      {"height", header.height},
                      {"type", header.frameType},
                      {"typeName", header.TypeName()},
                      {"bytes", header.totalSize},
                      {"payloadBytes", header.payload.size()}});
    if (header.IsDifferential())
      frames.back().update({{"blocks", header.blockCount},
                            {"listBytes", header.listSize},
                            {"stripBytes", header.stripSize}});
  }
  nlohmann::ordered_json types = nlohmann::ordered_json::object();
  for (const auto& [type, named] : summary.types)
    types[named.first] = Json(named.second);
  nlohmann::ordered_json damage;
  if (reader.Damage())
    damage = {{"offset", reader.Damage()->offset}, {"text", reader.Damage()->text}};
  const nlohmann::ordered_json result{{"file", path},
                                      {"fileBytes", reader.FileSize()},
                                      {"frames", std::move(frames)},
                                      {"totals", Json(summary.all)},
                                      {"types", std::move(types)},
                                      {"damage", damage}};
  // A file name need not be UTF-8.
  Print(Output(),
        result.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
  return summary;
}

int Info(const CInfoOptions& options) {
  if (options.verifies) return PrintFrameChecksums(options.input);
  CFrameFileReader reader(options.input);
  const CSummary summary = options.isJson ? ShowJson(reader, options.input) : ShowTable(reader);
  if (summary.faults > 0)
    Complain(options.input + ": " + summary.fault +
             (summary.faults > 1 ? Text(", and %s that cannot be played",
                                        CountText(summary.faults - 1, "more frame").c_str())
                                 : ""));
  if (reader.Damage())
    Complain(Text("%s: offset %" PRIu64 ": %s", options.input.c_str(), reader.Damage()->offset,
                  reader.Damage()->text.c_str()));
  else if (summary.all.frames == 0 && !Interrupted())
    throw CError(options.input + ": no frame in it");
  return reader.Damage() || summary.faults > 0 ? 1 : 0;
}

}  // namespace

CCommand InfoCommand() {
  const auto options = std::make_shared<CInfoOptions>();
  return {.name = "info",
          .help = "List the frames of a .zts file",
          .options = {{.name = "input",
                       .value = &options->input,
                       .help = "Coded frames (.zts)",
                       .isRequired = true},
                      {.name = "--json", .value = &options->isJson, .help = "As JSON"},
                      {.name = "--verify",
                       .value = &options->verifies,
                       .help = "Decode all and print a checksum of each picture, as FFmpeg's "
                               "framemd5"}},
          .run = [=] { return Info(*options); }};
}
