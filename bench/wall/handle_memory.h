#pragma once

#include "bench/wall/stream.h"

#include <vector>

// Prints how much memory a handle of each kind holds after a few pictures, beside the picture that
// it shows and the frames of the client.
void PrintHandleMemory(std::vector<CStream>& streams);
