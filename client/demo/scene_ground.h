#pragma once

#include "client/demo/html_report.h"
#include "client/demo/moment.h"
#include "client/demo/synthetic_scene.h"

#include <cstdint>
#include <optional>

// Calibrates the scene by marks in its last picture and measures the people in it. `decoded` is
// that picture as ZTLIB_RGB, in the scene's size; its index goes into the result. No export
// calibrates, so ztinside does, as a program of its own; nothing if it does not lie beside this one
// or fails.
[[nodiscard]] std::optional<CGroundPicture> MeasureGround(const CSyntheticScene& scene,
                                                          std::int64_t index,
                                                          const AVFrame& decoded,
                                                          CMomentMaker& pictures);
