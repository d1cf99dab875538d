#include "client/output_file.h"

#include "client/console.h"
#include "client/input_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

namespace fs = std::filesystem;

namespace {

// Names that other programs, or earlier runs, have taken.
constexpr int mostTaken = 10000;

// Hidden, and as short as a name can always be.
fs::path TemporaryName(int attempt) {
  return Text(".ztclient-%d.tmp", attempt);
}

fs::path PartialName(const fs::path& name, int attempt) {
  fs::path partial = name.stem();
  partial += attempt == 1 ? ".partial" : Text(".partial-%d", attempt);
  partial += name.extension();
  return partial;
}

std::mutex keptMutex;
std::map<std::thread::id, std::string> keptRecordings;

void AddKept(const std::string& text) {
  const std::lock_guard lock(keptMutex);
  keptRecordings[std::this_thread::get_id()] += text;
}

}  // namespace

std::string TakeKeptRecordings() {
  const std::lock_guard lock(keptMutex);
  const auto kept = keptRecordings.extract(std::this_thread::get_id());
  return kept ? std::move(kept.mapped()) : "";
}

COutputFile::COutputFile(std::string name) : path(std::move(name)), file(Output()) {}

COutputFile::COutputFile(std::string name, EUnfinished unfinishedFile)
    : path(std::move(name)), unfinished(unfinishedFile) {
  switch (FileKindOf(PathOf(path))) {
    case EFileKind::folder:
      errno = EISDIR;
      break;
    case EFileKind::special: {
      // A pipe that nobody reads is waited for.
      const CInterruptibleWait wait;
      file = OpenSpecial(PathOf(path));
      break;
    }
    default:
      Create();
  }
  if (file) return;
  if (errno == EINTR) ThrowIfInterrupted();
  Fail();
}

void COutputFile::Create() {
  place = FollowLinks(PathOf(path));
  if (FileKindOf(place) == EFileKind::regular && !IsWritable(place)) return;
  for (int attempt = 1; attempt <= mostTaken; ++attempt) {
    const bool isKept = unfinished == EUnfinished::kept;
    beside = place.parent_path() /
             (isKept ? PartialName(place.filename(), attempt) : TemporaryName(attempt));
    doomed.emplace(beside);
    file = CreateNewFile(beside, place);
    if (file) {
      doomed->Arm();
      return;
    }
    if (errno != EEXIST) return;
  }
}

COutputFile::~COutputFile() {
  if (file && file != Output()) std::fclose(file);
  if (beside.empty()) return;
  std::error_code error;
  if (unfinished == EUnfinished::kept && hasContent)
    AddKept(KeptText());
  else
    fs::remove(beside, error);
}

std::string COutputFile::KeptText() const {
  return "; " + beside.string() + " has what was recorded before";
}

void COutputFile::Fail() const {
  throw CError(path + ": cannot write: " + std::strerror(errno));
}

void COutputFile::Write(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return;
  if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) Fail();
  if (hasContent) return;
  hasContent = true;
  if (unfinished == EUnfinished::dropped || !doomed) return;
  if (std::fflush(file) != 0) Fail();
  doomed->Keep(std::string(ProgramName()) + ": " + path + ": interrupted" + KeptText() + "\n");
}

void COutputFile::Write(const std::string& text) {
  Write(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

std::int64_t COutputFile::Seek(std::int64_t offset, int whence) {
  if (!SeekTo(file, offset, whence)) Fail();
  return PositionOf(file);
}

void COutputFile::Close() {
  isClosed = true;
  if ((file == Output() ? std::fflush : std::fclose)(std::exchange(file, nullptr)) != 0) Fail();
}

void COutputFile::Publish() {
  if (beside.empty()) return;
  std::error_code error;
  fs::rename(beside, place, error);
  if (error) throw CError(path + ": cannot write: " + error.message());
  beside.clear();
  doomed.reset();
}

COutputs::COutputs(const std::vector<std::string>& inputs, const std::vector<std::string>& names) {
  for (const std::string& input : inputs)
    if (const std::optional<CFileId> id =
            input == standardName ? RegularFileIdOf(stdin) : FileIdOf(PathOf(input)))
      read.insert(*id);
  std::set<CPlace> places;
  for (const std::string& name : names) {
    if (name.empty() || name == standardName) continue;
    CheckNotRead(name, FileIdOf(PathOf(name)));
    const std::optional<CPlace> place = PlaceOf(name);
    if (place && !places.insert(*place).second) throw CError(name + ": is to be written twice");
  }
}

std::optional<COutputs::CPlace> COutputs::PlaceOf(const std::string& path) {
  const EFileKind kind = FileKindOf(PathOf(path));
  const fs::path place = FollowLinks(PathOf(path));
  const fs::path folder = place.has_parent_path() ? place.parent_path() : fs::path(".");
  const std::optional<CFileId> id = FileIdOf(kind == EFileKind::regular ? place : folder);
  if (!id || kind == EFileKind::special || kind == EFileKind::folder) return std::nullopt;
  return CPlace{*id, kind == EFileKind::regular ? fs::path() : ComparableName(place.filename())};
}

void COutputs::CheckNotRead(const std::string& name, const std::optional<CFileId>& id) const {
  if (id && read.contains(*id)) throw CError(name + ": is the input");
}

void COutputs::CheckNumbered(const std::string& folder) const {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(PathOf(folder), error)) {
    const std::string digits = entry.path().stem().string();
    const bool isNumbered = digits.size() >= 6 &&
                            digits.find_first_not_of("0123456789") == digits.npos &&
                            entry.path().extension() == ".png";
    if (isNumbered) CheckNotRead(entry.path().string(), FileIdOf(entry.path()));
  }
}

std::shared_ptr<COutputFile> COutputs::Open(const std::string& path, EUnfinished unfinished) {
  // What the system knows by this name is not where the client prints.
  if (path == standardName || path == "/dev/stdout") return OpenStandardOutput(path);
  CheckNotRead(path, FileIdOf(PathOf(path)));
  std::optional<CPlace> place = PlaceOf(path);
  if (place && std::any_of(entries.begin(), entries.end(),
                           [&](const CEntry& entry) { return entry.place == place; }))
    throw CError(path + ": is to be written twice");
  return Add(std::make_shared<COutputFile>(path, unfinished), std::move(place));
}

std::shared_ptr<COutputFile> COutputs::OpenStandardOutput(const std::string& name) {
  CheckNotRead(name, RegularFileIdOf(Output()));
  if (std::exchange(isOutputTaken, true)) throw CError(name + ": is to be written twice");
  return Add(std::make_shared<COutputFile>(name), std::nullopt);
}

std::shared_ptr<COutputFile> COutputs::Add(std::shared_ptr<COutputFile> file,
                                           std::optional<CPlace> place) {
  entries.push_back({std::move(file), std::move(place)});
  return entries.back().file;
}

std::FILE* COutputs::Texts() const {
  return isOutputTaken ? stderr : Output();
}

void COutputs::Write(const std::string& path, std::span<const std::uint8_t> bytes) {
  const std::shared_ptr<COutputFile> file = Open(path);
  file->Write(bytes);
  file->Close();
}

void COutputs::Publish() {
  for (const CEntry& entry : entries)
    if (entry.file->IsClosed()) entry.file->Publish();
  std::erase_if(entries, [](const CEntry& entry) { return entry.file->IsClosed(); });
}
