#pragma once

#include "client/canvas.h"

#include <cstdint>
#include <span>

// A picture of bars with a scale at the left and below: bar i stands for the value i. 720 by 480
// pixels; the tallest bar reaches the top of the scale.
[[nodiscard]] CCanvas PlotBars(std::span<const int> bars);
