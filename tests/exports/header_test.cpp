#include "include/ztlib.hpp"

#include <atomic>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>

namespace {

using ztlib::Bytes;
using ztlib::FramePool;
using ztlib::Image;

constexpr int width = 64, height = 48;

class Header : public testing::Test {
 protected:
  ztlib::Session session;

  static Image Picture(int shift, ztlib_pixel_format format = ZTLIB_YUV) {
    auto frame = FramePool::New(width, height, format);
    for (std::size_t i = 0; i < frame->size; ++i)
      frame->data[0][i] =
          static_cast<std::uint8_t>(i % 4 == 0 ? (i / 16 + i / 512) * 3 + shift : 128);
    return {format, std::move(frame)};
  }
  static Bytes Coded(const ztlib::Encoder& encoder, int shift) {
    Bytes frame;
    encoder.Encode(Picture(shift), frame);
    return frame;
  }
  // What a call throws; empty if it does not.
  template <class Function>
  static std::string Thrown(Function&& function) {
    try {
      function();
    } catch (const ztlib::Error& error) {
      return error.what();
    }
    return {};
  }
};

TEST_F(Header, ADecoderFollowsFormatsKeyFramesAndScales) {
  const ztlib::Encoder plain({ZTLIB_VIDEO_MJPEG, width, height});
  ztlib::EncoderSettings settings{ZTLIB_VIDEO_MJPEGDIFF, width, height};
  settings.hasOverflowKeys = false;
  const ztlib::Encoder differential(settings);
  Bytes key = Coded(differential, 0), change = Coded(differential, 90), mjpeg = Coded(plain, 0);
  ASSERT_TRUE(ztlib::ReadCodedFrame(change).IsDifferential());
  EXPECT_EQ(ztlib::ReadCodedFrame(mjpeg).payload.size(), mjpeg.size() - 112);

  ztlib::Decoder decoder({ZTLIB_YUV});
  const auto size = [&](Bytes& frame) {
    const Image& image = decoder.Decode(frame);
    return image.Width() * 1000 + image.Height();
  };
  const std::string baseless = "a differential frame without its key frame";
  EXPECT_EQ(Thrown([&] { size(change); }), baseless);
  EXPECT_EQ(size(key), 64048);
  EXPECT_EQ(size(change), 64048);
  EXPECT_EQ(size(mjpeg), 64048);
  EXPECT_EQ(decoder.Decode(mjpeg).FrameAs().pixelFormat, ZTLIB_YUV);
  EXPECT_EQ(Thrown([&] { size(change); }), baseless);
  // A new scale holds from the next key frame on, and frames behind that have their base.
  EXPECT_EQ(size(key), 64048);
  decoder.Configure({ZTLIB_YUV, 2});
  EXPECT_EQ(size(change), 64048);
  EXPECT_EQ(size(key), 32024);
  EXPECT_EQ(size(change), 32024);

  ztlib::Decoder moved = std::move(decoder);
  EXPECT_EQ(moved.Decode(change).Width(), 32);
  Bytes cut(change.begin(), change.begin() + 70), unknown = mjpeg;
  unknown[24] = 99;
  EXPECT_NE(Thrown([&] { moved.Decode(cut); }), "");
  EXPECT_EQ(Thrown([&] { moved.Decode(unknown); }), "unknown video format 99");
  ztlib::Decoder given({ZTLIB_YUV});
  given.SetBaseImage(Picture(0));
  EXPECT_EQ(given.Decode(change).Width(), width);
}

TEST_F(Header, WhatWouldEndTheProcessIsAFailure) {
  const ztlib::Encoder encoder({ZTLIB_VIDEO_MJPEGDIFF, width, height});
  Bytes frame;
  const Image small(ZTLIB_YUV, FramePool::New(32, 32, ZTLIB_YUV));
  EXPECT_EQ(Thrown([&] { encoder.Encode(small, frame); }),
            "a picture of 32x32 for an encoder of 64x48");
  EXPECT_NE(Thrown([] { ztlib::Encoder({ZTLIB_VIDEO_MJPEGDIFF, 72, 48}); }), "");
  EXPECT_NE(Thrown([] { ztlib::Encoder({ZTLIB_VIDEO_LAYERED, 64, 48}); }), "");
}

TEST_F(Header, WhatASinkThrowsComesOutAsItWas) {
  const ztlib::Encoder encoder({ZTLIB_VIDEO_MJPEG, width, height});
  struct Full {};
  EXPECT_THROW(encoder.Encode(Picture(0), [](ztlib::ByteView) { throw Full(); }), Full);
  Bytes frame;
  encoder.Encode(Picture(0), frame);
  EXPECT_FALSE(frame.empty());
}

TEST_F(Header, ImagesKeepTheirPictureAfterAFailure) {
  Image image = Picture(5);
  Bytes block;
  image.Save(block);
  EXPECT_NE(Thrown([&] { image.Load(ztlib::ByteView(block).Sub(0, 40)); }), "");
  EXPECT_EQ(image.FrameAs().data[0][0], 5);
  Image other;
  EXPECT_TRUE(other.IsEmpty());
  EXPECT_EQ(Thrown([&] { static_cast<void>(other.FrameAs()); }), "the image has no picture");
  other.Load(block);
  EXPECT_EQ(std::memcmp(other.FrameAs().data[0], image.FrameAs().data[0], image.FrameAs().size), 0);
}

TEST_F(Header, FramesAreReusedAndZeroedUnlessThatIsSwitchedOff) {
  FramePool::KeepIdle(0);
  FramePool::KeepIdle(1);
  for (const bool isCleared : {true, false}) {
    FramePool::ClearFrames(isCleared);
    auto frame = FramePool::New(16, 16, ZTLIB_GRAY);
    const ztlib::Frame* const first = frame.get();
    frame->data[0][0] = 9;
    frame.reset();
    frame = FramePool::New(16, 16, ZTLIB_GRAY);
    EXPECT_EQ(frame.get(), first);
    EXPECT_EQ(frame->data[0][0], isCleared ? 0 : 9);
  }
  FramePool::ClearFrames(true);
  EXPECT_THROW(static_cast<void>(FramePool::New(0, 1, ZTLIB_GRAY)), std::bad_alloc);
}

TEST_F(Header, MotionSettingsAreThoseOfTheLibraryAndResultsOutliveTheCall) {
  ztlib::MotionSettings settings;
  settings.areas.resize(2);
  settings.areas[1].polygons = {{{0, 0}, {8192, 0}, {8192, 12288}, {0, 12288}}};
  ztlib::Motion motion(settings, width, height);
  ztlib::MotionResult result;
  // The first seconds only learn.
  for (int i = 0; i < 100; ++i)
    motion.Detect(Picture(0, ZTLIB_GRAY), i * 40, result);
  ASSERT_TRUE(result.isConfigured);
  ASSERT_EQ(result.areas.size(), 2U);
  EXPECT_EQ(result.detectPercent, 0);
  auto frame = FramePool::New(width, height, ZTLIB_GRAY);
  std::memset(frame->data[0], 255, frame->size);
  bool isSignal = false;
  Image bright(ZTLIB_GRAY, std::move(frame));
  for (int i = 100; i < 105; ++i)
    isSignal |= motion.Detect(bright, i * 40, result);
  EXPECT_TRUE(isSignal);
  ztlib::MotionResult kept = std::move(result);
  EXPECT_TRUE(kept.areas[0].IsMoving(width / 2));
  EXPECT_EQ(kept.width, width);
  settings.generateMetadata = false;
  motion.Configure(settings, width, height);
  motion.Detect(bright, 0, result);
  EXPECT_TRUE(result.isConfigured);
  EXPECT_FALSE(result.hasMetadata);
  motion.Configure(ztlib::TreeWriter().Int("Configs", 3).Bytes(), width, height);
}

TEST_F(Header, TreesRoundAndNumbersHaveTheirSigns) {
  const ztlib::TreeWriter tree = ztlib::TreeWriter()
                                     .Bool("b", true)
                                     .Short("s", -2)
                                     .Int("i", -3)
                                     .Long("l", -4)
                                     .Raw('1', "y", "\xff")
                                     .Double("d", 0.5)
                                     .Text("t", "text")
                                     .Child("c", ztlib::TreeWriter().Shorts("", {1, -1}));
  for (const auto& [name, tag, value] :
       {std::tuple{"b", 'B', 1}, {"s", '2', -2}, {"i", 'I', -3}, {"l", 'Q', -4}, {"y", '1', 255}})
    EXPECT_EQ(ztlib::Find(tree.Bytes(), name, tag)->Integer(), value) << name;
  EXPECT_EQ(ztlib::Find(tree.Bytes(), "d", 'F')->Double(), 0.5);
  EXPECT_EQ(ztlib::Find(tree.Bytes(), "t", 'S')->Text(), "text");
  EXPECT_FALSE(ztlib::Find(tree.Bytes(), "t", 'I'));
  const auto list = ztlib::Find(ztlib::Find(tree.Bytes(), "c", '@')->value, "", '*');
  EXPECT_EQ(list->subtype, '2');
  EXPECT_EQ(list->value.size(), 4U);
  EXPECT_THROW(ztlib::TreeWriter().Int(std::string(128, 'x'), 1), std::length_error);
}

TEST_F(Header, MeshesAndLayersReportTheirFailures) {
  ztlib::Triangulation mesh({0, 0, 12, 12}, 1);
  for (int i = 0; i < 144; ++i)
    mesh.AddPoint(i % 12, i / 12, std::array{float(i % 12)});
  mesh.Finalize();
  float value = 0;
  mesh.Estimate(6, 6, {&value, 1});
  EXPECT_EQ(value, 6);
  EXPECT_NE(Thrown([&] { mesh.Estimate(6, 6, {nullptr, 1}); }), "");
  EXPECT_NE(Thrown([] { static_cast<void>(ztlib::SplitLayers(Bytes(200))); }), "");
  EXPECT_NE(Thrown([] { static_cast<void>(ztlib::WrapJpeg(Bytes(9))); }), "");
}

// Failures of two threads at once keep to their thread.
TEST_F(Header, FailuresOfThreadsStayApart) {
  const ztlib::Encoder encoder({ZTLIB_VIDEO_MJPEG, width, height});
  const Bytes good = Coded(encoder, 0);
  std::atomic<int> wrong = 0;
  const auto work = [&](bool fails) {
    Bytes frame = good;
    if (fails) frame.resize(40);
    ztlib::Decoder decoder({ZTLIB_YUV});
    for (int i = 0; i < 300; ++i)
      wrong += Thrown([&] { decoder.Decode(frame); }).empty() == fails;
  };
  std::thread other(work, true);
  work(false);
  other.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
