// HTML to plain text written as plainly as its rules are told: on a copy of the page in which
// references are decoded in place, unit by unit, with searches as they come. It is the reference
// that the real one is compared with.
#pragma once

#include <string>
#include <string_view>

#include "text/plain_text.h"

namespace corvy::literal {

struct PlainText {
    std::u16string text;
    bool didRemoveJunk = false;

    friend bool operator==(const PlainText&, const PlainText&) = default;
};

PlainText plainText(std::u16string_view html, const PlainTextOptions& options);

}  // namespace corvy::literal
