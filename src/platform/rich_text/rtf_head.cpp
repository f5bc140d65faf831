#include "platform/rich_text/rtf_head.h"

#include <cmath>
#include <ctime>

#include "foundation/text.h"
#include "platform/rich_text/font_names.h"

namespace corvy::platform {

namespace {

namespace attribute = document_attribute;

// Entry 0 is the reader's own colour; entry 1 is white, as every reader of this profile expects it.
constexpr std::int64_t kFirstColor = 2;

struct Entry {
    const char16_t* key;
    const char* word;
};

constexpr Entry kInfo[] = {
    {attribute::kTitle, "{\\title "},
    {attribute::kSubject, "{\\subject "},
    {attribute::kAuthor, "{\\author "},
    {attribute::kEditor, "{\\operator "},
    {attribute::kManager, "{\\manager "},
    {attribute::kCompany, "{\\*\\company "},
    {attribute::kCopyright, "{\\*\\copyright "},
    {attribute::kCategory, "{\\category "},
    {attribute::kComment, "{\\doccomm "},
    {attribute::kKeywords, "{\\keywords "},
};

constexpr Entry kTimes[] = {
    {attribute::kCreationTime, "{\\creatim"},
    {attribute::kModificationTime, "{\\revtim"},
};

constexpr Entry kLengths[] = {
    {attribute::kLeftMargin, "\\margl"},          {attribute::kRightMargin, "\\margr"},
    {attribute::kTopMargin, "\\margt"},           {attribute::kBottomMargin, "\\margb"},
    {attribute::kDefaultTabInterval, "\\deftab"},
};

std::uint32_t keyOf(RgbColor color) {
    return static_cast<std::uint32_t>(color.red << 16 | color.green << 8 | color.blue);
}

std::string_view fontClass(std::u16string_view name) {
    const auto has = [name](std::u16string_view part) { return containsNoCase(name, part); };
    if (has(u"Courier") || has(u"Mono") || has(u"Menlo") || has(u"Typewriter") ||
        name.starts_with(u"CMTT")) {
        return "\\fmodern";
    }
    if (has(u"Sans") || has(u"Helvetica") || has(u"Arial") || has(u"Verdana")) return "\\fswiss";
    if (has(u"Times") || has(u"Roman") || has(u"Serif") || has(u"Georgia")) return "\\froman";
    return "\\fnil";
}

// A font's name without what would end it.
std::u16string plainName(std::u16string_view name) {
    std::u16string out;
    for (const char16_t unit : trimWhite(name)) {
        const bool plain = unit >= 0x20 && unit != 0x7F && unit != u';' && unit != u'\\' &&
                           unit != u'{' && unit != u'}';
        out += plain ? unit : u'-';
    }
    return out.empty() ? u"Helvetica" : out;
}

std::u16string textOf(const PropertyList& value) {
    if (const std::u16string* text = value.string()) return *text;
    std::u16string joined;
    if (const Array* words = value.array()) {
        for (const PropertyList& word : *words) {
            if (word.string() == nullptr) continue;
            if (!joined.empty()) joined += u", ";
            joined += *word.string();
        }
    }
    return joined;
}

std::optional<double> numberOf(const Dictionary& attributes, const char16_t* key) {
    const PropertyList* value = attributes.find(key);
    return value != nullptr ? value->number() : std::nullopt;
}

// The format has no zone: the machine's is meant.
void writeTime(RtfOutput& out, double seconds) {
    const auto time = static_cast<std::time_t>(std::floor(seconds));
    std::tm parts{};
    if (!std::isfinite(seconds) || localtime_r(&time, &parts) == nullptr) return;
    out.word("\\yr", parts.tm_year + 1900);
    out.word("\\mo", parts.tm_mon + 1);
    out.word("\\dy", parts.tm_mday);
    out.word("\\hr", parts.tm_hour);
    out.word("\\min", parts.tm_min);
    out.word("\\sec", parts.tm_sec);
}

void writeInfo(RtfOutput& out, const Dictionary& attributes) {
    RtfOutput info;
    for (const auto& [key, word] : kInfo) {
        const PropertyList* value = attributes.find(key);
        const std::u16string text = value != nullptr ? textOf(*value) : u"";
        if (text.empty()) continue;
        info.raw(word);
        info.text(text);
        info.raw('}');
    }
    for (const auto& [key, word] : kTimes) {
        const PropertyList* value = attributes.find(key);
        if (value == nullptr || value->date() == nullptr) continue;
        info.raw(word);
        writeTime(info, value->date()->seconds);
        info.raw('}');
    }
    const std::string bytes = info.take();
    if (!bytes.empty()) out.raw("{\\info\n" + bytes + "}\n");
}

void writeExtent(RtfOutput& out, const Dictionary& attributes, const char16_t* key,
                 std::string_view width, std::string_view height) {
    const auto text = stringOf(attributes, key);
    const auto size = text ? sizeFromString(*text) : std::nullopt;
    if (!size) return;
    out.length(width, size->width);
    out.length(height, size->height);
}

void writeSettings(RtfOutput& out, const Dictionary& attributes) {
    RtfOutput settings;
    writeExtent(settings, attributes, attribute::kPaperSize, "\\paperw", "\\paperh");
    for (const auto& [key, word] : kLengths) {
        if (const auto value = numberOf(attributes, key)) settings.length(word, *value);
    }
    writeExtent(settings, attributes, attribute::kViewSize, "\\vieww", "\\viewh");
    if (const auto mode = numberOf(attributes, attribute::kViewMode)) {
        settings.word("\\viewkind", *mode == 0 ? 0 : 1);
    }
    if (const auto zoom = numberOf(attributes, attribute::kViewZoom);
        zoom && std::isfinite(*zoom)) {
        settings.word("\\viewscale", std::lround(std::fmin(std::fmax(*zoom, 1), 10000)));
    }
    const auto hyphenation = numberOf(attributes, attribute::kHyphenationFactor);
    if (hyphenation && *hyphenation > 0) {
        settings.word("\\hyphauto1\\hyphfactor", std::lround(std::fmin(*hyphenation, 1) * 100));
    }
    const std::string bytes = settings.take();
    if (!bytes.empty()) out.raw(bytes + "\n");
}

}  // namespace

RtfHead::RtfHead(const AttributedText& text) : lists_(text) {
    for (const TextStyle& style : text.styles()) {
        const std::u16string name = plainName(postScriptName(style.font, style.bold, style.italic));
        const auto [known, isNew] =
            fontNumbers_.try_emplace(name, static_cast<std::int64_t>(fonts_.size()));
        if (isNew) fonts_.push_back(name);
        for (const auto& each :
             {style.color, style.background, style.underlineColor, style.strikeColor}) {
            addColor(each);
        }
    }
    if (fonts_.empty()) fonts_.emplace_back(TextStyle().font);
    for (const ParagraphStyle& style : text.paragraphStyles()) {
        for (const TableCell& cell : style.cells) {
            const auto& [left, top, right, bottom] = cell.borderColor;
            for (const auto& each : {cell.background, left, top, right, bottom}) addColor(each);
        }
    }
    for (const TextTable& table : text.tables()) addColor(table.background);
}

void RtfHead::addColor(const std::optional<RgbColor>& color) {
    if (!color) return;
    const auto number = static_cast<std::int64_t>(colors_.size()) + kFirstColor;
    if (colorNumbers_.try_emplace(keyOf(*color), number).second) colors_.push_back(*color);
}

std::int64_t RtfHead::font(const TextStyle& style) const {
    return fontNumbers_.at(plainName(postScriptName(style.font, style.bold, style.italic)));
}

std::int64_t RtfHead::color(const std::optional<RgbColor>& color) const {
    return color ? colorNumbers_.at(keyOf(*color)) : 0;
}

void RtfHead::write(RtfOutput& out, const RichDocument& document) const {
    out.raw("{\\rtf1\\ansi\\ansicpg1252\\cocoartf2822\n\\cocoatextscaling0\\cocoaplatform0");
    writeFonts(out);
    writeColors(out);
    lists_.writeTables(out, document.text);
    writeInfo(out, document.attributes);
    writeSettings(out, document.attributes);
}

void RtfHead::writeFonts(RtfOutput& out) const {
    out.raw("{\\fonttbl");
    for (std::size_t i = 0; i < fonts_.size(); ++i) {
        if (i > 0) out.raw('\n');
        out.word("\\f", static_cast<std::int64_t>(i));
        out.raw(fontClass(fonts_[i]));
        out.raw("\\fcharset0 ");
        out.text(fonts_[i]);
        out.raw(';');
    }
    out.raw("}\n");
}

void RtfHead::writeColors(RtfOutput& out) const {
    out.raw("{\\colortbl;\\red255\\green255\\blue255;");
    for (const RgbColor color : colors_) {
        out.word("\\red", color.red);
        out.word("\\green", color.green);
        out.word("\\blue", color.blue);
        out.raw(';');
    }
    out.raw("}\n{\\*\\expandedcolortbl;;");
    for (const RgbColor color : colors_) {
        out.raw("\\cssrgb");
        for (const int component : {color.red, color.green, color.blue}) {
            out.word("\\c", std::lround(component * 100000 / 255.0));
        }
        out.raw(';');
    }
    out.raw("}\n");
}

}  // namespace corvy::platform
