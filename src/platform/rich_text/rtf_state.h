// What the control words of RTF have set, in the format's own units (twips are a twentieth of a
// point), and what they refer to. Groups save and restore these by copying.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/rich_text/rtf_encoding.h"
#include "platform/rich_text/rtf_words.h"
#include "platform/rich_text/text_style.h"

namespace corvy::platform {

inline constexpr double kTwipsPerPoint = 20;

struct RtfCharacters {
    std::int32_t font = -1;  // its number; -1: the document's default
    std::int32_t doubleByteFont = -1;
    std::int32_t halfPoints = 24;
    std::int32_t color = 0;  // 0: none, as with the others
    std::int32_t background = 0;
    std::int32_t underlineColor = 0;
    std::int32_t strikeColor = 0;
    std::int32_t raisedHalfPoints = 0;
    std::int32_t kernTwips = 0;
    std::int32_t link = -1;  // index of an address
    LineStyle underline = LineStyle::none;
    LineStyle strike = LineStyle::none;
    std::int8_t superscript = 0;
    bool bold = false;
    bool italic = false;
    bool outline = false;
    bool shadow = false;
    bool hidden = false;
    bool deleted = false;
    bool doubleByte = false;  // bytes are in the encoding of doubleByteFont
    friend bool operator==(const RtfCharacters&, const RtfCharacters&) = default;
};

struct RtfParagraph {
    TextAlignment alignment = TextAlignment::natural;
    WritingDirection direction = WritingDirection::natural;
    std::int8_t outlineLevel = -1;
    bool inTable = false;
    std::int32_t tableDepth = 0;
    std::int32_t left = 0;  // twips, as all below
    std::int32_t first = 0;
    std::int32_t right = 0;
    std::int32_t before = 0;
    std::int32_t after = 0;
    std::int32_t lineHeight = 0;
    bool lineHeightIsMultiple = false;
    std::int32_t leading = 0;
    std::int32_t minimumHeight = 0;
    std::int32_t maximumHeight = 0;
    std::int32_t defaultTab = 0;
    std::int32_t list = 0;  // number of an override; 0: none
    std::int32_t listLevel = 0;
    TabKind nextTab = TabKind::left;
    std::uint32_t firstTab = 0;  // in the reader's stack of tabs
    std::uint32_t tabs = 0;

    // How many tables it stands in.
    std::int32_t depth() const { return tableDepth > 0 ? tableDepth : inTable ? 1 : 0; }
    friend bool operator==(const RtfParagraph&, const RtfParagraph&) = default;
};

// The effect of one word, by its kind. `value` is its number, or 1 without one.
void applyCharacterWord(RtfCharacters& characters, RtfWord word, bool hasValue, std::int32_t value);
void applyParagraphWord(RtfParagraph& paragraph, RtfWord word, bool hasValue, std::int32_t value);

struct RtfFont {
    std::u16string name;
    Encoding encoding = Encoding::kInvalid;  // kInvalid: the document's
    SymbolFont symbols = SymbolFont::none;
    bool symbolCharset = false;
};

struct RtfListLevel {
    std::int32_t format = 0;
    std::int32_t start = 1;
    std::u16string text;    // a counted string; units below 9 stand for the counters of levels
    std::u16string marker;  // in the form of TextList; empty when it is not told
};

// What a document defines at its head, for text to refer to.
struct RtfResources {
    std::unordered_map<std::int32_t, RtfFont> fonts;
    std::vector<std::optional<RgbColor>> colors;
    std::vector<std::u16string> links;
    std::unordered_map<std::int32_t, std::vector<RtfListLevel>> lists;  // by identifier
    std::unordered_map<std::int32_t, std::int32_t> listOverrides;       // number to identifier
    std::vector<TabStop> tabs;                                          // of all open groups
    std::int32_t defaultFont = 0;

    const RtfFont* fontWithNumber(std::int32_t number) const;
    std::optional<RgbColor> color(std::int32_t index) const;
    TextStyle styleOf(const RtfCharacters& characters) const;
    // Without lists and cells.
    ParagraphStyle styleOf(const RtfParagraph& paragraph) const;
    // Null when the paragraph is no item.
    const std::vector<RtfListLevel>* listOf(const RtfParagraph& paragraph) const;
};

// The level as a list of the model.
TextList listOfLevel(const RtfListLevel& level);

}  // namespace corvy::platform
