#include "tests/support/export_fixture.h"

#include <windows.h>
// This needs the header above.
#include <psapi.h>

namespace {

class WindowsExports : public ExportTest {};

// A client must not do this, but one that does still sees what goes wrong on its other threads.
TEST_F(WindowsExports, LoggingGoesOnAfterACallbackHasEndedItsThread) {
  static bool endsThread;
  endsThread = true;
  ztlib_registerLogger([](int, const char*) {
    if (std::exchange(endsThread, false)) ExitThread(7);
  });
  const auto logLine = [](void*) -> DWORD { return ztlib_encoder_create(99) != nullptr; };
  const HANDLE thread = CreateThread(nullptr, 0, logLine, nullptr, 0, nullptr);
  ASSERT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
  DWORD status = 0;
  GetExitCodeThread(thread, &status);
  CloseHandle(thread);
  EXPECT_EQ(status, 7U);
  Forget();
  EXPECT_EQ(ztlib_encoder_create(98), nullptr);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_NE(lines[0].second.find("98"), std::string::npos);
}

// Bytes that only this process has, and its handles.
struct Possessions {
  std::size_t bytes = 0;
  DWORD handles = 0;
  Possessions() {
    PROCESS_MEMORY_COUNTERS_EX counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                         sizeof counters);
    bytes = counters.PrivateUsage;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
  }
};

TEST_F(WindowsExports, AThousandLoadsLeakNothing) {
  // The program itself holds the DLL, so that a copy is loaded.
  char original[MAX_PATH], copy[] = "ztlib_that_is_loaded_often.dll";
  ASSERT_NE(GetModuleFileNameA(GetModuleHandleA("ztlib.dll"), original, sizeof original), 0U);
  ASSERT_TRUE(CopyFileA(original, copy, FALSE));
  const auto cycle = [&] {
    const HMODULE library = LoadLibraryA(copy);
    ASSERT_NE(library, nullptr);
    const auto call = [&]<class Function, class... Arguments>(Function*, const char* name,
                                                              Arguments... arguments) {
      const FARPROC found = GetProcAddress(library, name);
      return reinterpret_cast<Function*>(reinterpret_cast<void*>(found))(arguments...);
    };
    call(&ztlib_context_create, "ztlib_context_create");
    call(&ztlib_registerLogger, "ztlib_registerLogger", [](int, const char*) {});
    call(&ztlib_ztimage_create_avframe, "ztlib_ztimage_create_avframe", 9, nullptr);
    void* encoder = call(&ztlib_encoder_create, "ztlib_encoder_create", ZTLIB_VIDEO_MJPEGDIFF);
    call(&ztlib_encoder_destroy, "ztlib_encoder_destroy", &encoder);
    ASSERT_TRUE(FreeLibrary(library));
    ASSERT_EQ(GetModuleHandleA(copy), nullptr);
  };
  for (int i = 0; i < 200; ++i)
    cycle();
  const Possessions before;
  for (int i = 0; i < 800; ++i)
    cycle();
  const Possessions after;
  EXPECT_EQ(after.handles, before.handles);
  EXPECT_LT(after.bytes, before.bytes + 800 * 100);
  DeleteFileA(copy);
}

}  // namespace
