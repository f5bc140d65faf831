#include "platform/rich_text/rtf_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

constexpr double kLargestSize = 4000;  // points; the control word's number must fit 16 bits

// The position of a value in a list, where it is put at the end when it is new.
template <typename T>
std::size_t indexIn(std::vector<T>& list, const T& value) {
    const auto found = std::find(list.begin(), list.end(), value);
    if (found != list.end()) return static_cast<std::size_t>(found - list.begin());
    list.push_back(value);
    return list.size() - 1;
}

std::string_view fontClass(std::u16string_view name) {
    const auto has = [name](std::u16string_view part) { return containsNoCase(name, part); };
    if (has(u"Courier") || has(u"Mono") || has(u"Typewriter") || name.starts_with(u"CMTT")) {
        return "\\fmodern";
    }
    if (has(u"Sans") || has(u"Helvetica") || has(u"Arial") || has(u"Verdana")) return "\\fswiss";
    if (has(u"Times") || has(u"Roman") || has(u"Serif") || has(u"Georgia")) return "\\froman";
    return "\\fnil";
}

// A font's name without what would end it, or leave ASCII.
std::string fontName(std::u16string_view name) {
    std::string out;
    for (const char16_t unit : name) {
        const bool plain = unit > 0x20 && unit < 0x7F && unit != u';' && unit != u'\\' &&
                           unit != u'{' && unit != u'}';
        out += plain ? static_cast<char>(unit) : '-';
    }
    return out.empty() ? "Helvetica" : out;
}

long halfPoints(double size) {
    return std::lround(std::clamp(size, 0.5, kLargestSize) * 2);
}

class Writer {
public:
    explicit Writer(const AttributedText& text) {
        for (const AttributedText::Run& run : text.runs()) {
            const TextStyle& style = text.style(run.style);
            indexIn(fonts_, style.font);
            if (style.color) indexIn(colors_, *style.color);
        }
        if (fonts_.empty()) fonts_.emplace_back(TextStyle().font);
        out_.reserve(text.string().size() + text.string().size() / 4 + 1024);
        writeHeader();
        std::size_t start = 0;
        for (const AttributedText::Run& run : text.runs()) {
            writeStyle(text.style(run.style));
            writeText(std::u16string_view(text.string()).substr(start, run.end - start));
            start = run.end;
        }
        out_ += '}';
    }

    std::string take() { return std::move(out_); }

private:
    void writeHeader() {
        out_ += "{\\rtf1\\ansi\\ansicpg1252\\cocoartf2822\n\\cocoatextscaling0\\cocoaplatform0";
        out_ += "{\\fonttbl";
        for (std::size_t i = 0; i < fonts_.size(); ++i) {
            if (i > 0) out_ += '\n';
            number(out_, "\\f", static_cast<long>(i));
            out_ += fontClass(fonts_[i]);
            out_ += "\\fcharset0 " + fontName(fonts_[i]) + ';';
        }
        // Entry 0 is the reader's own colour; entry 1 is white, as every reader of this profile
        // expects it.
        out_ += "}\n{\\colortbl;\\red255\\green255\\blue255;";
        for (const RgbColor color : colors_) {
            number(out_, "\\red", color.red);
            number(out_, "\\green", color.green);
            number(out_, "\\blue", color.blue);
            out_ += ';';
        }
        out_ += "}\n{\\*\\expandedcolortbl;;";
        for (const RgbColor color : colors_) {
            out_ += "\\cssrgb";
            for (const int component : {color.red, color.green, color.blue}) {
                number(out_, "\\c", std::lround(component * 100000 / 255.0));
            }
            out_ += ';';
        }
        out_ += "}\n\\pard\\pardirnatural\\partightenfactor0\n";
    }

    // What differs from the style before; `bold` and `italic` start as off.
    void writeStyle(const TextStyle& style) {
        const std::size_t font = indexIn(fonts_, style.font);
        const std::size_t color = style.color ? indexIn(colors_, *style.color) + 2 : 0;
        const bool first = !style_;
        const TextStyle before = style_.value_or(TextStyle());
        std::string words;
        if (first || before.font != style.font) number(words, "\\f", static_cast<long>(font));
        if (before.italic != style.italic) words += style.italic ? "\\i" : "\\i0";
        if (before.bold != style.bold) words += style.bold ? "\\b" : "\\b0";
        if (first || halfPoints(before.size) != halfPoints(style.size)) {
            number(words, "\\fs", halfPoints(style.size));
        }
        if (!words.empty()) words += ' ';
        if (first || before.color != style.color) {
            number(words, "\\cf", static_cast<long>(color));
            words += ' ';
        }
        out_ += '\n' + words;
        style_ = style;
    }

    void writeText(std::u16string_view text) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            const char16_t unit = text[i];
            if (unit < 0x80) {
                writeAscii(static_cast<char>(unit));
                continue;
            }
            // Said for each character, although it holds until it is changed: some readers forget.
            const bool secondOfPair = i > 0 && (unit & 0xFC00) == 0xDC00;
            if (!secondOfPair) out_ += "\\uc0";
            number(out_, "\\u", static_cast<std::int16_t>(unit));
            out_ += ' ';
        }
    }

    void writeAscii(char c) {
        switch (c) {
            case '\n':
            case '\r': out_ += "\\\n"; break;
            case '\f': out_ += "\\page "; break;
            case '\t': out_ += "\\tab "; break;
            case '\\':
            case '{':
            case '}':
                out_ += '\\';
                out_ += c;
                break;
            default:
                // Readers give the other control characters no meaning; they are left out.
                if (c >= 0x20 && c != 0x7F) out_ += c;
        }
    }

    static void number(std::string& out, std::string_view word, long value) {
        out += word;
        out += std::to_string(value);
    }

    std::string out_;
    std::vector<std::u16string> fonts_;
    std::vector<RgbColor> colors_;
    std::optional<TextStyle> style_;
};

}  // namespace

std::string rtfOf(const AttributedText& text) {
    return Writer(text).take();
}

}  // namespace corvy::platform
