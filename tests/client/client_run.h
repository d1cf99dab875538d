#pragma once

#include "tests/client/process.h"
#include "tests/kit/codec.h"
#include "tests/support/common.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

namespace fs = std::filesystem;

struct CRun {
  int status = 0;
  std::string output, errors;
};

inline Bytes ReadBytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteBytes(const fs::path& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

inline std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

inline void ExpectPart(const std::string& text, const std::string& part) {
  EXPECT_GT(Count(text, part), 0U) << "'" << part << "' in: " << text;
}

// What the library makes of a JPEG picture, as planes: the way a YUV4MPEG2 stream holds them.
inline Bytes DecodePlanes(std::span<const std::uint8_t> stream, int scale, bool isGray) {
  const kit::FramePool pool;
  Bytes frame;
  ztlib_copyAndAddHeader(&frame, kit::Collect, stream.data(),
                         static_cast<std::uint32_t>(stream.size()));
  const kit::Image image = kit::NewImage();
  kit::Decoder(isGray ? ZTLIB_GRAY : ZTLIB_YUV, scale).Process(image.get(), frame);
  const Bytes pixels = kit::BytesOf(image);
  Bytes planes;
  for (std::size_t channel = 0; channel < (isGray ? 1 : 3); ++channel)
    for (std::size_t i = channel; i < pixels.size(); i += isGray ? 1 : 4)
      planes.push_back(pixels[i]);
  return planes;
}

// A YUV4MPEG2 stream in parts. The test fails unless all its frames have the size.
struct CY4m {
  std::string header;
  std::vector<Bytes> frames;
};
inline CY4m ParseY4m(const std::string& stream, std::size_t frameBytes) {
  const std::string mark = "FRAME\n";
  const std::size_t end = std::min(stream.find('\n'), stream.size() - 1) + 1;
  CY4m y4m{stream.substr(0, end), {}};
  for (std::size_t at = end; at < stream.size(); at += mark.size() + frameBytes) {
    const std::string frame = stream.substr(at, mark.size() + frameBytes);
    EXPECT_TRUE(frame.starts_with(mark) && frame.size() == mark.size() + frameBytes) << at;
    y4m.frames.emplace_back(frame.begin() + static_cast<std::ptrdiff_t>(mark.size()), frame.end());
  }
  return y4m;
}

// Each test has a folder with "demo.zts", twelve frames of the drawn scene, and its report. Its
// name has a blank and letters that no single code page has, so every command meets such names.
class ClientTest : public testing::Test {
 protected:
  static constexpr int frames = 12, width = 320, height = 240;
  static constexpr std::size_t headerSize = 112;

  void SetUp() override {
    const fs::path name = fs::temp_directory_path() / u8"ztclient Stra\u00DFe \u5317 ";
    for (int i = 1; folder.empty() || !fs::create_directory(folder); ++i)
      (folder = name) += std::to_string(i);
    EXPECT_EQ(Succeed("demo --frames 12 --size 320x240 --out @.").errors, "");
  }
  void TearDown() override {
    if (!folder.empty()) fs::remove_all(folder);
  }

  [[nodiscard]] fs::path Path(const std::string& name) const { return folder / name; }
  // The words of a line. Each "@" stands for the folder.
  [[nodiscard]] std::vector<std::string> Expand(const std::string& line) const {
    std::istringstream rest(line);
    std::vector<std::string> words;
    for (std::string word; rest >> word; words.push_back(word))
      for (std::size_t at; (at = word.find('@')) != std::string::npos;)
        word.replace(at, 1, folder.string() + "/");
    return words;
  }
  // Runs ztclient with these arguments. Where the first of them is "ztinside", the others go to
  // that program.
  [[nodiscard]] CRun Run(const std::string& arguments) const {
    if (IsInside(arguments)) return Run(ZTINSIDE, arguments.substr(inside.size()));
    return Run(ZTCLIENT, arguments);
  }
  [[nodiscard]] CRun Run(const fs::path& program, const std::string& arguments) const {
    const int status = CProcess(program, Expand(arguments), Path("stdout"), Path("stderr")).Wait();
    std::string errors = ReadText("stderr");
    std::erase(errors, '\r');
    return {status, ReadText("stdout"), errors};
  }
  // Runs a command that must not fail.
  CRun Succeed(const std::string& arguments) const {
    CRun run = Run(arguments);
    EXPECT_EQ(run.status, 0) << arguments << ": " << run.errors;
    return run;
  }
  // Runs a command that must end with status 1 and one line with this text.
  void ExpectError(const std::string& arguments, const std::string& text) const {
    const CRun run = Run(arguments);
    EXPECT_EQ(run.status, 1) << arguments;
    EXPECT_EQ(Count(run.errors, "\n"), 1U) << arguments << ": " << run.errors;
    EXPECT_TRUE(run.errors.starts_with(IsInside(arguments) ? "ztinside: " : "ztclient: "));
    ExpectPart(run.errors, text);
  }
  void ExpectErrors(std::initializer_list<std::pair<const char*, const char*>> cases) const {
    for (const auto& [arguments, text] : cases)
      ExpectError(arguments, text);
  }
  [[nodiscard]] nlohmann::json Info(const std::string& name) const {
    return nlohmann::json::parse(Run("info --json @" + name).output);
  }
  // Plays in YUV and returns the pictures; their size is that of the demo by default.
  [[nodiscard]] std::vector<Bytes> Play(const std::string& arguments, int scale = 1,
                                        int pixels = width * height) const {
    const std::string options = "play --pixels yuv --y4m - --scale " + std::to_string(scale);
    return ParseY4m(Succeed(options + " @" + arguments).output,
                    static_cast<std::size_t>(3 * pixels / scale / scale))
        .frames;
  }
  // All files in the folder except the output of Run.
  [[nodiscard]] std::set<fs::path> Files() const {
    std::set<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
      if (entry.path().stem() != "stdout" && entry.path().stem() != "stderr")
        files.insert(entry.path());
    return files;
  }
  // Waits for something that a process does, for a minute at most.
  template <class Condition>
  static bool Await(Condition&& condition) {
    for (int i = 0; i < 6000; ++i) {
      if (condition()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }
  [[nodiscard]] std::uintmax_t Size(const std::string& name) const {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(Path(name), error);
    return error ? 0 : size;
  }
  [[nodiscard]] std::string ReadText(const std::string& name) const {
    const Bytes bytes = ReadBytes(Path(name));
    return {bytes.begin(), bytes.end()};
  }
  void WriteText(const std::string& name, const std::string& text) const {
    WriteBytes(Path(name), {text.begin(), text.end()});
  }

  fs::path folder;

 private:
  static inline const std::string inside = "ztinside ";
  static bool IsInside(const std::string& arguments) { return arguments.starts_with(inside); }
};
