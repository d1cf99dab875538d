#pragma once

#include "client/demo/html_report.h"
#include "client/demo/moment.h"
#include "client/demo/synthetic_scene.h"

#include <cstdint>

// Calibrates the scene by marks in its last picture and measures the people in it. `decoded` is
// that picture as ZTLIB_RGB, in the scene's size; its index goes into the result.
[[nodiscard]] CGroundPicture MeasureGround(const CSyntheticScene& scene, std::int64_t index,
                                           const AVFrame& decoded, CMomentMaker& pictures);
