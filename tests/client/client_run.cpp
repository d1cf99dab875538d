#include "tests/client/client_run.h"

#include "tests/support/jpeg_reference.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <sys/wait.h>

namespace fs = std::filesystem;

namespace {

const std::string inside = "ztinside ";

}  // namespace

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
  const bool isInside = arguments.starts_with(inside);
  std::string command = std::string("'") + (isInside ? ZTINSIDE : ZTCLIENT) + "'";
  std::string rest = " " + arguments.substr(isInside ? inside.size() : 0);
  for (std::size_t at; (at = rest.find(" @")) != std::string::npos;)
    rest.replace(at, 2, " " + folder.string() + "/");
  command += rest + " >" + Path("stdout") + " 2>" + Path("stderr") + " </dev/null";
  CRun run;
  const int status = std::system(command.c_str());
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.output = ReadText("stdout");
  run.errors = ReadText("stderr");
  return run;
}

nlohmann::json ClientTest::Info(const std::string& name) const {
  return nlohmann::json::parse(Run("info --json @" + name).output);
}

std::vector<Bytes> ClientTest::Play(const std::string& arguments, int scale, int pixels) const {
  const CRun play =
      Run("play --pixels yuv --y4m - --scale " + std::to_string(scale) + " @" + arguments);
  EXPECT_EQ(play.status, 0) << arguments << play.errors;
  return ParseY4m(play.output, static_cast<std::size_t>(3 * pixels / scale / scale)).frames;
}

std::string ClientTest::ReadText(const std::string& name) const {
  const Bytes bytes = ReadBytes(Path(name));
  return {bytes.begin(), bytes.end()};
}

void ClientTest::WriteText(const std::string& name, const std::string& text) const {
  WriteBytes(Path(name), {text.begin(), text.end()});
}

void ClientTest::ExpectErrors(
    std::initializer_list<std::pair<const char*, const char*>> argumentsAndTexts) const {
  for (const auto& [arguments, text] : argumentsAndTexts) {
    const CRun run = Run(arguments);
    EXPECT_EQ(run.status, 1) << arguments;
    EXPECT_EQ(run.ErrorLines(), 1U) << arguments << ": " << run.errors;
    const bool isInside = std::string(arguments).starts_with(inside);
    EXPECT_EQ(run.errors.find(isInside ? "ztinside: " : "ztclient: "), 0U)
        << arguments << ": " << run.errors;
    EXPECT_NE(run.errors.find(text), std::string::npos) << arguments << ": " << run.errors;
  }
}

Bytes DecodePlanes(std::span<const std::uint8_t> stream, int scale, bool isGray) {
  const auto picture = jpeg_reference::Decode(Bytes(stream.begin(), stream.end()),
                                              isGray ? JCS_GRAYSCALE : JCS_YCbCr, scale);
  const auto channels = static_cast<std::size_t>(picture.components);
  Bytes planes(picture.pixels.size());
  for (std::size_t i = 0; i < planes.size(); ++i)
    planes[i % channels * (planes.size() / channels) + i / channels] = picture.pixels[i];
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
