#pragma once

#include "client/canvas.h"
#include "client/frame.h"
#include "client/output_file.h"

#include <string>

// Single pictures, for commands that look at one and paint one.

// The first picture in anything that FFmpeg reads, in ZTLIB_RGB or ZTLIB_GRAY. A picture in colour
// becomes ZTLIB_GRAY by its luma unless that is refused; one with a palette, as masks have, never
// is.
enum class EColour { becomesGray, refused };
[[nodiscard]] PoolFramePtr ReadPicture(const std::string& path, ztlib_pixel_format pixelFormat,
                                       EColour colour = EColour::becomesGray);

void WritePng(COutputs& outputs, const std::string& path, const AVFrame& picture);

// Between ZTLIB_RGB and daylight colours of 0 to 255.
[[nodiscard]] CCanvas CanvasOf(const AVFrame& picture);
[[nodiscard]] PoolFramePtr PictureOf(const CCanvas& canvas);
