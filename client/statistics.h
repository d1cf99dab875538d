#pragma once

#include "client/frame.h"

#include <chrono>
#include <cstdint>
#include <string>

// Time spent in one stage of the work.
class CStage {
 public:
  explicit CStage(std::string stageName) : name(std::move(stageName)) {}

  // Runs `work` on the clock and returns its result.
  template <class Work>
  decltype(auto) Run(Work&& work) {
    const CRunning running{*this, std::chrono::steady_clock::now()};
    return work();
  }

  [[nodiscard]] const std::string& Name() const { return name; }
  [[nodiscard]] double SecondsPerRun() const { return runs ? seconds / double(runs) : 0; }
  [[nodiscard]] double RunsPerSecond() const { return seconds > 0 ? double(runs) / seconds : 0; }

 private:
  struct CRunning {
    CStage& stage;
    std::chrono::steady_clock::time_point start;
    ~CRunning() {
      stage.seconds +=
          std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      ++stage.runs;
    }
  };

  std::string name;
  double seconds = 0;
  std::int64_t runs = 0;
};

// Squared error of 8-bit samples.
struct CSquaredError {
  std::uint64_t sum = 0;
  std::uint64_t samples = 0;

  CSquaredError& operator+=(const CSquaredError& other);
  // In dB, at most maxPsnr, which also stands for equal pictures.
  [[nodiscard]] double Psnr() const;
  static constexpr double maxPsnr = 99;
};

struct CPictureError {
  CSquaredError luma;    // Y
  CSquaredError chroma;  // Cb and Cr together

  CPictureError& operator+=(const CPictureError& other);
};

// Of two ZTLIB_YUV pictures of the same size.
[[nodiscard]] CPictureError Compare(const AVFrame& first, const AVFrame& second);
