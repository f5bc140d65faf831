// The parts of the page, from the files of the same names: built into the program.
#pragma once

#include <string_view>

namespace corvy::tools {

extern const std::string_view kPageHtml;
extern const std::string_view kPageCss;
extern const std::string_view kPageJs;

}  // namespace corvy::tools
