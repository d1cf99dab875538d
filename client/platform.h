#pragma once

#include <compare>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the systems that the client runs on do each in its own way. Texts, and names of files among
// them, are UTF-8 on all of them.

// A name as the system has it. The constructor of a path would take its bytes for those of a
// locale.
[[nodiscard]] std::filesystem::path PathOf(std::string_view name);

// The words behind the program's name, from what `main` gets or from where the system has them
// whole.
[[nodiscard]] std::vector<std::string> Arguments(int count, char** values);

// Runs a program that lies beside the running one, to its end. Its exit status; nothing if there is
// no such program.
[[nodiscard]] std::optional<int> RunBeside(const std::string& program,
                                           const std::vector<std::string>& arguments);

// The program or shared library that a function lies in; empty if the system does not tell.
[[nodiscard]] std::filesystem::path FileWith(const void* function);

// One for each file, however many names it has.
struct CFileId {
  std::uint64_t volume = 0, file = 0;
  friend auto operator<=>(const CFileId&, const CFileId&) = default;
};
// Links are followed; nothing if there is no such file.
[[nodiscard]] std::optional<CFileId> FileIdOf(const std::filesystem::path& path);

// Pipes and devices are special.
enum class EFileKind { missing, regular, folder, special };
[[nodiscard]] EFileKind FileKindOf(const std::filesystem::path& path);
// A stream that is a regular file has an id.
[[nodiscard]] std::optional<CFileId> RegularFileIdOf(std::FILE* stream);

// The file that a chain of symbolic links ends at, which need not be there.
[[nodiscard]] std::filesystem::path FollowLinks(std::filesystem::path path);
// How names in a folder are told apart: as they are, or without regard to letter case.
[[nodiscard]] std::filesystem::path ComparableName(const std::filesystem::path& name);

// Makes a file that was not there and opens it for writing, with the permissions of `like` if that
// is there. Null with errno set if it fails; EEXIST if there is such a file.
[[nodiscard]] std::FILE* CreateNewFile(const std::filesystem::path& path,
                                       const std::filesystem::path& like);
// Opens a pipe or a device. Null with errno set if it fails.
[[nodiscard]] std::FILE* OpenSpecial(const std::filesystem::path& path);
// Opens a file for reading its bytes. Null with errno set if it fails.
[[nodiscard]] std::FILE* OpenForReading(const std::filesystem::path& path);
// The standard input, whose bytes are read as they are.
[[nodiscard]] std::FILE* BinaryInput();
// A read-only file could be replaced all the same; its owner does not want that.
[[nodiscard]] bool IsWritable(const std::filesystem::path& path);
[[nodiscard]] bool SeekTo(std::FILE* file, std::int64_t offset, int whence);
[[nodiscard]] std::int64_t PositionOf(std::FILE* file);

// The files that a shell would name for a pattern, where programs that take patterns ask the system
// for them.
[[nodiscard]] std::vector<std::string> FilesLike(const std::string& pattern);

// The files that a word on the command line names: where shells leave patterns to programs, those
// that "*" and "?" in its last part stand for; the word itself elsewhere, and if there are none.
[[nodiscard]] std::vector<std::string> FilesNamedBy(const std::string& word);

// A copy of a stream that writes bytes as they are, and where to send what nobody reads.
[[nodiscard]] std::FILE* BinaryCopyOf(std::FILE* file);
extern const char* const nowhere;
// While one lives, a console shows texts as what they are and understands the codes which rewrite a
// line. Terminals always do. What is printed on standard error is flushed to be seen.
class CConsoleSetup {
 public:
  CConsoleSetup();
  // NOLINTNEXTLINE(performance-trivially-destructible): on Windows it puts the console back.
  ~CConsoleSetup();
  CConsoleSetup(const CConsoleSetup&) = delete;
  CConsoleSetup& operator=(const CConsoleSetup&) = delete;
};
// Whether standard error is a terminal that understands these codes.
[[nodiscard]] bool IsErrorTerminal();
// The columns of that terminal.
[[nodiscard]] int ErrorTerminalWidth();

// Has `interrupt` called when the user or the system asks the program to end, and `cleanUp` before
// the program ends at once for any other reason. Both run within a signal handler, or on another
// thread.
void WatchSignals(void (*interrupt)(), void (*cleanUp)());

// While one lives, a request to end also ends a wait for input on this thread, with EINTR. Elsewhere
// the system goes on with what it was asked for, so that no output is lost.
class CInterruptibleWait {
 public:
  CInterruptibleWait();
  ~CInterruptibleWait();
  CInterruptibleWait(const CInterruptibleWait&) = delete;
  CInterruptibleWait& operator=(const CInterruptibleWait&) = delete;
};
// Ends such waits on all threads but the first one, which requests reach by themselves. Whoever has
// other threads calls it until they end: one may have been about to wait.
void EndWaits();

// For signal handlers. A file, or an empty folder.
void RemoveAtOnce(const std::filesystem::path::value_type* path) noexcept;
void ComplainAtOnce(const char* text) noexcept;
[[noreturn]] void EndAtOnce(int status) noexcept;
