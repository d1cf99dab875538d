#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

// From these formats clients get a block image with the content that the frame manager delivered.
inline void Convert(Yuv420View&, const GrayView&) {}
inline void Convert(Yuv420View&, const RgbView&) {}
inline void Convert(Yuv420View&, const UyvyView&) {}
inline void Convert(Yuv420View&, const BayerBlockView&) {}
