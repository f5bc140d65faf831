// Prints the text of HTML pages with its attributes, one JSON object for each page: what
// html_fidelity.py compares with a browser. Usage: html_runs FILE...
#include <chrono>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <string>

#include "foundation/json.h"
#include "foundation/text.h"
#include "markup/markup_decoding.h"
#include "platform/html_import/html_importer.h"

namespace {

using namespace corvy;

std::u16string hex(platform::RgbColor color) {
    constexpr char16_t kDigits[] = u"0123456789abcdef";
    std::u16string text;
    for (const std::uint8_t channel : {color.red, color.green, color.blue}) {
        text += kDigits[channel >> 4];
        text += kDigits[channel & 15];
    }
    return text;
}

Dictionary pageOf(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), {});
    const auto start = std::chrono::steady_clock::now();
    const auto html = stringWithMarkupData(std::as_bytes(std::span(bytes)));
    platform::HtmlImportOptions options;
    options.baseURL = Url{u"http://page.test/"};
    const platform::AttributedText text =
        platform::attributedTextOfHtml(toUtf8(html.value_or(u"")), options);
    const std::chrono::duration<double, std::milli> taken =
        std::chrono::steady_clock::now() - start;
    Array runs;
    std::size_t begin = 0;
    for (const auto& run : text.runs()) {
        const platform::TextStyle& style = text.style(run.style);
        runs.push_back(Array{
            std::u16string_view(text.string()).substr(begin, run.end - begin), style.size / 0.75,
            style.bold, style.italic, style.underline != platform::LineStyle::none,
            hex(style.color.value_or(platform::RgbColor{})), !style.link.empty(), style.font});
        begin = run.end;
    }
    return {{u"file", fromUtf8(file)}, {u"milliseconds", taken.count()}, {u"runs", runs}};
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        std::cout << jsonOf(pageOf(argv[i]), {.plainDictionaries = true}) << '\n';
}
