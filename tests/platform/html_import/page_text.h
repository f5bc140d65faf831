// A page as attributed text, written out so that a table of a test can hold it.
#pragma once

#include <cmath>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/text.h"
#include "platform/html_import/html_importer.h"

namespace corvy::test {

// Runs, those in braces whose style differs from plain Times of 12 points: with that behind them,
// such as "{a|b i 18 #ff0000 u link=http://a/}".
inline std::string runsOf(const platform::AttributedText& text) {
    std::string out;
    std::size_t begin = 0;
    for (const auto& run : text.runs()) {
        const platform::TextStyle& style = text.style(run.style);
        std::string notes;
        const auto note = [&](const std::string& word) {
            notes += (notes.empty() ? "" : " ") + word;
        };
        const auto color = [](platform::RgbColor value) {
            char digits[8];
            std::snprintf(digits, sizeof digits, "#%02x%02x%02x", value.red, value.green,
                          value.blue);
            return std::string(digits);
        };
        if (style.bold) note("b");
        if (style.italic) note("i");
        if (style.size != 12) {
            std::string size = std::to_string(style.size);
            size.erase(size.find_last_not_of('0') + 1);
            if (size.back() == '.') size.pop_back();
            note(size);
        }
        if (style.font != u"Times") note(toUtf8(style.font));
        if (style.color) note(color(*style.color));
        if (style.background) note("on " + color(*style.background));
        if (style.underline != platform::LineStyle::none) note("u");
        if (style.strike != platform::LineStyle::none) note("s");
        if (style.superscript != 0) note("super" + std::to_string(style.superscript));
        if (!style.link.empty()) note("link=" + toUtf8(style.link));
        const std::u16string_view units(text.string());
        const std::string words = toUtf8(units.substr(begin, run.end - begin));
        out += notes.empty() ? words : "{" + words + "|" + notes + "}";
        begin = run.end;
    }
    return out;
}

// Resources that lie in memory; remembers what it was asked for.
class MemoryLoader : public platform::ResourceLoader {
public:
    std::map<std::u16string, std::string> resources;
    std::vector<std::u16string> asked;

    std::vector<std::optional<platform::Resource>> load(
        std::span<const platform::ResourceRequest> requests) override {
        std::vector<std::optional<platform::Resource>> answers;
        for (const platform::ResourceRequest& request : requests) {
            asked.push_back(request.url.absoluteString);
            const auto found = resources.find(request.url.absoluteString);
            answers.emplace_back();
            if (found == resources.end()) continue;
            answers.back() = platform::Resource{Bytes::copyOf(found->second), {}, {}, request.url};
        }
        return answers;
    }
};

inline platform::AttributedText pageText(std::string_view html,
                                         platform::ResourceLoader* loader = nullptr) {
    platform::HtmlImportOptions options;
    options.baseURL = Url{u"http://h/d/p"};
    options.loader = loader;
    return platform::attributedTextOfHtml(html, options);
}

inline std::string page(std::string_view html) {
    return runsOf(pageText(html));
}

}  // namespace corvy::test
