#pragma once

#include <string>

// What `ztclient --version` prints.
[[nodiscard]] std::string VersionText();

// Which kernels the library takes: "the best for this processor", or why others.
[[nodiscard]] std::string KernelText();
