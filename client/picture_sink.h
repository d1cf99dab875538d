#pragma once

#include "client/frame.h"
#include "client/output_file.h"

#include <cstdint>
#include <memory>
#include <string>

// Where decoded pictures go. Pictures of another size than the first are scaled where the output
// has one size for all.
class IPictureSink {
 public:
  virtual ~IPictureSink() = default;

  virtual void Write(const AVFrame& picture, std::int64_t index) = 0;
  // Completes the output, which then takes its place with the others of the command.
  virtual void Close() = 0;
};

// Numbered PNG files in a folder, which is made if missing. Each takes its place when it is
// written.
[[nodiscard]] std::unique_ptr<IPictureSink> NewPngOutput(COutputs& outputs,
                                                         const std::string& folder);

// A YUV4MPEG2 stream; "-" is the standard output. Planes are those of the pictures where the
// stream has such a layout; RGB becomes 4:2:0.
[[nodiscard]] std::unique_ptr<IPictureSink> NewY4mOutput(COutputs& outputs, const std::string& path,
                                                         double framesPerSecond);

// A video file in the container that its name says. Containers that can hold it get FFV1, so that
// nothing is lost, others their usual codec.
[[nodiscard]] std::unique_ptr<IPictureSink> NewVideoOutput(COutputs& outputs,
                                                           const std::string& path,
                                                           double framesPerSecond,
                                                           EUnfinished unfinished);
