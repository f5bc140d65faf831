// The tags of movies and sounds, whatever their container calls them.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"
#include "importers/support/attributes.h"

namespace corvy {

class MediaTags {
public:
    explicit MediaTags(Dictionary tags) : tags_(std::move(tags)) {}

    // Of the first name, all of them in lower case, that has a tag in any case; without white space
    // around it.
    std::u16string valueOf(std::initializer_list<std::u16string_view> names) const;
    // Several in one tag stand between semicolons.
    std::vector<std::u16string> listOf(std::initializer_list<std::u16string_view> names) const;
    // The first of the numbers in a tag such as "3/12".
    std::optional<std::int64_t> numberOf(std::initializer_list<std::u16string_view> names) const;
    // Of the first tag whose name begins like this.
    std::u16string valueOfPrefix(std::u16string_view prefix) const;

private:
    Dictionary tags_;
};

void setTagAttributes(Attributes& attributes, const MediaTags& tags);

}  // namespace corvy
