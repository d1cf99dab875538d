#pragma once

#include <memory>

// The program's life with the library, until the pointer goes; the library's pictures are frames of
// CFramePool. With `isVerbose` its log lines go to standard error.
[[nodiscard]] std::shared_ptr<void> OpenSession(bool isVerbose);
