#pragma once

#include <cstdint>
#include <filesystem>
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

// A folder for each test with "demo.zts", twelve frames of the drawn scene, and its report.
class ClientTest : public testing::Test {
 protected:
  static constexpr int frames = 12, width = 320, height = 240;

  void SetUp() override;
  void TearDown() override;

  [[nodiscard]] std::string Path(const std::string& name) const { return (folder / name).string(); }
  // Runs ztclient with these arguments, "@" before a name standing for the folder.
  [[nodiscard]] CRun Run(const std::string& arguments) const;
  [[nodiscard]] nlohmann::json Info(const std::string& name) const;

  std::filesystem::path folder;
};

inline constexpr std::size_t headerSize = 112;

// libjpeg's own answer, as planes: the way a YUV4MPEG2 stream holds them.
[[nodiscard]] Bytes DecodePlanes(const std::uint8_t* data, std::size_t size, unsigned scale,
                                 bool isGray);

// A YUV4MPEG2 stream taken apart.
struct CY4m {
  std::string header;
  std::vector<Bytes> frames;
};
// Null frames and a failed expectation if the stream is not whole frames of that size.
[[nodiscard]] CY4m ParseY4m(const std::string& stream, std::size_t frameBytes);
