// A group of RTF: what the words in it have set so far.
#pragma once

#include <cstdint>

#include "platform/rich_text/rtf_state.h"
#include "platform/rich_text/rtf_story.h"
#include "platform/rich_text/rtf_words.h"

namespace corvy::platform {

// What the text of a group is.
enum class RtfDestination : std::uint8_t {
    body,
    dropped,  // nothing, but groups inside it may be something
    fonts,
    colors,
    listText,  // part of the body that stands between tabs
    info,
    infoText,
    infoTime,
    instruction,  // of a field
    listTable,
    overrides,
    levelText,
    levelMarker,
    picture,
    attachment,      // its name
    attachmentRest,  // what stands for it in the text
};

// Whether the text is gathered, to be looked at when the group ends.
inline bool isGathered(RtfDestination destination) {
    switch (destination) {
        case RtfDestination::fonts:
        case RtfDestination::infoText:
        case RtfDestination::instruction:
        case RtfDestination::levelText:
        case RtfDestination::levelMarker:
        case RtfDestination::attachment: return true;
        default: return false;
    }
}

struct RtfGroup {
    RtfCharacters characters;
    RtfParagraph paragraph;
    RtfDestination destination = RtfDestination::body;
    RtfDestination outer = RtfDestination::body;  // what it is around what is dropped
    bool begins = false;                          // the destination begins with this group
    bool inAlternatives = false;      // of which one, in a group of its own, is meant for us
    RtfWord word = RtfWord::unknown;  // that began it
    std::int32_t fallback = 1;        // items that stand behind a \u for other readers
    std::int32_t link = -1;           // of the field
    RtfStory* story = nullptr;        // into which the body goes
};

}  // namespace corvy::platform
