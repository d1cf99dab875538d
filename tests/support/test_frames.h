#pragma once

#include "tests/kit/frames.h"

#include <gtest/gtest.h>

// The frame pool of tests. Pictures are filled with one value at first, and every frame must have
// come back when the object dies.
struct CTestFrames : kit::FramePool {
  explicit CTestFrames(std::uint8_t fill = 0xA5) : FramePool({.fill = fill}) {}
  ~CTestFrames() { EXPECT_EQ(allocated, released); }
};
