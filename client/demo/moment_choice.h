#pragma once

#include "client/demo/html_report.h"
#include "client/frame_header.h"

#include <array>
#include <cstdint>
#include <vector>

// Chooses the moments of the report from the frames that a clip really has: an early, a middle and a
// late one, a differential frame, a reference frame and a key frame as far as there are such. How
// long a clip is shows at its end, so some moments of each kind are kept, ever farther apart.
class CMomentChoice {
 public:
  // To be asked once for each frame.
  [[nodiscard]] bool Wants(const CFrameHeader& header);
  void Keep(const CFrameHeader& header, CMoment moment);

  [[nodiscard]] std::vector<CMoment> Finish(std::int64_t frames);

 private:
  struct CKind {
    std::int64_t seen = 0, step = 1;
    std::vector<CMoment> kept;
  };
  [[nodiscard]] CKind& KindOf(const CFrameHeader& header);

  std::array<CKind, 3> kinds;  // in the order in which the report shows them
};
