#pragma once

#include "client/commands.h"

#include <string>
#include <vector>

// What tells how a report came about, for people who compare it with another. Nothing of it tells
// who made it: of files only the names, of addresses not even their hosts.
struct CCircumstance {
  std::string name, value;
};
// `coded` are the settings of the differential encoder.
[[nodiscard]] std::vector<CCircumstance> CircumstancesOf(const CDemoOptions& options,
                                                         const ztlib::EncoderSettings& coded);

// A file's name without its folders, the last part of an address without what may be secret.
[[nodiscard]] std::string ShownName(const std::string& name);
