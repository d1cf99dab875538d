#pragma once

#include "tests/kit/codec.h"
#include "tests/support/common.h"
#include "tests/support/test_frames.h"

using kit::BytesOf;
using kit::FrameOf;
using kit::Image;
using kit::NewImage;

// A client of the exports, which registers a frame manager, a logger and a handler, and starts each
// test with no recorded log lines and failures.
class ExportTest : public testing::Test {
 protected:
  using Line = std::pair<int, std::string>;

  CTestFrames frames;

  static inline std::vector<Line> lines;
  static inline std::vector<std::string> failures;

  static void SetUpTestSuite() {
    static const bool once = [] {
      ztlib_registerLogger([](int level, const char* text) { lines.emplace_back(level, text); });
      ztlib_registerExceptionHandler([](const char* text) { failures.emplace_back(text); });
      return true;
    }();
    (void)once;
  }

  void SetUp() override { Forget(); }

  static void Forget() {
    lines.clear();
    failures.clear();
  }

  // Expects one failure, reported by one line of level 1 with the same text in quotes; the line
  // number in the text may be any. `kind` is "CException" or "std::exception".
  static void ExpectFailure(const std::string& function, const std::string& source,
                            const std::string& message, const std::string& kind = "CException") {
    ASSERT_EQ(failures.size(), 1U);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], Line(1, kind + " (" + function + "): '" + failures[0] + "'!"));
    const std::string head = "Exception [" + source + ":";
    EXPECT_EQ(failures[0].substr(0, head.size()), head);
    const std::string tail = "] - " + message;
    ASSERT_GE(failures[0].size(), tail.size());
    EXPECT_EQ(failures[0].substr(failures[0].size() - tail.size()), tail);
    Forget();
  }

  // Expects the failure of damaged JPEG data, which has no text.
  static void ExpectUnknownFailure(const std::string& function) {
    EXPECT_EQ(lines, std::vector<Line>{Line(1, "Unknown exception (" + function + ")!")});
    EXPECT_EQ(failures, std::vector<std::string>{"Unknown exception!"});
    Forget();
  }

  static void ExpectNoFailure() {
    EXPECT_TRUE(failures.empty()) << failures.front();
    EXPECT_TRUE(lines.empty()) << lines.front().second;
  }

  // Collects what an export hands out, and counts how often it does.
  struct Output {
    Bytes bytes;
    int calls = 0;
    static void Receive(void* user, const void* data, uint32_t size) {
      auto& self = *static_cast<Output*>(user);
      ++self.calls;
      kit::Collect(&self.bytes, data, size);
    }
  };
};
