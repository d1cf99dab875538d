#include "tests/client/client_run.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <jpeglib.h>
#include <sys/wait.h>

namespace fs = std::filesystem;

std::size_t CRun::ErrorLines() const {
  return static_cast<std::size_t>(std::count(errors.begin(), errors.end(), '\n'));
}

Bytes ReadBytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteBytes(const fs::path& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

void ClientTest::SetUp() {
  std::string name = (fs::temp_directory_path() / "ztclient.XXXXXX").string();
  ASSERT_NE(mkdtemp(name.data()), nullptr);
  folder = name;
  const CRun demo = Run("demo --frames 12 --size 320x240 --out @.");
  ASSERT_EQ(demo.status, 0) << demo.errors;
  ASSERT_EQ(demo.errors, "");
}

void ClientTest::TearDown() {
  if (!folder.empty()) fs::remove_all(folder);
}

CRun ClientTest::Run(const std::string& arguments) const {
  std::string command = std::string("'") + ZTCLIENT + "'";
  std::string rest = " " + arguments;
  for (std::size_t at; (at = rest.find(" @")) != std::string::npos;)
    rest.replace(at, 2, " " + folder.string() + "/");
  command += rest + " >" + Path("stdout") + " 2>" + Path("stderr") + " </dev/null";
  CRun run;
  const int status = std::system(command.c_str());
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  const Bytes output = ReadBytes(Path("stdout")), errors = ReadBytes(Path("stderr"));
  run.output.assign(output.begin(), output.end());
  run.errors.assign(errors.begin(), errors.end());
  return run;
}

nlohmann::json ClientTest::Info(const std::string& name) const {
  return nlohmann::json::parse(Run("info --json @" + name).output);
}

Bytes DecodePlanes(const std::uint8_t* data, std::size_t size, unsigned scale, bool isGray) {
  jpeg_decompress_struct jpeg{};
  jpeg_error_mgr errors{};
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&jpeg);
  jpeg_mem_src(&jpeg, data, size);
  jpeg_read_header(&jpeg, TRUE);
  jpeg.out_color_space = isGray ? JCS_GRAYSCALE : JCS_YCbCr;
  jpeg.scale_num = 1;
  jpeg.scale_denom = scale;
  jpeg_start_decompress(&jpeg);
  const std::size_t pixels = std::size_t{jpeg.output_width} * jpeg.output_height;
  const auto channels = static_cast<std::size_t>(jpeg.output_components);
  Bytes planes(pixels * channels), row(jpeg.output_width * channels);
  while (jpeg.output_scanline < jpeg.output_height) {
    const std::size_t start = std::size_t{jpeg.output_scanline} * jpeg.output_width;
    JSAMPROW pointer = row.data();
    jpeg_read_scanlines(&jpeg, &pointer, 1);
    for (std::size_t i = 0; i < row.size(); ++i)
      planes[i % channels * pixels + start + i / channels] = row[i];
  }
  jpeg_finish_decompress(&jpeg);
  jpeg_destroy_decompress(&jpeg);
  return planes;
}

CY4m ParseY4m(const std::string& stream, std::size_t frameBytes) {
  const std::string mark = "FRAME\n";
  const std::size_t end = std::min(stream.find('\n'), stream.size() - 1) + 1;
  CY4m y4m{stream.substr(0, end), {}};
  for (std::size_t at = end; at < stream.size(); at += mark.size() + frameBytes) {
    if (stream.compare(at, mark.size(), mark) != 0 ||
        stream.size() - at < mark.size() + frameBytes) {
      ADD_FAILURE() << "no whole frame at " << at;
      break;
    }
    const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(at + mark.size());
    y4m.frames.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(frameBytes));
  }
  return y4m;
}
