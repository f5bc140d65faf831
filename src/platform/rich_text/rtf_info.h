// What the head of an RTF document says of it as a whole, on its way to document attributes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "foundation/property_list.h"
#include "platform/rich_text/rtf_words.h"

namespace corvy::platform {

class RtfInfo {
public:
    // Sizes, margins and the view.
    void applyDocumentWord(RtfWord word, std::int32_t value);
    // The text of one of the groups inside the info group.
    void setText(RtfWord word, std::u16string text);
    // The parts of a date; setTime() takes what came before.
    void applyTimeWord(RtfWord word, std::int32_t value);
    void setTime(RtfWord word);

    Dictionary attributes() const;

private:
    void setLength(const char16_t* key, std::int32_t twips);

    struct Extent {
        std::int32_t width = 0;
        std::int32_t height = 0;
    };
    Dictionary entries_;
    Extent paper_;
    Extent view_;
    bool hyphenates_ = false;
    std::array<std::int32_t, 6> time_{};  // year, month, day, hour, minute, second
};

// The key of a group inside the info group, or null.
const char16_t* infoKeyOf(RtfWord word);

}  // namespace corvy::platform
