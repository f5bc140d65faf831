// The tags that the HTML-to-text conversion knows.
#pragma once

#include <cstdint>
#include <string_view>

namespace corvy {

// Those that mean the same are one.
enum class PlainTextTag : std::uint8_t {
    other,
    anchor,
    block,  // p, hr, blockquote
    body,
    cell,  // td, th
    code,  // code, cite
    div,
    font,
    head,
    heading,  // h0 to h9
    iframe,
    image,
    input,
    line,  // br, li, ol, ul, dd, dl, dt
    marquee,
    noframes,
    noscript,
    option,
    preformatted,  // pre, plaintext
    row,
    select,
    table,
    textarea,
    title,
};

// `other` for an empty name as well. ASCII case does not count.
PlainTextTag tagNamed(std::u16string_view name);

}  // namespace corvy
