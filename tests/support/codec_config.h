#pragma once

#include "tests/kit/config.h"

using CodecConfig = kit::Config;
