#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

void Convert(Yuv420ImageView& target, const YuvImageView& source);
void Convert(Yuv420ImageView& target, const YuyvImageView& source);
// From these formats clients get a block image with the content that the frame manager delivered.
inline void Convert(Yuv420ImageView&, const GrayImageView&) {}
inline void Convert(Yuv420ImageView&, const RgbImageView&) {}
inline void Convert(Yuv420ImageView&, const UyvyImageView&) {}
inline void Convert(Yuv420ImageView&, const BayerBlockImageView&) {}
