#include "client/man_page.h"

#include "client/text.h"
#include "ztlib.h"

#include <string_view>

namespace {

// In troff a backslash begins a command, a hyphen may become a dash, and a line that begins with a
// dot or a quote is a macro.
std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\' || c == '-') escaped += '\\';
    escaped += c == '\\' ? 'e' : c;
  }
  return escaped.starts_with('.') || escaped.starts_with('\'') ? "\\&" + escaped : escaped;
}

void AddEntry(std::string& page, std::string_view name, const std::string& form,
              const std::string& text) {
  page += ".TP\n\\fB" + Escaped(name) + "\\fR";
  if (!form.empty()) page += " \\fI" + Escaped(form) + "\\fR";
  page += "\n" + Escaped(text) + "\n";
}

// What a word or words without an option's name stand for.
std::string PlaceOf(const COption& option) {
  if (std::holds_alternative<COption::ParseAll>(option.value)) return option.form;
  const bool isSeveral = std::holds_alternative<std::vector<std::string>*>(option.value);
  return std::string(option.name) + (isSeveral ? "..." : "");
}

void AddCommand(std::string& page, const std::string& names, const CCommand& command) {
  const std::string name = names + " " + command.name;
  for (const CCommand& part : command.parts)
    AddCommand(page, name, part);
  if (!command.parts.empty()) return;
  std::string line = name;
  for (const COption& option : command.options)
    if (option.name[0] != '-' && option.name[0] != '!')
      line += option.isRequired ? " " + PlaceOf(option) : Text(" [%s]", option.name);
  page += ".SS \"" + Escaped(line) + "\"\n" + Escaped(command.help) + ".\n";
  for (const COption& option : command.options)
    AddEntry(page, option.name + (option.name[0] == '!' ? 1 : 0), FormOf(option),
             DescriptionOf(option));
}

}  // namespace

std::string ManPage(const CProgram& program) {
  const std::string name = program.name;
  std::string page = Text(".TH %s 1 \"\" \"ztlib %d.%d.%d\"\n.SH NAME\n", name.c_str(),
                          ZTLIB_VERSION_MAJOR, ZTLIB_VERSION_MINOR, ZTLIB_VERSION_PATCH);
  page += name + " \\- " + Escaped(program.help) + "\n";
  page += ".SH SYNOPSIS\n\\fB" + name + "\\fR [\\fB\\-v\\fR] \\fIcommand\\fR [\\fIoptions\\fR]\n";
  page += ".SH COMMANDS\n";
  for (const CCommand& command : program.commands)
    AddCommand(page, name, command);
  page += ".SH OPTIONS OF ALL COMMANDS\n";
  AddEntry(page, "-v, --verbose", "", program.verboseHelp);
  AddEntry(page, "-h, --help", "", "Show the options of a command");
  AddEntry(page, "--version", "", "Show versions and what the library meets here");
  page += ".SH ENVIRONMENT\n";
  AddEntry(page, "ZTLIB_BASELINE", "1", "Use the kernels for every processor");
  AddEntry(page, "ZTLIB_LIBJPEG", "1", "Decode JPEG pictures with libjpeg alone");
  page += ".SH EXIT STATUS\n";
  AddEntry(page, "0", "", "All is done");
  AddEntry(page, "1", "", "An error, or damage that was skipped");
  AddEntry(page, "130", "", "Ended by the user or the system");
  return page;
}
