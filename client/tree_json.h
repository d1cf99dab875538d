#pragma once

#include "ztlib.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include <nlohmann/json.hpp>

// Trees as JSON, each block one text and each text one block; docs/formats.md tells how. What JSON
// has no word for is an object with one key that begins with '$'.
using Json = nlohmann::ordered_json;

// The tree of a block as far as it can be read; `damage` becomes the offset of the first thing in
// it that is no element.
[[nodiscard]] Json TreeOf(std::span<const std::uint8_t> block, std::optional<std::size_t>& damage);

// Both throw CError, which begins with `name` and tells the place of what is wrong.
[[nodiscard]] ztlib::TreeWriter BlockOf(const Json& tree, const std::string& name);
[[nodiscard]] Json ParseJson(std::string_view text, const std::string& name);

// For people: one line for each element, lists of numbers on one line.
[[nodiscard]] std::string PrettyText(const Json& json);
