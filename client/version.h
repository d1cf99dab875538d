#pragma once

#include <string>

// What `ztclient --version` prints.
[[nodiscard]] std::string VersionText();
