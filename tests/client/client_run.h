#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using Bytes = std::vector<std::uint8_t>;

struct CRun {
  int status = 0;
  std::string output, errors;
  [[nodiscard]] std::size_t ErrorLines() const;
};

[[nodiscard]] Bytes ReadBytes(const std::filesystem::path& path);
void WriteBytes(const std::filesystem::path& path, const Bytes& bytes);

// libjpeg's own answer, as planes: the way a YUV4MPEG2 stream holds them.
[[nodiscard]] Bytes DecodePlanes(std::span<const std::uint8_t> picture, int scale, bool isGray);

// A YUV4MPEG2 stream taken apart; what is not whole frames of that size fails the test.
struct CY4m {
  std::string header;
  std::vector<Bytes> frames;
};
[[nodiscard]] CY4m ParseY4m(const std::string& stream, std::size_t frameBytes);

// A folder for each test with "demo.zts", twelve frames of the drawn scene, and its report.
class ClientTest : public testing::Test {
 protected:
  static constexpr int frames = 12, width = 320, height = 240;
  static constexpr std::size_t headerSize = 112;

  void SetUp() override;
  void TearDown() override;

  [[nodiscard]] std::string Path(const std::string& name) const { return (folder / name).string(); }
  // Runs ztclient with these arguments, "@" before a name standing for the folder. Where the first
  // of them is "ztinside", the others go to that program.
  [[nodiscard]] CRun Run(const std::string& arguments) const;
  [[nodiscard]] nlohmann::json Info(const std::string& name) const;
  // What is played in YUV; the size is that of the demo unless it is given.
  [[nodiscard]] std::vector<Bytes> Play(const std::string& arguments, int scale = 1,
                                        int pixels = width * height) const;
  [[nodiscard]] std::string ReadText(const std::string& name) const;
  void WriteText(const std::string& name, const std::string& text) const;
  // Each of the calls ends with status 1 and one line with this text.
  void ExpectErrors(
      std::initializer_list<std::pair<const char*, const char*>> argumentsAndTexts) const;

  std::filesystem::path folder;
};
