#include "client/input_files.h"

#include "client/av.h"
#include "client/input_file.h"
#include "client/platform.h"

#include <filesystem>
#include <sstream>
#include <string_view>

namespace {

// Of the numbers that a series begins with, the least one counts, and it ends where one is missing.
void AddSeries(const std::string& pattern, std::vector<std::string>& files) {
  constexpr int lastStart = 4;
  char name[4096];
  bool isOpen = false;
  for (int number = 0; isOpen || number <= lastStart; ++number) {
    if (av_get_frame_filename2(name, sizeof name, pattern.c_str(), number, 0) < 0) return;
    const bool isThere = std::filesystem::exists(PathOf(name));
    if (isThere) files.emplace_back(name);
    if (isOpen && !isThere) return;
    isOpen = isThere;
  }
}

// The other kind of series: what a shell takes for a pattern counts behind a percent sign.
std::string ShellPattern(const std::string& name) {
  constexpr std::string_view special = "*?[]{}";
  std::string pattern;
  bool isPattern = false;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const bool isMarked =
        name[i] == '%' && i + 1 < name.size() && special.find(name[i + 1]) != special.npos;
    if (isMarked)
      ++i;
    else if (name[i] == '\\' || special.find(name[i]) != special.npos)
      pattern += '\\';
    isPattern |= isMarked;
    pattern += name[i];
  }
  return isPattern ? pattern : "";
}

}  // namespace

std::vector<std::string> FilesOf(const std::string& name) {
  // Roads that lead to a file without more about it.
  for (const std::string road : {"file:", "async:", "cache:"})
    if (name.starts_with(road)) return FilesOf(name.substr(road.size()));
  std::vector<std::string> files{name};
  if (name == "pipe:" || name == "pipe:0") files.emplace_back(standardName);
  if (const std::string list = "concat:"; name.starts_with(list)) {
    std::istringstream parts(name.substr(list.size()));
    for (std::string part; std::getline(parts, part, '|');)
      for (std::string& file : FilesOf(part))
        files.push_back(std::move(file));
  }
  AddSeries(name, files);
  if (const std::string pattern = ShellPattern(name); !pattern.empty())
    for (std::string& file : FilesLike(pattern))
      files.push_back(std::move(file));
  return files;
}

std::vector<std::string> FilesOf(const std::vector<std::string>& names) {
  std::vector<std::string> files;
  for (const std::string& name : names)
    for (std::string& file : FilesOf(name))
      files.push_back(std::move(file));
  return files;
}
