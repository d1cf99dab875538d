#include "tests/kit/codec.h"
#include "tests/support/export_fixture.h"

#include <pthread.h>

namespace {

using kit::Encoder;

enum Place { nowhere, inLog, inHandler, inAllocate, inRelease, inOutput };

// A thread that is cancelled in a callback ends there, unwinds through the library and its client,
// and leaves no lock behind.
class Cancellation : public ExportTest {
 protected:
  Cancellation() {
    ztlib_registerAVFrameMgr(Allocate, Release, nullptr, 0);
    static const bool once = [] {
      ztlib_registerLogger([](int, const char*) { EndIf(inLog); });
      return true;
    }();
    (void)once;
    ztlib_registerExceptionHandler([](const char* text) {
      EndIf(inHandler);
      failures.emplace_back(text);
    });
  }

  static inline Place place;
  static void EndIf(Place here) {
    if (place != here) return;
    place = nowhere;
    pthread_cancel(pthread_self());
    pthread_testcancel();
  }
  static void* Allocate(int width, int height, int format) {
    EndIf(inAllocate);
    return CTestFrames::Allocate(width, height, format);
  }
  static void Release(void* frame) {
    EndIf(inRelease);
    CTestFrames::Release(frame);
  }
  static void Receive(void*, const void*, std::uint32_t) { EndIf(inOutput); }

  struct Outcome {
    bool cancelled = false, returned = false, unwound = false;
    bool operator==(const Outcome&) const = default;
  };
  // Runs a call on a separate thread and tells how it ended.
  static Outcome Run(Place where, std::function<void()> call) {
    struct Thread {
      std::function<void()> call;
      Outcome outcome;
    } thread{std::move(call), {}};
    place = where;
    pthread_t id;
    const auto body = [](void* argument) -> void* {
      auto& self = *static_cast<Thread*>(argument);
      const struct Local {
        bool& unwound;
        ~Local() { unwound = true; }
      } local{self.outcome.unwound};
      self.call();
      self.outcome.returned = true;
      pthread_testcancel();
      return nullptr;
    };
    EXPECT_EQ(pthread_create(&id, nullptr, body, &thread), 0);
    void* result = nullptr;
    pthread_join(id, &result);
    thread.outcome.cancelled = result == PTHREAD_CANCELED;
    return thread.outcome;
  }
};

TEST_F(Cancellation, EndsTheThreadInEveryCallbackAndLeavesNoLock) {
  const Image image = NewImage(ZTLIB_RGB, 32, 32, {9});
  const Encoder encoder(32, 32, ZTLIB_VIDEO_MJPEGDIFF);
  const Bytes frame = encoder.Process(image.get(), true);
  const auto fail = [] { ztlib_ztimage_create_avframe(9, nullptr); };
  const auto logInside = [] { ztlib_decoder_create(99); };
  const auto encode = [&] {
    ztlib_encoder_process(encoder.object, nullptr, Receive, image.get(), 1);
  };
  const std::tuple<Place, std::function<void()>> roads[] = {{inLog, fail},
                                                            {inLog, logInside},
                                                            {inHandler, fail},
                                                            {inAllocate, encode},
                                                            {inOutput, encode}};
  for (const auto& [where, call] : roads) {
    SCOPED_TRACE(where);
    EXPECT_EQ(Run(where, call), (Outcome{.cancelled = true, .unwound = true}));
    EXPECT_EQ(place, nowhere);
    Forget();
    // If a lock was left behind, another thread would wait for ever.
    EXPECT_EQ(Run(nowhere, logInside), (Outcome{.returned = true, .unwound = true}));
    EXPECT_EQ(lines.size(), 1U);
    EXPECT_EQ(Run(nowhere, [&] { EXPECT_EQ(encoder.Process(image.get(), true), frame); }).returned,
              true);
  }
}

// Frames are released in destructors, which no exception can leave.
TEST_F(Cancellation, WaitsForTheEndOfRelease) {
  EXPECT_EQ(
      Run(inRelease, [] { ztlib_ztimage_destroy(NewImage(ZTLIB_GRAY, 8, 8, {1}).release()); }),
      (Outcome{.cancelled = true, .returned = true, .unwound = true}));
  EXPECT_EQ(CTestFrames::released, 1);
}

}  // namespace
