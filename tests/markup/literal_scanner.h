// The tag scanner written as plainly as its rules are told: one unit at a time, with the searches
// of script bodies as they come. It is the reference that the real one is compared with, and the
// base of its benchmarks. Quadratic on some inputs.
#pragma once

#include <string_view>

#include "markup/tag_scanner.h"

namespace corvy::literal {

bool GetTagsOfString(std::u16string_view string, TagHandler handler, void* context);

}  // namespace corvy::literal
