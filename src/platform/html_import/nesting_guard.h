// Keeps hostile markup from costing the HTML parser more than its length is worth.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace corvy::platform {

// Elements may lie in each other this deep; the start tags of what lies deeper are dropped, with
// their end tags, so that its text stays.
inline constexpr std::size_t kDeepestElement = 512;
// Attributes of one tag; the others are dropped.
inline constexpr std::size_t kMostAttributes = 256;

// The markup with what is too much left out; none when nothing is. One pass over the bytes that
// builds no tree: it counts tags as a parser would open and close elements, roughly. Also bounded
// are the elements that a parser makes by itself, when formatting that was never ended is opened
// again in every paragraph.
std::optional<std::string> withoutExcess(std::string_view html);

}  // namespace corvy::platform
