#include "client/platform.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <system_error>

#if defined(_WIN32)
#include <memory>
#include <new>

#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <windows.h>
#else
#include <csignal>

#include <dlfcn.h>
#include <fcntl.h>
#include <glob.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace {

// Of terminals that do not tell.
constexpr int usualTerminalWidth = 80;

// The threads that wait for input, 0 for none. Whoever ends a wait holds the mutex, so that the
// thread cannot go on to its output meanwhile.
std::mutex waitMutex;
std::array<std::uint32_t, 64> waits{};

void Replace(std::uint32_t before, std::uint32_t after) {
  const std::lock_guard lock(waitMutex);
  const auto place = std::find(waits.begin(), waits.end(), before);
  if (place != waits.end()) *place = after;
}

}  // namespace

fs::path PathOf(std::string_view name) {
  return std::u8string(name.begin(), name.end());
}

#if defined(_WIN32)

namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class CHandle {
 public:
  // To look at the file, not into it.
  explicit CHandle(const fs::path& path)
      : handle(CreateFileW(path.c_str(), 0, shareAll, nullptr, OPEN_EXISTING,
                           FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
  ~CHandle() {
    if (IsOpen()) CloseHandle(handle);
  }
  CHandle(const CHandle&) = delete;
  CHandle& operator=(const CHandle&) = delete;

  [[nodiscard]] bool IsOpen() const { return handle != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE Get() const { return handle; }

 private:
  HANDLE handle;
};

std::optional<CFileId> IdOf(HANDLE handle) {
  BY_HANDLE_FILE_INFORMATION information;
  if (!GetFileInformationByHandle(handle, &information)) return std::nullopt;
  return CFileId{information.dwVolumeSerialNumber,
                 std::uint64_t{information.nFileIndexHigh} << 32 | information.nFileIndexLow};
}

// Looking at a pipe would take its place at the other end.
bool IsDevicePath(const fs::path& path) {
  const std::wstring& name = path.native();
  return name.starts_with(LR"(\\.\)") || name.starts_with(L"//./");
}

int LastErrno() {
  switch (GetLastError()) {
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return EEXIST;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return ENOENT;
    case ERROR_DISK_FULL:
      return ENOSPC;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
      return EACCES;
    default:
      return EIO;
  }
}

void (*onInterrupt)() = nullptr;
void (*onCleanUp)() = nullptr;

// Runs on a thread of its own.
BOOL WINAPI HandleConsole(DWORD event) {
  onInterrupt();
  EndWaits();
  if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) return TRUE;
  // The console closes: five seconds after this the system ends the process, and at once when this
  // returns. The orderly end ends this thread too.
  Sleep(4500);
  onCleanUp();
  EndAtOnce(130);
}

// What the console had before; 0 where there was no console.
UINT consoleEncoding = 0;
DWORD errorMode = 0;

void RestoreConsole() {
  if (consoleEncoding != 0) SetConsoleOutputCP(consoleEncoding);
  if (errorMode != 0) SetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), errorMode);
}

}  // namespace

std::vector<std::string> Arguments(int, char**) {
  // What main gets has lost the letters that the system's code page lacks.
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  if (!words) throw std::bad_alloc();
  const std::shared_ptr<void> owned(words, LocalFree);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i)
    arguments.push_back(fs::path(words[i]).string());
  return arguments;
}

std::optional<int> RunBeside(const std::string& program,
                             const std::vector<std::string>& arguments) {
  std::vector<wchar_t> own(32768);
  GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size()));
  const fs::path path = fs::path(own.data()).parent_path() / (program + ".exe");
  // The system hands over one line; no name of a file has a quote in it.
  std::vector<std::wstring> words{L"\"" + path.native() + L"\""};
  for (const std::string& argument : arguments)
    words.push_back(L"\"" + PathOf(argument).native() + L"\"");
  std::vector<const wchar_t*> line;
  for (const std::wstring& word : words)
    line.push_back(word.c_str());
  line.push_back(nullptr);
  const std::intptr_t status = _wspawnv(_P_WAIT, path.c_str(), line.data());
  if (status < 0) return std::nullopt;
  return static_cast<int>(status);
}

fs::path FileWith(const void* function) {
  HMODULE module = nullptr;
  std::vector<wchar_t> name(32768);
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      static_cast<LPCWSTR>(function), &module);
  GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
  return name.data();
}

std::optional<CFileId> FileIdOf(const fs::path& path) {
  if (IsDevicePath(path)) return std::nullopt;
  const CHandle handle(path);
  return handle.IsOpen() ? IdOf(handle.Get()) : std::nullopt;
}

EFileKind FileKindOf(const fs::path& path) {
  if (IsDevicePath(path)) return EFileKind::special;
  const CHandle handle(path);
  if (!handle.IsOpen()) return EFileKind::missing;
  if (GetFileType(handle.Get()) != FILE_TYPE_DISK) return EFileKind::special;
  BY_HANDLE_FILE_INFORMATION information;
  const bool isFolder = GetFileInformationByHandle(handle.Get(), &information) &&
                        information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
  return isFolder ? EFileKind::folder : EFileKind::regular;
}

std::optional<CFileId> RegularFileIdOf(std::FILE* stream) {
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
  return GetFileType(handle) == FILE_TYPE_DISK ? IdOf(handle) : std::nullopt;
}

fs::path FollowLinks(fs::path path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT))
    return path;
  const CHandle handle(path);
  std::vector<wchar_t> name(32768);
  const DWORD size =
      GetFinalPathNameByHandleW(handle.Get(), name.data(), static_cast<DWORD>(name.size()), 0);
  return size > 0 && size < name.size() ? fs::path(name.data()) : path;
}

fs::path ComparableName(const fs::path& name) {
  // Upper case, as the system itself compares; letters keep their number.
  std::wstring folded = name.native();
  const auto size = static_cast<int>(folded.size());
  if (size > 0)
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, name.c_str(), size, folded.data(), size,
                  nullptr, nullptr, 0);
  return folded;
}

std::FILE* CreateNewFile(const fs::path& path, const fs::path&) {
  // Shared for deletion, so that it can be removed at any time. The system passes permissions on.
  const HANDLE handle = CreateFileW(path.c_str(), GENERIC_WRITE, shareAll, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    errno = LastErrno();
    return nullptr;
  }
  const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY);
  return descriptor < 0 ? nullptr : _fdopen(descriptor, "wb");
}

std::FILE* OpenSpecial(const fs::path& path) {
  return _wfopen(path.c_str(), L"wb");
}

std::FILE* OpenForReading(const fs::path& path) {
  return _wfopen(path.c_str(), L"rb");
}

std::FILE* BinaryInput() {
  return _setmode(_fileno(stdin), _O_BINARY) < 0 ? nullptr : stdin;
}

bool IsWritable(const fs::path& path) {
  return _waccess(path.c_str(), 2) == 0;
}

bool SeekTo(std::FILE* file, std::int64_t offset, int whence) {
  return _fseeki64(file, offset, whence) == 0;
}

std::int64_t PositionOf(std::FILE* file) {
  return _ftelli64(file);
}

std::vector<std::string> FilesLike(const std::string&) {
  return {};
}

std::vector<std::string> FilesNamedBy(const std::string& word) {
  const fs::path pattern = PathOf(word);
  if (pattern.filename().native().find_first_of(L"*?") == std::wstring::npos) return {word};
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW(pattern.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return {word};
  const std::shared_ptr<void> owned(search, FindClose);
  std::vector<std::string> files;
  do
    if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
      files.push_back((pattern.parent_path() / found.cFileName).string());
  while (FindNextFileW(search, &found));
  std::sort(files.begin(), files.end());
  return files.empty() ? std::vector{word} : files;
}

std::FILE* BinaryCopyOf(std::FILE* file) {
  const int copy = _dup(_fileno(file));
  // Without this a video would get a carriage return before each byte that looks like a newline.
  return copy < 0 || _setmode(copy, _O_BINARY) < 0 ? nullptr : _fdopen(copy, "wb");
}

const char* const nowhere = "NUL";

CConsoleSetup::CConsoleSetup() {
  consoleEncoding = GetConsoleOutputCP();
  if (consoleEncoding != 0) SetConsoleOutputCP(CP_UTF8);
  const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
  if (!GetConsoleMode(console, &errorMode)) return;
  SetConsoleMode(console, errorMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  // The C runtime may take the bytes of a text for letters of its locale, and hand them over one by
  // one, but a console shows whole letters alone.
  _setmode(_fileno(stderr), _O_BINARY);
  static char buffer[4096];
  std::setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
}

CConsoleSetup::~CConsoleSetup() {
  RestoreConsole();
}

bool IsErrorTerminal() {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) &&
         mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING;
}

int ErrorTerminalWidth() {
  CONSOLE_SCREEN_BUFFER_INFO information;
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &information))
    return usualTerminalWidth;
  return information.srWindow.Right - information.srWindow.Left + 1;
}

void WatchSignals(void (*interrupt)(), void (*cleanUp)()) {
  onInterrupt = interrupt;
  onCleanUp = cleanUp;
  SetConsoleCtrlHandler(HandleConsole, TRUE);
}

CInterruptibleWait::CInterruptibleWait() {
  Replace(0, GetCurrentThreadId());
}

CInterruptibleWait::~CInterruptibleWait() {
  Replace(GetCurrentThreadId(), 0);
}

void EndWaits() {
  const std::lock_guard lock(waitMutex);
  for (const std::uint32_t id : waits) {
    const HANDLE thread = id ? OpenThread(THREAD_TERMINATE, FALSE, id) : nullptr;
    if (!thread) continue;
    CancelSynchronousIo(thread);
    CloseHandle(thread);
  }
}

void RemoveAtOnce(const fs::path::value_type* path) noexcept {
  if (!DeleteFileW(path)) RemoveDirectoryW(path);
}

void ComplainAtOnce(const char* text) noexcept {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(std::strlen(text)), &written,
            nullptr);
}

void EndAtOnce(int status) noexcept {
  RestoreConsole();
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
  std::abort();
}

#else

namespace {

CFileId IdOf(const struct stat& information) {
  return {static_cast<std::uint64_t>(information.st_dev),
          static_cast<std::uint64_t>(information.st_ino)};
}

void (*onInterrupt)() = nullptr;
void (*onCleanUp)() = nullptr;
bool isHangupIgnored = false;

// For one thread, and ignored by default.
constexpr int endOfWait = SIGURG;

bool IsFirstThread() {
  return gettid() == getpid();
}

// The call that waits returns, and that is all.
void LeaveCall(int) {}

void HandleRequest(int) {
  const int before = errno;
  onInterrupt();
  errno = before;
}

void HandleEnd(int signal) {
  onCleanUp();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void Install(int signal, void (*handler)(int), int flags) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

void InstallRequests(int flags) {
  if (!onInterrupt) return;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    if (signal != SIGHUP || !isHangupIgnored) Install(signal, HandleRequest, flags);
}

}  // namespace

std::vector<std::string> Arguments(int count, char** values) {
  return {values + std::min(count, 1), values + count};
}

std::optional<int> RunBeside(const std::string& program,
                             const std::vector<std::string>& arguments) {
  std::error_code error;
  const fs::path path = fs::read_symlink("/proc/self/exe", error).parent_path() / program;
  std::vector<std::string> words{path.string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> line;
  line.reserve(words.size() + 1);
  for (std::string& word : words)
    line.push_back(word.data());
  line.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawn(&child, path.c_str(), nullptr, nullptr, line.data(), environ) != 0)
    return std::nullopt;
  int status = 0;
  while (waitpid(child, &status, 0) < 0)
    if (errno != EINTR) return std::nullopt;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

fs::path FileWith(const void* function) {
  Dl_info information{};
  if (dladdr(function, &information) == 0 || !information.dli_fname) return {};
  std::error_code error;
  return fs::canonical(information.dli_fname, error);
}

std::optional<CFileId> FileIdOf(const fs::path& path) {
  struct stat information {};
  if (stat(path.c_str(), &information) != 0) return std::nullopt;
  return IdOf(information);
}

EFileKind FileKindOf(const fs::path& path) {
  struct stat information {};
  if (stat(path.c_str(), &information) != 0) return EFileKind::missing;
  if (S_ISDIR(information.st_mode)) return EFileKind::folder;
  return S_ISREG(information.st_mode) ? EFileKind::regular : EFileKind::special;
}

std::optional<CFileId> RegularFileIdOf(std::FILE* stream) {
  struct stat information {};
  if (fstat(fileno(stream), &information) != 0 || !S_ISREG(information.st_mode))
    return std::nullopt;
  return IdOf(information);
}

fs::path FollowLinks(fs::path path) {
  // As many as the system follows; a circle then fails where it is opened.
  for (int links = 0; links < 40; ++links) {
    std::error_code error;
    const fs::path next = fs::read_symlink(path, error);
    if (error) break;
    path = path.parent_path() / next;
  }
  return path;
}

fs::path ComparableName(const fs::path& name) {
  return name;
}

std::FILE* CreateNewFile(const fs::path& path, const fs::path& like) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor < 0) return nullptr;
  struct stat information {};
  if (stat(like.c_str(), &information) == 0) {
    // An owner that may not be given stays the user, who then has the permissions.
    if (fchown(descriptor, information.st_uid, information.st_gid) != 0) errno = 0;
    if (fchmod(descriptor, information.st_mode & 0777) != 0) errno = 0;
  }
  return fdopen(descriptor, "wb");
}

std::FILE* OpenSpecial(const fs::path& path) {
  return std::fopen(path.c_str(), "wb");
}

std::FILE* OpenForReading(const fs::path& path) {
  return std::fopen(path.c_str(), "rb");
}

std::FILE* BinaryInput() {
  return stdin;
}

bool IsWritable(const fs::path& path) {
  return access(path.c_str(), W_OK) == 0;
}

bool SeekTo(std::FILE* file, std::int64_t offset, int whence) {
  return fseeko(file, offset, whence) == 0;
}

std::int64_t PositionOf(std::FILE* file) {
  return ftello(file);
}

std::vector<std::string> FilesLike(const std::string& pattern) {
  glob_t found{};
  std::vector<std::string> files;
  if (glob(pattern.c_str(), GLOB_BRACE | GLOB_NOSORT, nullptr, &found) == 0)
    files.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  globfree(&found);
  return files;
}

std::vector<std::string> FilesNamedBy(const std::string& word) {
  return {word};
}

std::FILE* BinaryCopyOf(std::FILE* file) {
  const int copy = dup(fileno(file));
  return copy < 0 ? nullptr : fdopen(copy, "wb");
}

const char* const nowhere = "/dev/null";

CConsoleSetup::CConsoleSetup() = default;
CConsoleSetup::~CConsoleSetup() = default;

bool IsErrorTerminal() {
  return isatty(fileno(stderr)) == 1;
}

int ErrorTerminalWidth() {
  winsize size{};
  const bool isTold = ioctl(fileno(stderr), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isTold ? size.ws_col : usualTerminalWidth;
}

void WatchSignals(void (*interrupt)(), void (*cleanUp)()) {
  onInterrupt = interrupt;
  onCleanUp = cleanUp;
  struct sigaction hangup {};
  sigaction(SIGHUP, nullptr, &hangup);
  isHangupIgnored = hangup.sa_handler == SIG_IGN;
  InstallRequests(SA_RESTART);
  Install(endOfWait, LeaveCall, 0);
  for (const int signal : {SIGPIPE, SIGQUIT, SIGABRT})
    Install(signal, HandleEnd, 0);
  // A file beyond the limit of its size is a failed write like any other.
  std::signal(SIGXFSZ, SIG_IGN);
}

CInterruptibleWait::CInterruptibleWait() {
  if (IsFirstThread())
    InstallRequests(0);
  else
    Replace(0, static_cast<std::uint32_t>(gettid()));
}

CInterruptibleWait::~CInterruptibleWait() {
  if (IsFirstThread())
    InstallRequests(SA_RESTART);
  else
    Replace(static_cast<std::uint32_t>(gettid()), 0);
}

void EndWaits() {
  const std::lock_guard lock(waitMutex);
  for (const std::uint32_t id : waits)
    if (id) tgkill(getpid(), static_cast<pid_t>(id), endOfWait);
}

void RemoveAtOnce(const char* path) noexcept {
  if (unlink(path) != 0) rmdir(path);
}

void ComplainAtOnce(const char* text) noexcept {
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, std::strlen(text));
}

void EndAtOnce(int status) noexcept {
  _exit(status);
}

#endif
