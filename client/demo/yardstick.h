#pragma once

#include "client/demo/html_report.h"
#include "client/picture_source.h"
#include "client/recorder.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

// Starts the clip again.
using OpenPictures = std::function<std::unique_ptr<IPictureSource>()>;

// The same pictures with an encoder that everybody knows, at the bytes per second of another coding:
// H.264 of libx264 where FFmpeg has it, else its own MPEG-4. Like a camera's, it gives each picture
// at once. `coder` is that of the other coding. Nothing if FFmpeg refuses, or if the user wants it
// to end.
[[nodiscard]] std::optional<CCoding> MeasureYardstick(const OpenPictures& open, const CCoder& coder,
                                                      const CCoding& coding);
