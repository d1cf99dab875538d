// What the user of a Windows console sees of the client, and Ctrl-C there.
#include "tests/client/client_run.h"

#include <mutex>
#include <regex>
#include <thread>

#include <windows.h>

namespace {

BOOL WINAPI Survive(DWORD) {
  return TRUE;
}

// A console without a window, which this process and those that it starts belong to.
class CConsole {
 public:
  // A console begins with a process in it, which has to run until this one has joined.
  explicit CConsole(std::wstring firstProcess) {
    HANDLE keys = nullptr, screen = nullptr;
    CreatePipe(&keys, &ownKeys, nullptr, 0);
    CreatePipe(&ownScreen, &screen, nullptr, 0);
    EXPECT_EQ(CreatePseudoConsole({120, 40}, keys, screen, 0, &console), S_OK);
    CloseHandle(keys);
    CloseHandle(screen);
    reader = std::thread([this] { Read(); });

    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    std::vector<std::uint8_t> attributes(size);
    STARTUPINFOEXW start{};
    start.StartupInfo.cb = sizeof start;
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(attributes.data());
    InitializeProcThreadAttributeList(start.lpAttributeList, 1, 0, &size);
    UpdateProcThreadAttribute(start.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_PSEUDOCONSOLE,
                              console, sizeof console, nullptr, nullptr);
    PROCESS_INFORMATION first{};
    EXPECT_TRUE(CreateProcessW(nullptr, firstProcess.data(), nullptr, nullptr, FALSE,
                               EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, &start.StartupInfo,
                               &first));
    DeleteProcThreadAttributeList(start.lpAttributeList);
    FreeConsole();
    for (int i = 0; i < 1000 && !AttachConsole(first.dwProcessId); ++i)
      Sleep(10);
    TerminateProcess(first.hProcess, 0);
    CloseHandle(first.hThread);
    CloseHandle(first.hProcess);
    SetConsoleCtrlHandler(Survive, TRUE);
  }
  ~CConsole() {
    FreeConsole();
    ClosePseudoConsole(console);
    reader.join();
    CloseHandle(ownKeys);
    CloseHandle(ownScreen);
  }
  CConsole(const CConsole&) = delete;
  CConsole& operator=(const CConsole&) = delete;

  static void PressCtrlC() { GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0); }
  // All text that has been on the screen, as UTF-8 and without the codes of a terminal.
  [[nodiscard]] std::string Shown() {
    const std::lock_guard lock(mutex);
    const std::string spaced = std::regex_replace(shown, std::regex("\x1b\\[1?C"), " ");
    return std::regex_replace(spaced, std::regex("\x1b\\[[?0-9;]*[A-Za-z]"), "");
  }

 private:
  void Read() {
    char bytes[4096];
    for (DWORD size = 0; ReadFile(ownScreen, bytes, sizeof bytes, &size, nullptr) && size > 0;) {
      const std::lock_guard lock(mutex);
      shown.append(bytes, size);
    }
  }

  HANDLE ownKeys = nullptr, ownScreen = nullptr;
  HPCON console = nullptr;
  std::mutex mutex;
  std::string shown;
  std::thread reader;
};

class ConsoleTest : public ClientTest {
 protected:
  // Runs a command whose messages go to the console.
  [[nodiscard]] CProcess Start(const std::string& arguments) const {
    return {ZTCLIENT, Expand(arguments), Path("stdout"), "CONOUT$"};
  }
  [[nodiscard]] CConsole Console() const {
    return CConsole(L"\"" + fs::path(ZTCLIENT).native() + L"\" demo --frames 100000 --out \"" +
                    Path("first").native() + L"\"");
  }
};

TEST_F(ConsoleTest, NamesAndProgressAreReadable) {
  CConsole console = Console();
  const UINT before = GetConsoleOutputCP();
  ASSERT_NE(before, UINT{CP_UTF8});
  EXPECT_EQ(Start("info @missing.zts").Wait(), 1);
  EXPECT_EQ(GetConsoleOutputCP(), before);
  const auto isShown = [&](const std::u8string& text) {
    return Await(
        [&] { return console.Shown().find(fs::path(text).string()) != std::string::npos; });
  };
  EXPECT_TRUE(isShown(folder.u8string() + u8"/missing.zts: ")) << console.Shown();
  EXPECT_EQ(CProcess(ZTCLIENT, Expand("play @demo.zts"), "CONOUT$", Path("stderr")).Wait(), 0);
  EXPECT_TRUE(isShown(folder.u8string() + u8"/demo.zts: 12 frames")) << console.Shown();

  CProcess demo = Start("demo --frames 100000 --size 64x64 --out @long");
  EXPECT_TRUE(isShown(u8"[....")) << console.Shown();
  console.PressCtrlC();
  EXPECT_EQ(demo.Wait(), 130);
  ExpectPart(ReadText("long/report.html"), "</html>");
  for (const fs::path& file : Files())
    EXPECT_TRUE(file.extension() != ".tmp" || file.parent_path() == Path("first")) << file;
}

TEST_F(ConsoleTest, CtrlCEndsAWaitForInput) {
  Succeed("play @demo.zts --y4m @a.y4m");
  const std::string video = ReadText("a.y4m");
  const std::string title = "ztclient-" + std::to_string(GetCurrentProcessId());
  const std::string name = "\\\\.\\pipe\\" + title;
  for (const std::string other : {"", " @a.y4m"}) {
    const HANDLE pipe = CreateNamedPipeA(name.c_str(), PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE, 1,
                                         1 << 16, 0, 0, nullptr);
    ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    CConsole console = Console();
    CProcess client = Start("record " + name + other + " @{}.zts");
    ConnectNamedPipe(pipe, nullptr);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(pipe, video.data(), static_cast<DWORD>(video.size()), &written, nullptr));
    EXPECT_TRUE(Await([&] { return Size(title + ".partial.zts") > 150'000; }));
    console.PressCtrlC();
    EXPECT_EQ(client.Wait(), 130);
    CloseHandle(pipe);
    EXPECT_GE(Info(title + ".zts")["totals"]["bytes"], 150'000);
    fs::remove(Path(title + ".zts"));
  }
}

}  // namespace
