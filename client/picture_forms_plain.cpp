#include "client/console.h"
#include "client/picture_forms.h"
#include "client/picture_sink.h"
#include "client/text.h"
#include "ztlib.h"

#include <algorithm>
#include <array>
#include <vector>

#include <zlib.h>

namespace {

struct CYuv {
  int y, u, v;
};
struct CRgb {
  int red, green, blue;
};

std::uint8_t Byte(double value) {
  return static_cast<std::uint8_t>(std::clamp(value + 0.5, 0.0, 255.0));
}

// The matrix of BT.601 in full range, as in JPEG files.
CYuv ToYuv(CRgb p) {
  const double y = 0.299 * p.red + 0.587 * p.green + 0.114 * p.blue;
  return {Byte(y), Byte(128 + (p.blue - y) / 1.772), Byte(128 + (p.red - y) / 1.402)};
}
CRgb ToRgb(CYuv p) {
  const double u = p.u - 128, v = p.v - 128;
  return {Byte(p.y + 1.402 * v), Byte(p.y - 0.344136 * u - 0.714136 * v), Byte(p.y + 1.772 * u)};
}

const std::uint8_t* Row(const CFrame& picture, int y) {
  return picture.data[0] + std::ptrdiff_t{y} * picture.linesize[0];
}

CRgb RgbAt(const std::uint8_t* row, int x) {
  return {row[4 * x + 2], row[4 * x + 1], row[4 * x]};
}

CYuv YuvAt(int pixelFormat, const std::uint8_t* row, int x) {
  const std::uint8_t* const pair = row + 4 * (x / 2);
  switch (pixelFormat) {
    case ZTLIB_RGB:
      return ToYuv(RgbAt(row, x));
    case ZTLIB_YUV:
      return {row[4 * x], row[4 * x + 1], row[4 * x + 2]};
    case ZTLIB_YUYV:
      return {pair[2 * (x % 2)], pair[1], pair[3]};
    case ZTLIB_UYVY:
      return {pair[2 * (x % 2) + 1], pair[0], pair[2]};
    default:
      return {row[x], 128, 128};
  }
}

class CPngCoder : public IPngCoder {
 public:
  std::span<const std::uint8_t> Code(const CFrame& picture) override {
    const int pixelFormat = PixelFormatOf(picture);
    const bool isGray = pixelFormat == ZTLIB_GRAY;
    lines.clear();
    for (int y = 0; y < picture.height; ++y) {
      const std::uint8_t* const row = Row(picture, y);
      lines.push_back(0);  // stored without prediction
      for (int x = 0; x < picture.width; ++x) {
        if (isGray) {
          lines.push_back(row[x]);
          continue;
        }
        const CRgb p = pixelFormat == ZTLIB_RGB ? RgbAt(row, x) : ToRgb(YuvAt(pixelFormat, row, x));
        for (const int value : {p.red, p.green, p.blue})
          lines.push_back(static_cast<std::uint8_t>(value));
      }
    }
    uLongf size = compressBound(static_cast<uLong>(lines.size()));
    packed.resize(size);
    if (compress(packed.data(), &size, lines.data(), static_cast<uLong>(lines.size())) != Z_OK)
      throw CError("cannot code a picture");
    packed.resize(size);

    std::vector<std::uint8_t> header;
    AppendNumber(header, static_cast<std::uint32_t>(picture.width));
    AppendNumber(header, static_cast<std::uint32_t>(picture.height));
    // 8 bits, gray or RGB, the only methods there are, no interlacing
    header.insert(header.end(), {8, std::uint8_t(isGray ? 0 : 2), 0, 0, 0});
    file.assign({0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'});
    AppendChunk("IHDR", header);
    AppendChunk("IDAT", packed);
    AppendChunk("IEND", {});
    return file;
  }

 private:
  static void AppendNumber(std::vector<std::uint8_t>& bytes, std::uint32_t number) {
    for (const int shift : {24, 16, 8, 0})
      bytes.push_back(static_cast<std::uint8_t>(number >> shift));
  }
  void AppendChunk(std::string_view name, std::span<const std::uint8_t> content) {
    AppendNumber(file, static_cast<std::uint32_t>(content.size()));
    const std::size_t start = file.size();
    file.insert(file.end(), name.begin(), name.end());
    file.insert(file.end(), content.begin(), content.end());
    AppendNumber(file, static_cast<std::uint32_t>(
                           crc32(0, &file[start], static_cast<uInt>(file.size() - start))));
  }

  std::vector<std::uint8_t> lines, packed, file;
};

class CPlaneMaker : public IPlaneMaker {
 public:
  explicit CPlaneMaker(const CFrame& first)
      : pixelFormat(PixelFormatOf(first)), width(first.width), height(first.height) {
    switch (pixelFormat) {
      case ZTLIB_GRAY:
        layout = "mono";
        break;
      case ZTLIB_YUYV:
      case ZTLIB_UYVY:
        layout = "422";
        across = 2;
        break;
      case ZTLIB_YUV:
        layout = "444";
        break;
      default:
        layout = "420jpeg";
        across = down = 2;
        break;
    }
  }

  const char* Layout() const override { return layout; }

  std::span<const CPlane> Make(const CFrame& picture) override {
    if (picture.width != width || picture.height != height)
      throw CError(
          Text("pictures are scaled by FFmpeg, which this %s was built without", ProgramName()));
    luma.clear();
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        luma.push_back(static_cast<std::uint8_t>(YuvAt(pixelFormat, Row(picture, y), x).y));
    planes[0] = {luma.data(), width, width, height};
    if (pixelFormat == ZTLIB_GRAY) return std::span(planes).first(1);

    const int columns = (width + across - 1) / across, rows = (height + down - 1) / down;
    for (auto& plane : chroma)
      plane.clear();
    for (int y = 0; y < rows; ++y)
      for (int x = 0; x < columns; ++x)
        AddChroma(picture, x, y);
    for (std::size_t i = 0; i < chroma.size(); ++i)
      planes[i + 1] = {chroma[i].data(), columns, columns, rows};
    return planes;
  }

 private:
  // The mean of the pixels that share a sample.
  void AddChroma(const CFrame& picture, int column, int row) {
    int u = 0, v = 0, count = 0;
    for (int y = row * down; y < std::min((row + 1) * down, height); ++y)
      for (int x = column * across; x < std::min((column + 1) * across, width); ++x) {
        const CYuv p = YuvAt(pixelFormat, Row(picture, y), x);
        u += p.u;
        v += p.v;
        ++count;
      }
    chroma[0].push_back(static_cast<std::uint8_t>((u + count / 2) / count));
    chroma[1].push_back(static_cast<std::uint8_t>((v + count / 2) / count));
  }

  int pixelFormat, width, height;
  const char* layout = nullptr;
  int across = 1, down = 1;
  std::vector<std::uint8_t> luma;
  std::array<std::vector<std::uint8_t>, 2> chroma;
  std::array<CPlane, 3> planes;
};

}  // namespace

std::unique_ptr<IPngCoder> NewPngCoder() {
  return std::make_unique<CPngCoder>();
}

std::unique_ptr<IPlaneMaker> NewPlaneMaker(const CFrame& first) {
  return std::make_unique<CPlaneMaker>(first);
}

std::unique_ptr<IPictureSink> NewVideoOutput(COutputs&, const std::string& path, double,
                                             EUnfinished) {
  throw CError(path + Text(": videos are written by FFmpeg, which this %s was built without",
                           ProgramName()));
}
