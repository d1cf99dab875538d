#pragma once

#include "client/interrupt.h"

#include <filesystem>
#include <initializer_list>
#include <list>
#include <string>

// A folder of this process among the system's temporary ones. It goes with its files, also where
// the program ends at once.
class CScratchFolder {
 public:
  // The names of all files that there will be.
  explicit CScratchFolder(std::initializer_list<std::string> names);
  ~CScratchFolder();
  CScratchFolder(const CScratchFolder&) = delete;
  CScratchFolder& operator=(const CScratchFolder&) = delete;

  [[nodiscard]] std::string Path(const std::string& name) const { return (folder / name).string(); }

 private:
  std::filesystem::path folder;
  std::list<CDoomedFile> doomed;  // the folder last, as it has to be empty
};
