#include "client/command_line.h"

#include "client/console.h"
#include "client/man_page.h"
#include "client/text.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include <CLI/CLI.hpp>

namespace {

std::string NamesOf(const CWords& words, const char* separator) {
  std::string names;
  for (const auto& [name, value] : words)
    names += (names.empty() ? "" : separator) + name;
  return names;
}

// Empty where there is none to be shown.
std::string DefaultOf(const COption& option) {
  if (!option.showsDefault) return "";
  if (const auto* text = std::get_if<std::string*>(&option.value)) return **text;
  if (const auto* number = std::get_if<double*>(&option.value)) return Text("%g", **number);
  if (const auto* number = std::get_if<std::int64_t*>(&option.value))
    return std::to_string(**number);
  const int value = *std::get<int*>(option.value);
  const auto* words = std::get_if<CWords>(&option.allowed);
  if (!words) return std::to_string(value);
  return std::find_if(words->begin(), words->end(),
                      [&](const auto& word) { return word.second == value; })
      ->first;
}

COption::Parse WordParser(const COption& option, const CWords& words, int* value) {
  return {[&option, &words, value](const std::string& text) {
    const auto found = std::find_if(words.begin(), words.end(), [&](const auto& word) {
      return CLI::detail::to_lower(text) == word.first;
    });
    if (found == words.end())
      throw CError(std::string(option.name) + ": " + text + " is none of " + NamesOf(words, ", "));
    *value = found->second;
  }};
}

template <class T>
CLI::Option* AddValue(CLI::App& command, const COption& option, const COption::CParser<T>& parser) {
  return command.add_option_function<T>(option.name, parser.take, DescriptionOf(option));
}
template <class T>
CLI::Option* AddValue(CLI::App& command, const COption& option, T* value) {
  if constexpr (std::is_same_v<T, int>)
    if (const auto* words = std::get_if<CWords>(&option.allowed))
      return AddValue(command, option, WordParser(option, *words, value));
  if constexpr (std::is_same_v<T, bool>)
    return command.add_flag(option.name, *value, DescriptionOf(option));
  else
    return command.add_option(option.name, *value, DescriptionOf(option));
}

void Restrict(CLI::Option&, std::monostate) {}
void Restrict(CLI::Option&, const CWords&) {}
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

void AddOption(CLI::App& command, const COption& option) {
  CLI::Option& added = *std::visit(
      [&](const auto& value) { return AddValue(command, option, value); }, option.value);
  std::visit([&](const auto& allowed) { Restrict(added, allowed); }, option.allowed);
  if (option.isRequired) added.required();
  added.option_text(FormOf(option));
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

std::string FormOf(const COption& option) {
  if (option.form) return option.form;
  if (const auto* words = std::get_if<CWords>(&option.allowed)) return NamesOf(*words, "|");
  if (std::holds_alternative<bool*>(option.value)) return "";
  return std::holds_alternative<std::string*>(option.value) ? "NAME" : "N";
}

std::string DescriptionOf(const COption& option) {
  std::vector<std::string> notes;
  if (option.isRequired) notes.emplace_back("required");
  if (const auto* whole = std::get_if<CLimits<int>>(&option.allowed))
    notes.push_back(Text("%d to %d", whole->least, whole->most));
  if (const auto* real = std::get_if<CLimits<double>>(&option.allowed))
    notes.push_back(Text("%g to %g", real->least, real->most));
  if (const auto* values = std::get_if<std::vector<int>>(&option.allowed)) {
    std::string list;
    for (const int value : *values)
      list += (list.empty() ? "" : ", ") + std::to_string(value);
    notes.push_back(list);
  }
  if (const std::string shown = DefaultOf(option); !shown.empty())
    notes.push_back("default " + shown);
  if (option.needs) notes.push_back(std::string("needs ") + option.needs);
  std::string text = option.help;
  for (const std::string& note : notes)
    text += (&note == &notes.front() ? " (" : "; ") + note;
  return text + (notes.empty() ? "" : ")");
}

CArguments ParseArguments(const CProgram& program, std::vector<std::string> words) {
  CLI::App app(program.help, program.name);
  CArguments arguments;
  app.require_subcommand(1);
  // On Windows, too, what begins with a slash may be a name.
  app.allow_windows_style_options(false);
  app.fallthrough();
  app.add_flag("-v,--verbose", arguments.isVerbose, program.verboseHelp);
  app.set_version_flag("--version", program.version, "Show versions and what the library meets");
  // For the build; no help shows it.
  app.add_flag_callback("--man",
                        [&] {
                          Print(Output(), ManPage(program));
                          throw CLI::Success();
                        })
      ->group("");
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
