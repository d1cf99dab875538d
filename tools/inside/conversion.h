#pragma once

#include "client/library.h"

#include <memory>

class CZTImageImplBase;

// A picture that converts to other pixel formats as the library's images do. What the library
// refuses is thrown as CLibraryError with its text.
class CConvertible {
 public:
  // A filled frame of that format.
  CConvertible(PoolFramePtr frame, int pixelFormat);

  [[nodiscard]] CConvertible ConvertedTo(int pixelFormat) const;

  // Null if the picture has no whole sample of its format.
  [[nodiscard]] const CFrame* Frame() const;

 private:
  explicit CConvertible(std::shared_ptr<const CZTImageImplBase> converted);

  std::shared_ptr<const CZTImageImplBase> image;
};
