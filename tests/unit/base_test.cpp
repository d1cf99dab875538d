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

TEST(Exceptions, TextsAreAFixedVocabulary) {
  EXPECT_STREQ(CDataException("gone", "Find", "main/x", 7).what(), "Exception [main/x:7] - gone");
  EXPECT_EQ(CException(std::string(600, 'a').c_str()).what(),
            "Exception - " + std::string(499, 'a'));
  std::string all;
  for (int number = -1; number <= 133; ++number) {
    errno = number;
    all += std::string(CStdLibErrException().what()) + "\n";
  }
  EXPECT_EQ(HashOf({all.begin(), all.end()}), 0xdd87d8236577a04fU);
}

TEST(Logger, StreamsGetCutLinesInOrderAndMayLogAndRegisterMeanwhile) {
  static CLoggerWin* current;
  struct CNestingStream : ILogStream {
    void Write(int level, const char*) override {
      if (level != 1) return;
      current->AddStream(new CRecordingStream("late"));
      current->Log(2, "x", 1, "inner");
    }
  };
  written.clear();
  {
    CLoggerWin logger;
    current = &logger;
    logger.Log(1, "x", 1, "%s", "nobody listens");
    logger.AddStream(new CNestingStream);
    logger.AddStream(new CRecordingStream("a"));
    logger.Log(0, "x", 1, "%s", std::string(20000, 'z').c_str());
    // A stream that is registered during a line gets the next line.
    logger.Log(1, "x", 1, "%d %s", 5, "%n");
  }
  EXPECT_EQ(written, (std::vector<std::string>{"a0" + std::string(10239, 'z'), "a2inner",
                                               "late2inner", "a15 %n", "~late", "~a"}));
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
  CMutex checked(CMutex::Kind::ErrorCheck);
  const CAutoLock held(&checked);
  std::vector<std::pair<const char*, std::function<void()>>> cases = {
      {"46] - Mutex deadlock detected", [&] { checked.Lock(); }},
      {"85] - Uninitialized mutex used for autolock", [] { const CAutoLock lock(nullptr); }}};
#if defined(__GLIBC__)  // whose locks tell of misuse, and may be destroyed while they are locked
  struct CUnknown : CMutex {
    CUnknown() : CMutex(Kind::Normal) { mutex.__data.__kind = 15; }
  } unknown;
  CMutex recursive(CMutex::Kind::Recursive);
  CConditionMutex condition(CMutex::Kind::ErrorCheck);
  CRWMutex shared;
  const CAutoRWLock write(shared, true);
  cases.insert(cases.end(),
               {{"49] - Uninitialized mutex being used", [&] { unknown.Lock(); }},
                {"65] - Mutex not locked in this thread", [&] { recursive.Unlock(); }},
                {"68] - Uninitialized mutex being used", [&] { unknown.Unlock(); }},
                {"85] - Uninitialized mutex being used", [&] { (void)unknown.TryLock(); }},
                {"116] - Waiting on condition failed", [&] { condition.Wait(); }},
                {"132] - Waiting on condition failed!", [&] { (void)condition.TimedWaitMS(1); }},
                {"231] - Read/Write lock's readlock deadlocked", [&] { shared.RLock(); }},
                {"236] - Read/Write lock's writelock is deadlocked", [&] { shared.WLock(); }}});
  testing::internal::CaptureStdout();
  std::optional<CMutex>(CMutex::Kind::Recursive)->Lock();
  EXPECT_EQ(testing::internal::GetCapturedStdout().find(
                "ERROR: Mutex still locked in mutex destructor! [0x"),
            0U);
#endif
  for (const auto& [text, call] : cases)
    EXPECT_EQ(TextOf<CSynchronException>(call),
              "Exception [main/lib/base/synchron_pthread:" + std::string(text));
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
