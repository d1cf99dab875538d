#pragma once

#include "client/canvas.h"
#include "client/frame_pool.h"
#include "client/output_file.h"
#include "client/picture_forms.h"
#include "ztlib.h"

#include <string>
#include <vector>

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

void WritePng(COutputs& outputs, const std::string& path, const CFrame& picture, IPngCoder& coder);

// The files that are read for a picture or a video of that name, as far as the name tells: a
// numbered series has many, and none is what comes over a network.
[[nodiscard]] std::vector<std::string> FilesOf(const std::string& name);

// Between ZTLIB_RGB and daylight colours of 0 to 255.
[[nodiscard]] CCanvas CanvasOf(const CFrame& picture);
[[nodiscard]] PoolFramePtr PictureOf(const CCanvas& canvas);
