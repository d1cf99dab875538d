#pragma once

#include <string_view>

// client/demo/report.html, for FillPage.
extern const std::string_view reportPage;
