#include "main/lib/base/debug.h"
#include "tests/support/common.h"

#include <cerrno>
#include <optional>

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

TEST(Exceptions, ErrnoTextsAreAFixedVocabulary) {
  std::string all;
  for (int number = -1; number <= 133; ++number) {
    errno = number;
    all += std::string(CStdLibErrException().what()) + "\n";
  }
  EXPECT_EQ(all.find("std lib error: -1 [Unknown error no]\nstd lib error: 0 [Unknown error no]\n"
                     "std lib error: 1 [EPERM: Operation not permitted]\n"),
            0U);
  EXPECT_EQ(HashOf({all.begin(), all.end()}), 0xdd87d8236577a04fU);
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
  struct CNestingStream : ILogStream {
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

// What a failing call throws, without what all such texts begin with.
std::string FailureOf(const std::function<void()>& call) {
  const std::string text = TextOf<CSynchronException>(call);
  const std::string head = "Exception [main/lib/base/synchron_pthread:";
  return text.starts_with(head) ? text.substr(head.size()) : text;
}

TEST(Locks, MisuseThrowsWithTheLineOfTheCall) {
  CMutex checked(CMutex::Kind::ErrorCheck), recursive(CMutex::Kind::Recursive);
  const CAutoLock held(&checked);
  EXPECT_EQ(FailureOf([&] { checked.Lock(); }), "46] - Mutex deadlock detected");
  EXPECT_EQ(FailureOf([&] { recursive.Unlock(); }), "65] - Mutex not locked in this thread");
  EXPECT_EQ(FailureOf([] { const CAutoLock lock(nullptr); }),
            "85] - Uninitialized mutex used for autolock");
#if defined(__GLIBC__)  // whose locks tell of misuse, and may be destroyed while they are locked
  struct CUnknown : CMutex {
    CUnknown() : CMutex(Kind::Normal) { mutex.__data.__kind = 15; }
  } unknown;
  CConditionMutex condition(CMutex::Kind::ErrorCheck);
  CRWMutex shared;
  const CAutoRWLock write(shared, true);
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"49] - Uninitialized mutex being used", [&] { unknown.Lock(); }},
      {"68] - Uninitialized mutex being used", [&] { unknown.Unlock(); }},
      {"85] - Uninitialized mutex being used", [&] { (void)unknown.TryLock(); }},
      {"116] - Waiting on condition failed", [&] { condition.Wait(); }},
      {"132] - Waiting on condition failed!", [&] { (void)condition.TimedWaitMS(1); }},
      {"231] - Read/Write lock's readlock deadlocked", [&] { shared.RLock(); }},
      {"236] - Read/Write lock's writelock is deadlocked", [&] { shared.WLock(); }}};
  for (const auto& [text, call] : cases)
    EXPECT_EQ(FailureOf(call), text);
  testing::internal::CaptureStdout();
  std::optional<CMutex>(CMutex::Kind::Recursive)->Lock();
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
