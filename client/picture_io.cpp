#include "client/picture_io.h"

#include <algorithm>

CError ColourError(const std::string& path) {
  return CError(path + ": a picture in colour has no single value for a pixel; it is rgb");
}

void WritePng(COutputs& outputs, const std::string& path, const CFrame& picture, IPngCoder& coder) {
  outputs.Write(path, coder.Code(picture));
}

CCanvas CanvasOf(const CFrame& picture) {
  CCanvas canvas(picture.width, picture.height);
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* row = picture.data[0] + std::ptrdiff_t{y} * picture.linesize[0];
    for (int x = 0; x < picture.width; ++x, row += 4)
      canvas.At(x, y).color = {float(row[2]), float(row[1]), float(row[0])};
  }
  return canvas;
}

PoolFramePtr PictureOf(const CCanvas& canvas) {
  PoolFramePtr picture = NewPoolFrame(canvas.Width(), canvas.Height(), ZTLIB_RGB);
  const auto byte = [](float value) {
    return static_cast<std::uint8_t>(std::clamp(value + 0.5F, 0.0F, 255.0F));
  };
  const CCanvas::CPixel* pixel = canvas.Pixels().data();
  for (int y = 0; y < canvas.Height(); ++y) {
    std::uint8_t* row = picture->data[0] + std::ptrdiff_t{y} * picture->linesize[0];
    for (int x = 0; x < canvas.Width(); ++x, row += 4, ++pixel) {
      row[0] = byte(pixel->color.blue);
      row[1] = byte(pixel->color.green);
      row[2] = byte(pixel->color.red);
      row[3] = 0;
    }
  }
  return picture;
}
