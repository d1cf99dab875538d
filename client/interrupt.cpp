#include "client/interrupt.h"

#include "client/console.h"
#include "client/platform.h"

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

// Some programs send a signal to their child and then to the whole group: that is one request.
constexpr Clock::duration echo = std::chrono::milliseconds(30);

struct CRecord {
  std::filesystem::path path;
  std::string line;  // empty: the file goes
};

// Far more than all threads of a command write at a time.
constexpr std::size_t most = 256;
std::array<std::atomic<bool>, most> taken{};

// Read by signal handlers at any moment, so a record that they may hold is not freed: whoever takes
// one away looks afterwards whether the end has begun, and that is told before records are read.
std::array<std::atomic<const CRecord*>, most> records{};
std::atomic<bool> isEnding = false;
std::atomic<Clock::rep> firstRequest = 0;
static_assert(std::atomic<const CRecord*>::is_always_lock_free &&
              std::atomic<Clock::rep>::is_always_lock_free);

void Put(std::size_t place, std::unique_ptr<const CRecord> record) {
  std::unique_ptr<const CRecord> before(records[place].exchange(record.release()));
  if (isEnding) static_cast<void>(before.release());
}

void CleanUp() {
  isEnding = true;
  for (const std::atomic<const CRecord*>& entry : records) {
    const CRecord* const record = entry;
    if (!record) continue;
    if (record->line.empty())
      RemoveAtOnce(record->path.c_str());
    else
      ComplainAtOnce(record->line.c_str());
  }
}

void OnRequest() {
  const Clock::rep now = Clock::now().time_since_epoch().count();
  Clock::rep first = 0;
  if (firstRequest.compare_exchange_strong(first, now)) return;
  if (Clock::duration(now - first) < echo) return;
  CleanUp();
  EndAtOnce(interruptedStatus);
}

}  // namespace

void WatchInterrupts() {
  WatchSignals(OnRequest, CleanUp);
}

bool Interrupted() {
  return firstRequest != 0;
}

void ThrowIfInterrupted() {
  if (Interrupted()) throw CInterrupted();
}

void EndAtOnceWith(const char* complaint) noexcept {
  CleanUp();
  for (const char* text : {ProgramName(), ": ", complaint, "\n"})
    ComplainAtOnce(text);
  EndAtOnce(1);
}

CDoomedFile::CDoomedFile(std::filesystem::path file) : path(std::move(file)) {
  while (place < most && taken[place].exchange(true))
    ++place;
  if (place == most) throw CError(path.string() + ": too many files at a time");
}

CDoomedFile::~CDoomedFile() {
  Put(place, nullptr);
  taken[place] = false;
}

void CDoomedFile::Arm() {
  Put(place, std::make_unique<CRecord>(CRecord{path, {}}));
}

void CDoomedFile::Keep(const std::string& line) {
  Put(place, std::make_unique<CRecord>(CRecord{path, line}));
}
