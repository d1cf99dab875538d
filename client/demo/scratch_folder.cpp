#include "client/demo/scratch_folder.h"

namespace fs = std::filesystem;

namespace {

fs::path NewFolder() {
  constexpr int mostTaken = 10000;
  std::error_code error;
  const fs::path parent = fs::temp_directory_path(error);
  for (int attempt = 1; !error && attempt <= mostTaken; ++attempt) {
    fs::path folder = parent / Text("ztclient-%d", attempt);
    if (!fs::create_directory(folder, error)) continue;
    fs::permissions(folder, fs::perms::owner_all, error);
    return folder;
  }
  throw CError("cannot make a temporary folder" + (error ? ": " + error.message() : ""));
}

}  // namespace

CScratchFolder::CScratchFolder(std::initializer_list<std::string> names) : folder(NewFolder()) {
  for (const std::string& name : names)
    doomed.emplace_back(folder / name).Arm();
  doomed.emplace_back(folder).Arm();
}

CScratchFolder::~CScratchFolder() {
  std::error_code error;
  fs::remove_all(folder, error);
}
