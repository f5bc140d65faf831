// HTML to plain text on saved pages, from UTF-8 to UTF-8, beside the text content of a public
// library's tree, and on inputs made to be slow.
//
// Pages: every *.html below the folder that CORVY_CORPUS names. Rates are bytes of the UTF-8 source
// a second. libxml2 builds a tree, and its text knows no lines and keeps that of scripts.
#include <benchmark/benchmark.h>
#include <libxml/HTMLparser.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "foundation/text.h"
#include "text/plain_text.h"

namespace corvy {
namespace {

const std::vector<std::string>& pages() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> found;
        const char* folder = std::getenv("CORVY_CORPUS");
        if (!folder) return found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.path().extension() != ".html") continue;
            std::ifstream file(entry.path(), std::ios::binary);
            found.emplace_back(std::istreambuf_iterator<char>(file),
                               std::istreambuf_iterator<char>());
        }
        return found;
    }();
    return all;
}

template <typename Convert>
void overPages(benchmark::State& state, Convert convert) {
    std::size_t bytes = 0;
    for (const std::string& page : pages()) bytes += page.size();
    if (bytes == 0) {
        state.SkipWithError("CORVY_CORPUS names no folder with pages");
        return;
    }
    for (auto _ : state) {
        for (const std::string& page : pages()) convert(page);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes * state.iterations()));
}

void BM_PlainText(benchmark::State& state) {
    overPages(state, [](const std::string& page) {
        benchmark::DoNotOptimize(toUtf8(stringByConvertingHtml2PlainText(fromUtf8(page))));
    });
}

void BM_PlainTextWithAllSwitches(benchmark::State& state) {
    const PlainTextOptions options = {.nonUmlauted = true,
                                      .reformat = true,
                                      .onlyBody = true,
                                      .removeJunk = true,
                                      .googleTags = true};
    overPages(state, [&options](const std::string& page) {
        benchmark::DoNotOptimize(toUtf8(stringByConvertingHtml2PlainText(fromUtf8(page), options)));
    });
}

void BM_SimplifiedPlainText(benchmark::State& state) {
    overPages(state, [](const std::string& page) {
        benchmark::DoNotOptimize(
            toUtf8(stringByConvertingHtml2SimplifiedPlainText(fromUtf8(page))));
    });
}

// UTF-16 to UTF-16.
void BM_PlainTextOfUnits(benchmark::State& state) {
    std::vector<std::u16string> texts;
    for (const std::string& page : pages()) texts.push_back(fromUtf8(page));
    std::size_t i = 0;
    overPages(state, [&](const std::string&) {
        benchmark::DoNotOptimize(stringByConvertingHtml2PlainText(texts[i++ % texts.size()]));
    });
}

void BM_LibxmlTreeText(benchmark::State& state) {
    constexpr int kOptions =
        HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET;
    overPages(state, [](const std::string& page) {
        const htmlDocPtr document =
            htmlReadMemory(page.data(), static_cast<int>(page.size()), nullptr, "UTF-8", kOptions);
        if (!document) return;
        xmlChar* text = xmlNodeGetContent(xmlDocGetRootElement(document));
        benchmark::DoNotOptimize(text);
        xmlFree(text);
        xmlFreeDoc(document);
    });
}

BENCHMARK(BM_PlainText)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainTextWithAllSwitches)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SimplifiedPlainText)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainTextOfUnits)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LibxmlTreeText)->Unit(benchmark::kMillisecond);

// The time for each unit should not grow with the size.
void repeat(benchmark::State& state, std::u16string_view piece) {
    std::u16string html;
    while (html.size() < static_cast<std::size_t>(state.range(0))) html += piece;
    for (auto _ : state) benchmark::DoNotOptimize(stringByConvertingHtml2PlainText(html));
    state.SetBytesProcessed(
        static_cast<std::int64_t>(html.size() * sizeof(char16_t) * state.iterations()));
}

#define CORVY_SHAPE(name, piece) \
    BENCHMARK_CAPTURE(repeat, name, piece)->RangeMultiplier(16)->Range(1 << 14, 1 << 22)

CORVY_SHAPE(prose, u"Words of usual length, one space each, and a few commas. ");
CORVY_SHAPE(tinyRuns, u"a<b>b</b> ");
CORVY_SHAPE(nestedBlocks, u"<div class=\"something\">");
CORVY_SHAPE(references, u"&amp;&eacute;");
CORVY_SHAPE(whiteSpace, u" \n\t");
CORVY_SHAPE(preformatted, u"<pre> ");

}  // namespace
}  // namespace corvy

BENCHMARK_MAIN();
