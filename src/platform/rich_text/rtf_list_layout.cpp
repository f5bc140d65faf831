#include "platform/rich_text/rtf_list_layout.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace corvy::platform {

namespace {

constexpr std::size_t kMostLevels = 9;
constexpr int kIndent = 720;  // twips for each level

struct Marker {
    std::u16string_view name;
    int format;
    char16_t bullet;  // 0: a counter
};

constexpr Marker kMarkers[] = {
    {u"{decimal}", 0, 0},         {u"{upper-roman}", 1, 0},     {u"{lower-roman}", 2, 0},
    {u"{upper-alpha}", 3, 0},     {u"{lower-alpha}", 4, 0},     {u"{disc}", 23, u'\x2022'},
    {u"{circle}", 23, u'\x25E6'}, {u"{square}", 23, u'\x25AA'}, {u"{hyphen}", 23, u'\x2043'},
    {u"{box}", 23, u'\x25FB'},    {u"{check}", 23, u'\x2713'},  {u"{diamond}", 23, u'\x25C6'},
};

// A marker as the format of a level, and what stands around its sign.
struct LevelMarker {
    int format = 23;
    std::u16string_view before;
    char16_t bullet = 0;
    std::u16string_view after;
};

LevelMarker parse(std::u16string_view format) {
    for (const Marker& marker : kMarkers) {
        const std::size_t at = format.find(marker.name);
        if (at == std::u16string_view::npos) continue;
        return {marker.format, format.substr(0, at), marker.bullet,
                format.substr(at + marker.name.size())};
    }
    return {23, format, 0, u""};
}

void writeByte(RtfOutput& out, std::size_t value) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    out.raw("\\'");
    out.raw(kDigits[value >> 4 & 0xF]);
    out.raw(kDigits[value & 0xF]);
}

void writeLevel(RtfOutput& out, const TextList& list, std::size_t level) {
    constexpr std::size_t kLongest = 60;  // units on either side
    LevelMarker marker = parse(list.markerFormat);
    marker.before = marker.before.substr(0, kLongest);
    marker.after = marker.after.substr(0, kLongest);
    const bool isCounter = marker.format != 23;
    const bool hasSign = isCounter || marker.bullet != 0;

    out.word("{\\listlevel\\levelnfc", marker.format);
    out.word("\\levelnfcn", marker.format);
    out.word("\\leveljc0\\leveljcn0\\levelfollow0\\levelstartat", list.start);
    out.raw("\\levelspace360\\levelindent0{\\*\\levelmarker ");
    out.text(list.markerFormat);
    out.raw("}{\\leveltext");
    writeByte(out, marker.before.size() + marker.after.size() + (hasSign ? 1 : 0));
    out.text(marker.before);
    if (isCounter) {
        writeByte(out, level);
    } else if (hasSign) {
        out.text({&marker.bullet, 1});
    }
    out.text(marker.after);
    out.raw(";}{\\levelnumbers");
    if (isCounter) writeByte(out, marker.before.size() + 1);
    out.raw(";}\\fi-360");
    out.word("\\li", static_cast<std::int64_t>(kIndent * (level + 1)));
    out.raw(" }");
}

}  // namespace

RtfListLayout::RtfListLayout(const AttributedText& text) {
    for (const ParagraphStyle& style : text.paragraphStyles()) {
        if (style.lists.empty() || numbers_.contains(style.lists)) continue;
        std::vector<std::uint32_t> wanted(
            style.lists.begin(), style.lists.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                           style.lists.size(), kMostLevels)));
        // A list that agrees as far as both go takes the deeper levels on.
        const auto agrees = [&wanted](const std::vector<std::uint32_t>& levels) {
            return std::equal(wanted.begin(),
                              wanted.begin() + static_cast<std::ptrdiff_t>(
                                                   std::min(wanted.size(), levels.size())),
                              levels.begin());
        };
        auto list = std::ranges::find_if(levels_, agrees);
        if (list == levels_.end()) list = levels_.insert(list, wanted);
        if (list->size() < wanted.size()) *list = wanted;
        numbers_[style.lists] = list - levels_.begin() + 1;
    }
}

void RtfListLayout::writeTables(RtfOutput& out, const AttributedText& text) const {
    if (levels_.empty()) return;
    out.raw("{\\*\\listtable");
    for (std::size_t i = 0; i < levels_.size(); ++i) {
        const auto number = static_cast<std::int64_t>(i + 1);
        out.word("{\\list\\listtemplateid", number);
        out.raw("\\listhybrid");
        for (std::size_t level = 0; level < levels_[i].size(); ++level) {
            writeLevel(out, text.lists()[levels_[i][level]], level);
        }
        out.word("{\\listname ;}\\listid", number);
        out.raw("}\n");
    }
    out.raw("}\n{\\*\\listoverridetable");
    for (std::size_t i = 0; i < levels_.size(); ++i) {
        const auto number = static_cast<std::int64_t>(i + 1);
        out.word("{\\listoverride\\listid", number);
        out.word("\\listoverridecount0\\ls", number);
        out.raw('}');
    }
    out.raw("}\n");
}

}  // namespace corvy::platform
