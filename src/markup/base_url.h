// Gives an HTML page the address by which its relative links are resolved.
#pragma once

#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy {

// The page with that base address: in place of the one that it has, else as added.
std::u16string stringBySettingBaseURL(std::u16string_view html, const Url& url);

// The page with a `base` tag behind the start of its head, else of its `html` element, else behind
// its DOCTYPE, else in front. A page with a base address stays as it is.
std::u16string stringByAddingBaseURL(std::u16string_view html, const Url& url);

}  // namespace corvy
