#include "client/console.h"
#include "client/picture_io.h"
#include "client/whole_file.h"

#include <cstdlib>
#include <optional>
#include <vector>

#include <zlib.h>

namespace {

using Bytes = std::vector<std::uint8_t>;

// What is left of a file.
class CReader {
 public:
  explicit CReader(std::span<const std::uint8_t> bytes) : rest(bytes) {}

  [[nodiscard]] std::optional<std::span<const std::uint8_t>> Take(std::size_t size) {
    if (size > rest.size()) return std::nullopt;
    const auto taken = rest.first(size);
    rest = rest.subspan(size);
    return taken;
  }
  // Most significant byte first.
  [[nodiscard]] std::optional<std::uint32_t> TakeNumber() {
    const auto bytes = Take(4);
    if (!bytes) return std::nullopt;
    std::uint32_t number = 0;
    for (const std::uint8_t byte : *bytes)
      number = number << 8 | byte;
    return number;
  }

 private:
  std::span<const std::uint8_t> rest;
};

class CPngReader {
 public:
  // False if the file is damaged or of a kind that is not read.
  [[nodiscard]] bool Read(std::span<const std::uint8_t> file) {
    static constexpr std::uint8_t signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    CReader reader(file);
    const auto start = reader.Take(sizeof(signature));
    if (!start || !std::equal(start->begin(), start->end(), signature)) return false;
    Bytes packed;
    for (;;) {
      const auto size = reader.TakeNumber();
      const auto name = reader.TakeNumber();
      if (!size || !name) return false;
      const auto content = reader.Take(*size);
      if (!content || !reader.Take(4)) return false;
      if (*name == Name("IHDR")) {
        if (!ReadHeader(*content)) return false;
      } else if (*name == Name("PLTE")) {
        palette.assign(content->begin(), content->end());
      } else if (*name == Name("IDAT")) {
        packed.insert(packed.end(), content->begin(), content->end());
      } else if (*name == Name("IEND")) {
        break;
      }
    }
    return channels > 0 && Unpack(packed);
  }

  struct CRgb {
    int red, green, blue;
  };
  [[nodiscard]] CRgb At(int x, int y) const {
    const std::uint8_t* const pixel =
        &lines[LineBytes() * std::size_t(y) + 1 + std::size_t(x) * std::size_t(channels)];
    if (kind == paletteKind) {
      const std::size_t entry = 3 * std::size_t{pixel[0]};
      if (entry + 3 > palette.size()) return {};
      return {palette[entry], palette[entry + 1], palette[entry + 2]};
    }
    return channels < 3 ? CRgb{pixel[0], pixel[0], pixel[0]} : CRgb{pixel[0], pixel[1], pixel[2]};
  }

  [[nodiscard]] bool IsInColour() const { return channels > 2; }

  int width = 0, height = 0;

 private:
  static constexpr int paletteKind = 3;
  static constexpr std::uint32_t maxSide = 65500;

  static constexpr std::uint32_t Name(const char (&text)[5]) {
    std::uint32_t name = 0;
    for (int i = 0; i < 4; ++i)
      name = name << 8 | static_cast<std::uint8_t>(text[i]);
    return name;
  }

  // Each line has the number of its filter before it.
  [[nodiscard]] std::size_t LineBytes() const {
    return std::size_t(width) * std::size_t(channels) + 1;
  }

  [[nodiscard]] bool ReadHeader(std::span<const std::uint8_t> content) {
    CReader reader(content);
    const auto columns = reader.TakeNumber(), rows = reader.TakeNumber();
    const auto form = reader.Take(5);
    if (!columns || !rows || !form || *columns - 1 >= maxSide || *rows - 1 >= maxSide) return false;
    width = static_cast<int>(*columns);
    height = static_cast<int>(*rows);
    kind = (*form)[1];
    static constexpr int channelsOf[] = {1, 0, 3, 1, 2, 0, 4};
    channels = (*form)[0] == 8 && kind < 7 && (*form)[4] == 0 ? channelsOf[kind] : 0;
    return channels > 0 && std::uint64_t{*columns} * *rows <= std::uint64_t{1} << 27;
  }

  [[nodiscard]] bool Unpack(const Bytes& packed) {
    lines.resize(LineBytes() * std::size_t(height));
    auto size = static_cast<uLongf>(lines.size());
    if (uncompress(lines.data(), &size, packed.data(), static_cast<uLong>(packed.size())) != Z_OK ||
        size != lines.size())
      return false;
    const Bytes none(LineBytes());
    const std::uint8_t* above = none.data();
    for (std::uint8_t* line = lines.data(); line != lines.data() + lines.size();
         line += LineBytes()) {
      if (line[0] > 4) return false;
      Unfilter(line, above);
      above = line;
    }
    return true;
  }

  // Adds to each byte what its filter predicts from the bytes to the left, above, and between.
  void Unfilter(std::uint8_t* line, const std::uint8_t* above) const {
    const auto step = std::size_t(channels);
    for (std::size_t i = 1; i < LineBytes(); ++i) {
      const int left = i > step ? line[i - step] : 0;
      const int up = above[i];
      const int corner = i > step ? above[i - step] : 0;
      const int toLeft = std::abs(up - corner), toUp = std::abs(left - corner);
      const int toCorner = std::abs(left + up - 2 * corner);
      const int nearest = toLeft <= toUp && toLeft <= toCorner ? left
                          : toUp <= toCorner                   ? up
                                                               : corner;
      const int predicted[] = {0, left, up, (left + up) / 2, nearest};
      line[i] = static_cast<std::uint8_t>(line[i] + predicted[line[0]]);
    }
  }

  int kind = 0, channels = 0;
  Bytes palette, lines;
};

}  // namespace

std::vector<std::string> FilesOf(const std::string& name) {
  return {name};
}

PoolFramePtr ReadPicture(const std::string& path, int pixelFormat, EColour colour) {
  const std::string file = ReadWholeFile(path);
  CPngReader png;
  if (!png.Read({reinterpret_cast<const std::uint8_t*>(file.data()), file.size()}))
    throw CError(
        path +
        Text(": no plain PNG file; others are read by FFmpeg, which this %s was built without",
             ProgramName()));
  if (pixelFormat == ZTLIB_GRAY && colour == EColour::refused && png.IsInColour())
    throw ColourError(path);
  PoolFramePtr picture = NewPoolFrame(png.width, png.height, pixelFormat);
  for (int y = 0; y < png.height; ++y) {
    std::uint8_t* row = picture->data[0] + std::ptrdiff_t{y} * picture->linesize[0];
    for (int x = 0; x < png.width; ++x) {
      const auto [red, green, blue] = png.At(x, y);
      if (pixelFormat == ZTLIB_GRAY) {
        *row++ = static_cast<std::uint8_t>((299 * red + 587 * green + 114 * blue + 500) / 1000);
        continue;
      }
      for (const int value : {blue, green, red, 0})
        *row++ = static_cast<std::uint8_t>(value);
    }
  }
  return picture;
}
