#pragma once

#include <string>
#include <vector>

// The files that are read for a picture or a video of that name, as far as the name tells: a
// numbered series has many, and none is what comes over a network.
[[nodiscard]] std::vector<std::string> FilesOf(const std::string& name);
// Of all these names.
[[nodiscard]] std::vector<std::string> FilesOf(const std::vector<std::string>& names);
