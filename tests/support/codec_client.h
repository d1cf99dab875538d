#pragma once

#include "tests/kit/codec.h"
#include "tests/support/codec_config.h"

namespace codec_client = kit;
