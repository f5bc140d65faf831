#include "platform/rich_text/rtf_state.h"

#include <algorithm>
#include <limits>

#include "platform/rich_text/font_names.h"

namespace corvy::platform {

namespace {

double points(std::int32_t twips) {
    return twips / kTwipsPerPoint;
}

LineStyle lineIf(bool on, LineStyle style) {
    return on ? style : LineStyle::none;
}

// How levels are numbered, by the format's code.
constexpr std::u16string_view kCounters[] = {u"{decimal}", u"{upper-roman}", u"{lower-roman}",
                                             u"{upper-alpha}", u"{lower-alpha}"};
constexpr std::int32_t kBulletFormat = 23;
constexpr std::int32_t kNoNumberFormat = 255;

struct Bullet {
    char16_t character;
    std::u16string_view marker;
};

constexpr Bullet kBullets[] = {
    {u'\x2022', u"{disc}"},   {u'\xB7', u"{disc}"},     {u'\xF0B7', u"{disc}"},
    {u'\x25CF', u"{disc}"},   {u'o', u"{circle}"},      {u'\x25E6', u"{circle}"},
    {u'\x25CB', u"{circle}"}, {u'\x25AA', u"{square}"}, {u'\x25A0', u"{square}"},
    {u'\xF0A7', u"{square}"}, {u'\x2043', u"{hyphen}"}, {u'-', u"{hyphen}"},
};

std::u16string markerOfBullet(std::u16string_view text) {
    if (text.empty()) return u"{disc}";
    const auto* const known = std::ranges::find(kBullets, text[0], &Bullet::character);
    return std::u16string(known != std::end(kBullets) ? known->marker : text);
}

}  // namespace

void applyCharacterWord(RtfCharacters& characters, RtfWord word, bool hasValue,
                        std::int32_t value) {
    const bool on = value != 0;
    RtfCharacters& c = characters;
    switch (word) {
        case RtfWord::plain:
            // What is no formatting stays.
            c = {.link = c.link};
            break;
        case RtfWord::f:
            c.font = value;
            c.doubleByte = false;
            break;
        case RtfWord::fs: c.halfPoints = hasValue && value > 0 ? std::min(value, 8000) : 24; break;
        case RtfWord::b: c.bold = on; break;
        case RtfWord::i: c.italic = on; break;
        case RtfWord::ul:
        case RtfWord::ulw:
        case RtfWord::uld:
        case RtfWord::uldash:
        case RtfWord::uldashd:
        case RtfWord::uldashdd:
        case RtfWord::ulwave: c.underline = lineIf(on, LineStyle::single); break;
        case RtfWord::uldb: c.underline = lineIf(on, LineStyle::doubled); break;
        case RtfWord::ulth: c.underline = lineIf(on, LineStyle::thick); break;
        case RtfWord::ulnone: c.underline = LineStyle::none; break;
        case RtfWord::ulc: c.underlineColor = hasValue ? value : 0; break;
        case RtfWord::strike: c.strike = lineIf(on, LineStyle::single); break;
        case RtfWord::striked: c.strike = lineIf(on, LineStyle::doubled); break;
        case RtfWord::strikec: c.strikeColor = hasValue ? value : 0; break;
        case RtfWord::super: c.superscript = on ? 1 : 0; break;
        case RtfWord::sub: c.superscript = on ? -1 : 0; break;
        case RtfWord::nosupersub: c.superscript = 0; break;
        case RtfWord::up: c.raisedHalfPoints = hasValue ? value : 6; break;
        case RtfWord::dn: c.raisedHalfPoints = hasValue ? -value : -6; break;
        case RtfWord::outl: c.outline = on; break;
        case RtfWord::shad: c.shadow = on; break;
        case RtfWord::v: c.hidden = on; break;
        case RtfWord::deleted: c.deleted = on; break;
        case RtfWord::expnd: c.kernTwips = (hasValue ? value : 0) * 5; break;
        case RtfWord::expndtw: c.kernTwips = hasValue ? value : 0; break;
        case RtfWord::cf: c.color = hasValue ? value : 0; break;
        case RtfWord::cb:
        case RtfWord::chcbpat:
        case RtfWord::highlight: c.background = hasValue ? value : 0; break;
        case RtfWord::loch:
        case RtfWord::hich: c.doubleByte = false; break;
        case RtfWord::dbch: c.doubleByte = true; break;
        case RtfWord::af:
            if (c.doubleByte) c.doubleByteFont = value;
            break;
        default: break;
    }
}

void applyParagraphWord(RtfParagraph& paragraph, RtfWord word, bool hasValue, std::int32_t value) {
    RtfParagraph& p = paragraph;
    const std::int32_t number = hasValue ? value : 0;
    switch (word) {
        case RtfWord::pard: p = {}; break;
        case RtfWord::ql: p.alignment = TextAlignment::left; break;
        case RtfWord::qr: p.alignment = TextAlignment::right; break;
        case RtfWord::qc: p.alignment = TextAlignment::center; break;
        case RtfWord::qj: p.alignment = TextAlignment::justified; break;
        case RtfWord::qnatural: p.alignment = TextAlignment::natural; break;
        case RtfWord::ltrpar: p.direction = WritingDirection::leftToRight; break;
        case RtfWord::rtlpar: p.direction = WritingDirection::rightToLeft; break;
        case RtfWord::pardirnatural: p.direction = WritingDirection::natural; break;
        case RtfWord::li: p.left = number; break;
        case RtfWord::fi: p.first = number; break;
        case RtfWord::ri: p.right = number; break;
        case RtfWord::sb: p.before = number; break;
        case RtfWord::sa: p.after = number; break;
        case RtfWord::sl: p.lineHeight = number; break;
        case RtfWord::slmult: p.lineHeightIsMultiple = number != 0; break;
        case RtfWord::slleading: p.leading = number; break;
        case RtfWord::slminimum: p.minimumHeight = number; break;
        case RtfWord::slmaximum: p.maximumHeight = number; break;
        case RtfWord::pardeftab: p.defaultTab = number; break;
        case RtfWord::outlinelevel:
            p.outlineLevel = static_cast<std::int8_t>(number >= 0 && number < 6 ? number : -1);
            break;
        case RtfWord::ls: p.list = number; break;
        case RtfWord::ilvl: p.listLevel = std::clamp(number, 0, 8); break;
        case RtfWord::intbl: p.inTable = true; break;
        case RtfWord::itap:
            p.tableDepth = std::clamp(number, 0, 16);
            p.inTable = p.inTable && number > 0;
            break;
        default: break;
    }
}

const RtfFont* RtfResources::fontWithNumber(std::int32_t number) const {
    const auto font = fonts.find(number >= 0 ? number : defaultFont);
    return font == fonts.end() ? nullptr : &font->second;
}

std::optional<RgbColor> RtfResources::color(std::int32_t index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= colors.size()) return std::nullopt;
    return colors[static_cast<std::size_t>(index)];
}

TextStyle RtfResources::styleOf(const RtfCharacters& c) const {
    TextStyle style;
    if (const RtfFont* font = fontWithNumber(c.font); font != nullptr && !font->name.empty()) {
        style.font = familyOfPostScriptName(font->name);
    }
    style.size = c.halfPoints / 2.0;
    style.bold = c.bold;
    style.italic = c.italic;
    style.outline = c.outline;
    style.shadow = c.shadow;
    style.underline = c.underline;
    style.strike = c.strike;
    style.superscript = c.superscript;
    style.baselineOffset = c.raisedHalfPoints / 2.0;
    style.kern = points(c.kernTwips);
    style.color = color(c.color);
    style.background = color(c.background);
    style.underlineColor = color(c.underlineColor);
    style.strikeColor = color(c.strikeColor);
    if (c.link >= 0) style.link = links[static_cast<std::size_t>(c.link)];
    return style;
}

ParagraphStyle RtfResources::styleOf(const RtfParagraph& p) const {
    ParagraphStyle style;
    style.alignment = p.alignment;
    style.direction = p.direction;
    style.headIndent = points(p.left);
    style.firstLineIndent = (static_cast<double>(p.left) + p.first) / kTwipsPerPoint;
    style.tailIndent = points(p.right);
    style.spacingBefore = points(p.before);
    style.spacingAfter = points(p.after);
    style.lineSpacing = points(p.leading);
    style.minimumLineHeight = points(p.minimumHeight);
    style.maximumLineHeight = points(p.maximumHeight);
    if (p.lineHeightIsMultiple) {
        // 240 is the height of one line.
        style.lineHeightMultiple = p.lineHeight == 240 ? 0 : p.lineHeight / 240.0;
    } else if (p.lineHeight > 0) {
        style.minimumLineHeight = points(p.lineHeight);
    } else if (p.lineHeight < 0) {
        style.minimumLineHeight = style.maximumLineHeight = -points(p.lineHeight);
    }
    style.defaultTabInterval = points(p.defaultTab);
    style.headerLevel = static_cast<std::uint8_t>(p.outlineLevel + 1);
    const auto firstOfTabs = tabs.begin() + p.firstTab;
    style.tabs.assign(firstOfTabs, firstOfTabs + p.tabs);
    return style;
}

const std::vector<RtfListLevel>* RtfResources::listOf(const RtfParagraph& paragraph) const {
    if (paragraph.list <= 0) return nullptr;
    const auto identifier = listOverrides.find(paragraph.list);
    if (identifier == listOverrides.end()) return nullptr;
    const auto list = lists.find(identifier->second);
    return list == lists.end() || list->second.empty() ? nullptr : &list->second;
}

TextList listOfLevel(const RtfListLevel& level) {
    TextList list;
    list.start = level.start;
    if (!level.marker.empty()) {
        list.markerFormat = level.marker;
        return list;
    }
    // The string begins with its length, and some writers end it with a semicolon that the length
    // does not count.
    std::u16string_view text = level.text;
    if (!text.empty()) text = text.substr(1, text[0]);
    if (level.format == kBulletFormat) {
        list.markerFormat = markerOfBullet(text);
        return list;
    }
    const auto format = static_cast<std::size_t>(level.format);
    const std::u16string_view counter = level.format == kNoNumberFormat
                                            ? u""
                                            : kCounters[format < std::size(kCounters) ? format : 0];
    const auto isCounter = [](char16_t unit) { return unit < 9; };
    const auto last = std::find_if(text.rbegin(), text.rend(), isCounter);
    if (last == text.rend()) {
        list.markerFormat = text.empty() ? counter : text;
        return list;
    }
    // The counters of the levels above, and what parts them, are not this level's.
    const bool isOnly = std::find_if(last + 1, text.rend(), isCounter) == text.rend();
    list.markerFormat = isOnly ? std::u16string(text.begin(), (last + 1).base()) : u"";
    list.markerFormat.append(counter).append(last.base(), text.end());
    return list;
}

}  // namespace corvy::platform
