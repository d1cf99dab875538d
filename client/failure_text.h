#pragma once

#include "ztlib.hpp"

#include <cstdint>
#include <span>
#include <string>

// Sentences for what a call of the library could not do, as far as its input shows the cause. The
// library's own words follow with -v.

[[nodiscard]] std::string WhyNotDecoded(std::span<const std::uint8_t> frame,
                                        const ztlib::Error& error);
// The same of the layers of a frame.
[[nodiscard]] std::string WhyNotSplit(std::span<const std::uint8_t> frame,
                                      const ztlib::Error& error);
// The same of records; the frame is that of the first layer.
[[nodiscard]] std::string WhyNotJoined(std::span<const std::uint8_t> frame,
                                       const ztlib::Error& error);
// Of a picture of that size.
[[nodiscard]] std::string WhyNotEncoded(int width, int height, const ztlib::Error& error);

// `sentence`, in place of the library's words unless those are a sentence of ztlib.hpp.
[[nodiscard]] std::string InPlaceOf(const ztlib::Error& error, const std::string& sentence);
