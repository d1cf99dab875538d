#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// The command line of a program as tables: for each command what may stand behind it, and where
// that goes.

// Words that stand for numbers, in the order of the help; letter case does not count.
using CWords = std::vector<std::pair<std::string, int>>;
struct CPositive {};
template <class T>
struct CLimits {
  T least, most;
};
template <class T>
CLimits(T, T) -> CLimits<T>;

struct COption {
  // A variant of nothing but pointers and bare functions never takes itself for empty, not even
  // when copying a function failed; it would destroy what it does not hold.
  template <class T>
  struct CParser {
    std::function<void(const T&)> take;
  };
  using Parse = CParser<std::string>;
  using ParseAll = CParser<std::vector<std::string>>;

  // "input" is a word at its place, "--size" an option; "!--no-keys" clears a flag. A bool is a
  // flag. What a function gets may be refused by a CError.
  const char* name;
  std::variant<std::string*, std::vector<std::string>*, int*, std::int64_t*, double*, bool*, Parse,
               ParseAll>
      value;
  const char* help;

  const char* form = nullptr;  // stands for the value in the help, where its kind does not tell
  std::variant<std::monostate, CPositive, CLimits<int>, CLimits<double>, std::vector<int>, CWords>
      allowed{};
  bool isRequired = false, showsDefault = false;
  const char* needs = nullptr;  // an option above it in the table
  const char* group = nullptr;  // a heading in the help
};

// What the help says of an option: what stands behind its name, empty for a flag, and its text with
// whether it is required, its limits and its default.
[[nodiscard]] std::string FormOf(const COption& option);
[[nodiscard]] std::string DescriptionOf(const COption& option);

struct CCommand {
  using IsGiven = std::function<bool(const char* option)>;

  const char* name;
  const char* help;
  std::vector<COption> options{};
  std::function<int()> run{};
  std::function<void(const IsGiven&)> check{};  // throws CError where options do not go together
  std::vector<CCommand> parts{};                // commands below it, one of which has to follow
};

struct CProgram {
  const char* name;
  const char* help;
  std::vector<CCommand> commands;
  const char* verboseHelp;
  std::function<std::string()> version;
  // Makes what lives as long as a command runs.
  std::function<std::shared_ptr<void>(bool isVerbose)> open;
};

// What the words behind the program's name ask for. `run` is empty if it asked for help or was
// wrong; then `status` is the exit status.
struct CArguments {
  std::function<int()> run;
  bool isVerbose = false;
  int status = 0;
};
[[nodiscard]] CArguments ParseArguments(const CProgram& program, std::vector<std::string> words);
