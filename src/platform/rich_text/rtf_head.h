// The head of an RTF document: what the text refers to, and what is said of the whole.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/rich_text/rich_document.h"
#include "platform/rich_text/rtf_list_layout.h"
#include "platform/rich_text/rtf_output.h"

namespace corvy::platform {

class RtfHead {
public:
    explicit RtfHead(const AttributedText& text);

    void write(RtfOutput& out, const RichDocument& document) const;

    // Numbers in the tables. The font, or the colour, must be one of the text's.
    std::int64_t font(const TextStyle& style) const;
    std::int64_t color(const std::optional<RgbColor>& color) const;
    std::int64_t list(const std::vector<std::uint32_t>& lists) const {
        return lists_.numberOf(lists);
    }

private:
    void addColor(const std::optional<RgbColor>& color);
    void writeFonts(RtfOutput& out) const;
    void writeColors(RtfOutput& out) const;

    std::vector<std::u16string> fonts_;
    std::map<std::u16string, std::int64_t> fontNumbers_;
    std::vector<RgbColor> colors_;
    std::map<std::uint32_t, std::int64_t> colorNumbers_;
    RtfListLayout lists_;
};

}  // namespace corvy::platform
