#include "client/several_inputs.h"

#include "client/console.h"
#include "client/input_file.h"
#include "client/interrupt.h"
#include "client/platform.h"
#include "client/program.h"
#include "client/text.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <thread>

namespace {

constexpr int maxThreads = 64;

// What an output may be called after it on any system.
std::string TitleOf(const std::string& input) {
  if (input == standardName) return "stdin";
  std::string title;
  if (const std::size_t scheme = input.find("://"); scheme == std::string::npos) {
    title = PathOf(input).stem().string();
  } else {
    // Cameras tend to differ in their hosts alone, and channels of one host behind a question mark. A
    // user and password before the host do not belong in names of files.
    title = input.substr(scheme + 3);
    title.erase(0, title.substr(0, title.find('/')).rfind('@') + 1);
  }
  for (char& c : title)
    if (std::string_view("<>:\"/\\|?*").find(c) != std::string_view::npos || (c >= 0 && c < ' '))
      c = '_';
  return title;
}

CDone Guarded(const std::string& input, const std::function<CDone()>& work) {
  if (Interrupted()) return {};
  try {
    return work();
  } catch (...) {
    return {.status = ReportFailure(input + ": ")};
  }
}

// Works beside the thread that prints.
class CWorkers {
 public:
  CWorkers(const std::vector<std::string>& allInputs, const char* label, const InputWork& inputWork)
      : inputs(allInputs),
        work(inputWork),
        progress(label, allInputs.size()),
        results(allInputs.size()) {}
  // Nothing new is begun.
  ~CWorkers() { next = inputs.size(); }
  CWorkers(const CWorkers&) = delete;
  CWorkers& operator=(const CWorkers&) = delete;

  void Start(int count) {
    for (int i = 0; i < count; ++i)
      try {
        threads.emplace_back([this] { Run(); });
      } catch (const std::system_error&) {
        // Fewer will do.
        if (threads.empty()) throw CError("the system gives no thread to work on");
        return;
      }
  }
  [[nodiscard]] CDone Wait(std::size_t input) {
    constexpr std::chrono::milliseconds patience{100};
    std::unique_lock lock(mutex);
    while (!changed.wait_for(lock, patience, [&] { return results[input].has_value(); }))
      if (Interrupted()) EndWaits();
    return *results[input];
  }

 private:
  void Run() {
    for (std::size_t i = 0; (i = next++) < inputs.size();) {
      CDone result = Guarded(inputs[i], [&] { return work(i, progress); });
      progress.End(i);
      {
        const std::lock_guard lock(mutex);
        results[i] = std::move(result);
      }
      changed.notify_one();
    }
  }

  const std::vector<std::string>& inputs;
  const InputWork& work;
  CProgressBar progress;
  std::atomic<std::size_t> next = 0;
  std::mutex mutex;  // of the results
  std::condition_variable changed;
  std::vector<std::optional<CDone>> results;
  std::vector<std::jthread> threads;  // ends first
};

void Show(const CDone& done) {
  if (done.summary.empty()) return;
  Print(done.to, done.summary);
  Flush(done.to);
}

}  // namespace

COption ThreadsOption(int& threads) {
  return {
      .name = "--threads",
      .value = &threads,
      .help = "How many inputs are worked on at a time; as many as there are cores if not given",
      .allowed = CLimits{1, maxThreads}};
}

std::vector<std::string> InputsNamedBy(const std::vector<std::string>& words) {
  std::vector<std::string> inputs;
  for (const std::string& word : words)
    for (std::string& file : FilesNamedBy(word))
      inputs.push_back(std::move(file));
  return inputs;
}

std::vector<std::string> NamesFor(const std::string& pattern,
                                  const std::vector<std::string>& inputs) {
  const std::string_view mark = "{}";
  if (inputs.size() > 1 && !pattern.empty() && pattern.find(mark) == std::string::npos)
    throw CError(pattern + ": several inputs need {} in it, which stands for the name of each");
  std::vector<std::string> names;
  std::set<std::string> all;
  for (const std::string& input : inputs) {
    std::string name = pattern;
    const std::string title = TitleOf(input);
    for (std::size_t at = 0; (at = name.find(mark, at)) != std::string::npos; at += title.size())
      name.replace(at, mark.size(), title);
    if (!name.empty() && !all.insert(name).second) throw CError(name + ": is to be written twice");
    names.push_back(std::move(name));
  }
  return names;
}

int ForEachInput(const std::vector<std::string>& inputs, int threads, const char* label,
                 const InputWork& work) {
  if (inputs.size() == 1) {
    CProgressBar progress(label);
    const CDone done = work(0, progress);
    Show(done);
    return done.status;
  }
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  CWorkers workers(inputs, label, work);
  const int cores = std::max(1, int(std::thread::hardware_concurrency()));
  workers.Start(std::min(int(inputs.size()), threads > 0 ? threads : std::min(cores, maxThreads)));
  CDone all;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const CDone done = workers.Wait(i);
    Show(done);
    all.status = std::max(all.status, done.status);
    all.frames += done.frames;
    if (done.to) all.to = done.to;
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  if (all.to)
    all.summary =
        Text("%zu inputs: %s in %.2f s, %.0f frames/s\n", inputs.size(),
             CountText(all.frames, "frame").c_str(), seconds, double(all.frames) / seconds);
  Show(all);
  return all.status;
}
