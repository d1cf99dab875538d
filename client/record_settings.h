#pragma once

#include "client/library.h"

#include <cstdint>

struct CRecordSettings : CEncoderSettings {  // a size of 0: as the first picture
  std::int64_t frames = 0;                   // 0: all
};
