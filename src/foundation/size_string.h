// Sizes travel as text in braces, such as {612, 792}.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvy {

// Width and height, in points or pixels as the user of it says.
struct Size {
    double width = 0;
    double height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

// "{width, height}": each number in the shortest decimal form that reads back as the same number,
// a whole one without a fraction.
std::u16string sizeString(Size size);
// None unless the text is two finite numbers in that form; blanks around them do not count.
std::optional<Size> sizeFromString(std::u16string_view text);

}  // namespace corvy
