#include "main/lib/base/debug.h"
#include "tests/support/common.h"

#include <cerrno>
#include <map>

using namespace ztlib;

namespace {

std::vector<std::string> written;

class CRecordingStream : public ILogStream {
 public:
  explicit CRecordingStream(std::string name) : name(std::move(name)) {}
  ~CRecordingStream() override { written.push_back("~" + name); }
  void Write(int level, const char* text) override {
    written.push_back(name + std::to_string(level) + text);
  }

 private:
  std::string name;
};

TEST(Exceptions, TextsAreBoundedAndNameTheSite) {
  EXPECT_STREQ(CException("gone").what(), "Exception - gone");
  EXPECT_STREQ(CDataException("gone", "Find", "main/x", 7).what(), "Exception [main/x:7] - gone");
  EXPECT_EQ(std::string(CException(std::string(600, 'a').c_str()).what()).size(), 511U);
}

TEST(Exceptions, ErrnoTextsAreTheSystemsOwn) {
  std::map<int, std::string> texts = {{1, "EPERM: Operation not permitted"},
                                      {64, "ENONET: Machine Is not on the network"},
                                      {88, "ENOTSOCK: CSocket operation on non-socket"},
                                      {131, "ENOTRECOVERABLE: State not recoverable"}};
  for (int unknown : {41, 97, 132, 0, -3})
    texts[unknown] = "Unknown error no";
  for (const auto& [number, text] : texts) {
    errno = number;
    EXPECT_EQ(CStdLibErrException().what(),
              "std lib error: " + std::to_string(number) + " [" + text + "]");
  }
}

TEST(Logger, WritesToAllStreamsInOrderAndCutsLongLines) {
  written.clear();
  {
    CLoggerWin logger;
    logger.Log(1, "x", 1, "%s", "nobody listens");
    logger.AddStream(new CRecordingStream("a"));
    logger.AddStream(new CRecordingStream("b"));
    logger.Log(3, "x", 1, "%d %s", 5, "%n");
    EXPECT_EQ(written, (std::vector<std::string>{"a35 %n", "b35 %n"}));
    written.clear();
    logger.Log(0, "x", 1, "%s", std::string(20000, 'z').c_str());
    EXPECT_EQ(written.at(1), "b0" + std::string(10239, 'z'));
    written.clear();
  }
  EXPECT_EQ(written, (std::vector<std::string>{"~b", "~a"}));
}

TEST(Logger, CallbacksMayLogAndRegisterOnTheSameThread) {
  static CLoggerWin* current;
  class CNestingStream : public ILogStream {
   public:
    void Write(int level, const char*) override {
      if (level != 1) return;
      current->AddStream(new CRecordingStream("late"));
      current->Log(2, "x", 1, "inner");
    }
  };
  CLoggerWin logger;
  current = &logger;
  logger.AddStream(new CNestingStream);
  logger.AddStream(new CRecordingStream("a"));
  written.clear();
  logger.Log(1, "x", 1, "outer");
  // One that is registered during a line gets the next.
  EXPECT_EQ(written, (std::vector<std::string>{"a2inner", "late2inner", "a1outer"}));
}

TEST(Debug, AssertionsPrintAndGoOnAndGuardsLogAndGoOn) {
  Logger().AddStream(new CRecordingStream("log"));
  written.clear();
  testing::internal::CaptureStderr();
  int* const pointer = nullptr;
  ZT_ASSERT(pointer != nullptr, "main/x", 69);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "------------> ASSERTION FAILED at main/x:69 : pointer != nullptr is false!\n");
  { const CDebugScope scope("work"); }
  const int ver = 2;
  ZT_MUST_BE_FALSE(ver != 1, "Load", "main/x", 12);
  EXPECT_EQ(written,
            (std::vector<std::string>{"log2ctx enter: work", "log2ctx exit: work",
                                      "log1EXCEPTION! main/x:12: ver != 1should be false!"}));
}

TEST(Locks, MisuseThrowsWithTheLineOfTheCall) {
  EXPECT_EQ(TextOf<CSynchronException>([] {
              CMutex mutex(CMutex::Kind::ErrorCheck);
              const CAutoLock lock(&mutex);
              mutex.Lock();
            }),
            "Exception [main/lib/base/synchron_pthread:46] - Mutex deadlock detected");
  EXPECT_EQ(TextOf<CSynchronException>([] {
              CMutex mutex(CMutex::Kind::Recursive);
              std::thread([&] { mutex.Lock(); }).join();
              mutex.Unlock();
            }),
            "Exception [main/lib/base/synchron_pthread:65] - Mutex not locked in this thread");
  EXPECT_NE(TextOf<CSynchronException>([] {
              const CAutoLock lock(nullptr);
            }).find("] - Uninitialized mutex used for autolock"),
            std::string::npos);
#if !defined(_WIN32)  // where a locked mutex may be destroyed
  testing::internal::CaptureStdout();
  {
    CMutex mutex(CMutex::Kind::Recursive);
    mutex.Lock();
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout().find(
                "ERROR: Mutex still locked in mutex destructor! [0x"),
            0U);
#endif
}

TEST(Locks, ExcludeOtherThreadsAndWaitForThem) {
  CConditionMutex condition(CMutex::Kind::Normal);
  CRWMutex shared;
  bool ready = false;
  int value = 0;
  std::thread other;
  {
    const CAutoLock lock(&condition);
    std::thread([&] { EXPECT_FALSE(condition.TryLock()); }).join();
    EXPECT_FALSE(condition.TimedWaitMS(1));
    other = std::thread([&] {
      {
        const CAutoRWLock write(shared, true);
        value = 42;
      }
      const CAutoLock inner(&condition);
      ready = true;
      condition.Broadcast();
    });
    while (!ready)
      condition.Wait();
  }
  other.join();
  const CAutoRWLock first(shared, false);
  const CAutoRWLock second(shared, false);
  EXPECT_EQ(value, 42);
}

}  // namespace
