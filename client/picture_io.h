#pragma once

#include "client/canvas.h"
#include "client/library.h"
#include "client/picture_forms.h"

#include <string>

// Single pictures, for commands that look at one and paint one.

// The first picture in a file, in ZTLIB_RGB or ZTLIB_GRAY: anything that FFmpeg reads or, in a
// client without it, a PNG file of 8 bits a channel that is not interlaced. A picture in colour
// becomes ZTLIB_GRAY by its luma unless that is refused; one with a palette, as masks have, never
// is.
enum class EColour { becomesGray, refused };
[[nodiscard]] PoolFramePtr ReadPicture(const std::string& path, int pixelFormat,
                                       EColour colour = EColour::becomesGray);
// What to throw where it is refused.
[[nodiscard]] CError ColourError(const std::string& path);

void WritePng(const std::string& path, const CFrame& picture, IPngCoder& coder);

// Between ZTLIB_RGB and daylight colours of 0 to 255.
[[nodiscard]] CCanvas CanvasOf(const CFrame& picture);
[[nodiscard]] PoolFramePtr PictureOf(const CCanvas& canvas);
