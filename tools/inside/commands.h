#pragma once

#include "client/command_line.h"

// The commands of ztinside, which show what no export of the library reaches.

[[nodiscard]] CCommand CalibrateCommand();
[[nodiscard]] CCommand ConvertCommand();
[[nodiscard]] CCommand HistogramCommand();
[[nodiscard]] CCommand MeshCommand();
