#include "tests/client/process.h"

#include <stdexcept>
#include <utility>

#if defined(_WIN32)
#include <windows.h>
#else
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

#if defined(_WIN32)

namespace {

HANDLE Open(const fs::path& path, DWORD access, DWORD creation) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, creation,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

CProcess::CProcess(const fs::path& program, const std::vector<std::string>& words,
                   const fs::path& output, const fs::path& errors) {
  // No word has a quote in it.
  std::wstring line = L"\"" + program.native() + L"\"";
  for (const std::string& word : words)
    line += L" \"" + fs::path(std::u8string(word.begin(), word.end())).native() + L"\"";
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = Open("NUL", GENERIC_READ, OPEN_EXISTING);
  start.hStdOutput = Open(output, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
  start.hStdError = Open(errors, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
  PROCESS_INFORMATION made{};
  BOOL isMade = FALSE;
  DWORD error = 0;
  // While other tests start programs, too, the system may refuse one for a moment.
  for (int i = 0; i < 5 && !isMade; ++i) {
    if (i > 0) Sleep(200);
    isMade = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                            nullptr, &start, &made);
    error = GetLastError();
  }
  for (const HANDLE handle : {start.hStdInput, start.hStdOutput, start.hStdError})
    CloseHandle(handle);
  if (!isMade)
    throw std::runtime_error(program.string() + " does not start: error " + std::to_string(error));
  CloseHandle(made.hThread);
  process = made.hProcess;
}

CProcess::~CProcess() {
  if (!process) return;
  TerminateProcess(process, 1);
  CloseHandle(process);
}

int CProcess::Wait() {
  DWORD status = 0;
  WaitForSingleObject(process, INFINITE);
  GetExitCodeProcess(process, &status);
  CloseHandle(std::exchange(process, nullptr));
  return status < 256 ? static_cast<int>(status) : -1;
}

#else

CProcess::CProcess(const fs::path& program, const std::vector<std::string>& words,
                   const fs::path& output, const fs::path& errors) {
  std::vector<std::string> line{program.string()};
  line.insert(line.end(), words.begin(), words.end());
  std::vector<char*> arguments;
  for (std::string& word : line)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  for (const auto& [descriptor, path] :
       {std::pair{STDOUT_FILENO, &output}, std::pair{STDERR_FILENO, &errors}})
    posix_spawn_file_actions_addopen(&files, descriptor, path->c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC | O_NOCTTY, 0666);
  const int failure =
      posix_spawn(&process, program.c_str(), &files, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  if (failure != 0) throw std::runtime_error(program.string() + " does not start");
}

CProcess::~CProcess() {
  if (process <= 0) return;
  Signal(SIGKILL);
  Wait();
}

int CProcess::Wait() {
  int status = 0;
  waitpid(std::exchange(process, 0), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void CProcess::Signal(int signal) const {
  kill(process, signal);
}

#endif
