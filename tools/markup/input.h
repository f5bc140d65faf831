// Text that the markup commands read.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace corvy::tools {

struct MarkupInput {
    std::string file = "-";    // "-" is standard input
    std::string charset = {};  // what the transport would declare; empty: nothing
    bool plain = false;        // UTF-8, whatever the text says of itself
    bool isSavedPage = false;  // as textOfSavedPage, unless a charset is given
};

// The text of a page or feed; none when nothing decodes it. Saved pages were often converted, and
// still name the character set they had: bytes behind a mark of UTF-16, and bytes that can hardly
// be anything but UTF-8, are that.
std::optional<std::u16string> textOfSavedPage(std::span<const std::byte> page);

// The text of the file; none, after a message, when it cannot be read or is none.
std::optional<std::u16string> readMarkup(const MarkupInput& input);

// Prints lines of a result; 1, without a message, when there are none.
int printFound(const std::optional<std::u16string>& found);

}  // namespace corvy::tools
