#include "client/commands.h"
#include "client/console.h"
#include "client/frame_file.h"
#include "client/frame_header.h"

#include <cinttypes>

#include <nlohmann/json.hpp>

namespace {

struct CTotals {
  std::int64_t frames = 0;
  std::uint64_t bytes = 0, payload = 0;
  std::uint32_t smallest = UINT32_MAX, largest = 0;

  void Add(std::uint32_t frameBytes, std::uint32_t payloadBytes) {
    ++frames;
    bytes += frameBytes;
    payload += payloadBytes;
    smallest = std::min(smallest, frameBytes);
    largest = std::max(largest, frameBytes);
  }
  [[nodiscard]] std::uint32_t Smallest() const { return frames ? smallest : 0; }
  [[nodiscard]] double Mean() const { return frames ? double(bytes) / double(frames) : 0; }
};

void ShowTable(CFrameFileReader& reader) {
  CTotals totals;
  Print(Output(),
        "    frame        offset  format       kind         size  type            bytes\n");
  while (const std::optional<CCodedFrame> frame = reader.Next()) {
    const CFrameHeader header = ReadFrameHeader(frame->bytes);
    totals.Add(header.totalSize, header.payloadSize);
    Print(Output(),
          Text("%9" PRId64 "  %12" PRIu64 "  %-11s  %-8s%9s  %-10s  %9" PRIu32 "\n", frame->index,
               frame->offset, header.FormatName().c_str(), header.KindName().c_str(),
               Text("%dx%d", header.width, header.height).c_str(), header.TypeName().c_str(),
               header.totalSize));
  }
  Print(Output(),
        Text("%s, %s (headers %s), per frame %" PRIu32 " to %" PRIu32 ", mean %.0f bytes\n",
             CountText(totals.frames, "frame").c_str(), ByteText(totals.bytes).c_str(),
             ByteText(totals.bytes - totals.payload).c_str(), totals.Smallest(), totals.largest,
             totals.Mean()));
}

void ShowJson(CFrameFileReader& reader, const std::string& path) {
  CTotals totals;
  nlohmann::ordered_json frames = nlohmann::ordered_json::array();
  while (const std::optional<CCodedFrame> frame = reader.Next()) {
    const CFrameHeader header = ReadFrameHeader(frame->bytes);
    totals.Add(header.totalSize, header.payloadSize);
    frames.push_back({{"offset", frame->offset},
                      {"format", header.videoFormat},
                      {"formatName", header.FormatName()},
                      {"kind", header.kind},
                      {"kindName", header.KindName()},
                      {"width", header.width},
                      {"height", header.height},
                      {"type", header.frameType},
                      {"typeName", header.TypeName()},
                      {"bytes", header.totalSize},
                      {"payloadBytes", header.payloadSize}});
  }
  nlohmann::ordered_json damage;
  if (reader.Damage())
    damage = {{"offset", reader.Damage()->offset}, {"text", reader.Damage()->text}};
  const nlohmann::ordered_json result{{"file", path},
                                      {"fileBytes", reader.FileSize()},
                                      {"frames", std::move(frames)},
                                      {"totals",
                                       {{"frames", totals.frames},
                                        {"bytes", totals.bytes},
                                        {"payloadBytes", totals.payload},
                                        {"smallestFrame", totals.Smallest()},
                                        {"largestFrame", totals.largest},
                                        {"meanFrame", totals.Mean()}}},
                                      {"damage", damage}};
  // A file name need not be UTF-8.
  Print(Output(),
        result.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
}

}  // namespace

int Info(const CInfoOptions& options) {
  CFrameFileReader reader(options.input);
  if (options.isJson)
    ShowJson(reader, options.input);
  else
    ShowTable(reader);
  if (!reader.Damage()) return 0;
  Complain(Text("%s: offset %" PRIu64 ": %s", options.input.c_str(), reader.Damage()->offset,
                reader.Damage()->text.c_str()));
  return 1;
}
