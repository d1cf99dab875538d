#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

// With --rounds=N every WHAT/VARIANT is measured in N rounds, in each of them our implementation
// and its peers in turn, so that whatever disturbs the machine meets all of them alike. The times
// of all rounds come out as JSON, in microseconds. Without it this is like any program of Google
// Benchmark.

namespace {

class CTimes : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      const std::string name = run.benchmark_name();
      if (run.error_occurred) throw std::runtime_error(name + ": " + run.error_message);
      // Where threads are compared the time on the clock counts, elsewhere the processor time.
      const bool isClock = run.run_name.time_type == "real_time";
      const double time = isClock ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
      times[name].push_back(time / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e6);
    }
  }

  std::map<std::string, std::vector<double>> times;
};

// Returns the WHAT/VARIANT of all benchmarks that the filter chooses, as patterns.
std::vector<std::string> Groups() {
  CTimes reporter;
  std::ostringstream names;
  reporter.SetOutputStream(&names);
  const auto list = [](const char* isOn) {
    const std::string option = std::string("--benchmark_list_tests=") + isOn;
    std::vector<char*> words{const_cast<char*>(""), const_cast<char*>(option.c_str())};
    int count = 2;
    benchmark::Initialize(&count, words.data());
  };
  list("true");
  benchmark::RunSpecifiedBenchmarks(&reporter);
  list("false");
  std::vector<std::string> groups;
  std::istringstream lines(names.str());
  for (std::string line; std::getline(lines, line);) {
    const std::string group = "^" + line.substr(0, line.find('/', line.find('/') + 1)) + "/";
    if (groups.empty() || groups.back() != group) groups.push_back(group);
  }
  return groups;
}

int RunRounds(int rounds) {
  CTimes reporter;
  for (const std::string& group : Groups())
    for (int round = 0; round < rounds; ++round)
      benchmark::RunSpecifiedBenchmarks(&reporter, group);
  std::cout << nlohmann::json(reporter.times) << '\n';
  return 0;
}

}  // namespace

int main(int count, char** words) {
  constexpr std::string_view option = "--rounds=";
  benchmark::Initialize(&count, words);
  if (count == 2 && std::string_view(words[1]).starts_with(option)) try {
      return RunRounds(std::atoi(words[1] + option.size()));
    } catch (const std::exception& error) {
      std::cerr << words[0] << ": " << error.what() << '\n';
      return 1;
    }
  if (benchmark::ReportUnrecognizedArguments(count, words)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
