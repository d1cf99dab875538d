#pragma once

#include "client/demo/html_report.h"
#include "client/picture_file.h"
#include "client/recorder.h"
#include "client/scaler.h"

// Makes the pictures of the report.
class CMomentMaker {
 public:
  // `plain` and `decoded` are ZTLIB_RGB and show the top left part of `source` in the size
  // `scaled`.
  [[nodiscard]] CMoment Make(std::int64_t index, const AVFrame& source, CSize scaled,
                             const AVFrame& plain, const AVFrame& decoded);

  // Image files: the picture as small as the page shows it, and as it is.
  [[nodiscard]] std::string Overview(const AVFrame& picture);
  [[nodiscard]] std::string Png(const AVFrame& picture);

 private:
  CScaler toDecoded, toOverview;
  CPictureCoder jpeg{CPictureCoder::EKind::jpeg}, png{CPictureCoder::EKind::png};
};
