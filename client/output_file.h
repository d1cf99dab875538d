#pragma once

#include "client/interrupt.h"
#include "client/platform.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

// What becomes of the file of a command that fails: recordings that took hours are kept beside
// their place, under a name that says so.
enum class EUnfinished { dropped, kept };

// One file that a command writes, in place of all other ways to write one. A regular file is
// written beside its place, which it takes when it is complete; what was there stays until then. A
// symbolic link stays one, its file is replaced. Pipes and devices are written directly. Failures
// throw CError.
class COutputFile {
 public:
  COutputFile(std::string name, EUnfinished unfinishedFile);
  // The client's standard output; the name is for messages.
  explicit COutputFile(std::string name);
  ~COutputFile();
  COutputFile(const COutputFile&) = delete;
  COutputFile& operator=(const COutputFile&) = delete;

  void Write(std::span<const std::uint8_t> bytes);
  void Write(const std::string& text);
  [[nodiscard]] bool IsSeekable() const { return !place.empty(); }
  // As fseek; the new position.
  std::int64_t Seek(std::int64_t offset, int whence);

  // All is written.
  void Close();
  [[nodiscard]] bool IsClosed() const { return isClosed; }
  // Takes its place.
  void Publish();

 private:
  [[noreturn]] void Fail() const;
  void Create();
  [[nodiscard]] std::string KeptText() const;

  std::string path;
  EUnfinished unfinished;
  std::filesystem::path place, beside;  // empty where it is written directly
  std::optional<CDoomedFile> doomed;
  std::FILE* file = nullptr;
  bool hasContent = false, isClosed = false;
};

// The unfinished recordings that this thread has left behind since the last call, to be put to the
// error that ended its work; empty if there are none.
[[nodiscard]] std::string TakeKeptRecordings();

// All files that a command writes. None of them is one that it reads, whatever the names are.
class COutputs {
 public:
  // The names of all that is read and, as far as they are known, of all that will be written; empty
  // ones do not count. Throws before anything is written or made.
  COutputs(const std::vector<std::string>& inputs, const std::vector<std::string>& names);

  // Throws if a numbered picture in that folder is read.
  void CheckNumbered(const std::string& folder) const;

  [[nodiscard]] std::shared_ptr<COutputFile> Open(const std::string& path,
                                                  EUnfinished unfinished = EUnfinished::dropped);
  // Where to print for people: what a command writes to its standard output stays alone there.
  [[nodiscard]] std::FILE* Texts() const;
  // Opens, writes and closes one.
  void Write(const std::string& path, std::span<const std::uint8_t> bytes);
  // All that are closed take their places.
  void Publish();

 private:
  // A file that is there, or a name in a folder.
  using CPlace = std::pair<CFileId, std::filesystem::path>;
  struct CEntry {
    std::shared_ptr<COutputFile> file;
    std::optional<CPlace> place;
  };
  [[nodiscard]] static std::optional<CPlace> PlaceOf(const std::string& path);
  [[nodiscard]] std::shared_ptr<COutputFile> OpenStandardOutput(const std::string& name);
  void CheckNotRead(const std::string& name, const std::optional<CFileId>& id) const;
  std::shared_ptr<COutputFile> Add(std::shared_ptr<COutputFile> file, std::optional<CPlace> place);

  std::set<CFileId> read;
  bool isOutputTaken = false;
  std::vector<CEntry> entries;  // not published yet
};
