// What the tag scanner sees in a page, laid out for a person.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvy::tools {

struct TagListingStyle {
    std::size_t width = 100;  // columns that a line should not go past
    bool json = false;        // one object a line, with all that a handler is told
};

// One line for each tag, indented by the elements around it and led by the number of its line in
// the page, and one for each text that is more than white space. What is too long is cut, of tags
// in their middle. UTF-8; control characters do not get through.
std::string tagListing(std::u16string_view page, const TagListingStyle& style = {});

}  // namespace corvy::tools
