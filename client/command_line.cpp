#include "client/command_line.h"

#include "client/console.h"
#include "client/text.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include <CLI/CLI.hpp>

namespace {

template <class T>
CLI::Option* AddValue(CLI::App& command, const COption& option, T* value) {
  if constexpr (std::is_same_v<T, bool>)
    return command.add_flag(option.name, *value, option.help);
  else
    return command.add_option(option.name, *value, option.help);
}
template <class T>
CLI::Option* AddValue(CLI::App& command, const COption& option, const COption::CParser<T>& parser) {
  return command.add_option_function<T>(option.name, parser.take, option.help);
}

void Restrict(CLI::Option&, std::monostate) {}
void Restrict(CLI::Option& option, CPositive) {
  option.check(CLI::PositiveNumber);
}
template <class T>
void Restrict(CLI::Option& option, const CLimits<T>& limits) {
  option.check(CLI::Range(limits.least, limits.most));
}
void Restrict(CLI::Option& option, const std::vector<int>& values) {
  option.check(CLI::IsMember(values));
}
void Restrict(CLI::Option& option, const CWords& words) {
  option.transform(CLI::CheckedTransformer(words, CLI::ignore_case));
}

void AddOption(CLI::App& command, const COption& option) {
  CLI::Option& added = *std::visit(
      [&](const auto& value) { return AddValue(command, option, value); }, option.value);
  std::visit([&](const auto& allowed) { Restrict(added, allowed); }, option.allowed);
  if (option.isRequired) added.required();
  if (option.showsDefault) added.capture_default_str();
  if (option.form) added.option_text(option.form);
  if (option.needs) added.needs(command.get_option(option.needs));
  if (option.group) added.group(option.group);
}

// `command` and `arguments` outlive the parsing.
void AddCommand(CLI::App& app, const CCommand& command, CArguments& arguments) {
  CLI::App& added = *app.add_subcommand(command.name, command.help);
  for (const COption& option : command.options)
    AddOption(added, option);
  for (const CCommand& part : command.parts)
    AddCommand(added, part, arguments);
  if (!command.parts.empty()) {
    added.require_subcommand(1);
    return;
  }
  added.final_callback([&] {
    if (command.check) command.check([&](const char* name) { return added.count(name) > 0; });
    arguments.run = command.run;
  });
}

}  // namespace

CArguments ParseArguments(const CProgram& program, std::vector<std::string> words) {
  CLI::App app(program.help, program.name);
  CArguments arguments;
  app.require_subcommand(1);
  // On Windows, too, what begins with a slash may be a name.
  app.allow_windows_style_options(false);
  app.fallthrough();
  app.add_flag("-v,--verbose", arguments.isVerbose, "Show the log lines of the library");
  for (const CCommand& command : program.commands)
    AddCommand(app, command, arguments);
  const auto refuse = [&](const std::exception& error) {
    arguments.run = nullptr;
    arguments.status = 1;
    Complain(std::string(error.what()) + " (see " + program.name + " --help)");
  };
  try {
    // The last one first.
    std::reverse(words.begin(), words.end());
    app.parse(std::move(words));
  } catch (const CLI::Success& request) {
    arguments.run = nullptr;
    arguments.status = app.exit(request);
  } catch (const CLI::ParseError& error) {
    refuse(error);
  } catch (const CError& error) {
    refuse(error);
  }
  return arguments;
}
