// The tag scanner beside the plain loop and two public parsers, on saved pages, and its time on
// inputs made to be slow.
//
// Pages: every *.html below the folder that CORVY_CORPUS names. Rates are bytes of the UTF-8 source
// a second. libxml2 and gumbo do more for each byte (attributes, entities, gumbo a tree).
#include <benchmark/benchmark.h>
#include <gumbo.h>
#include <libxml/HTMLparser.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "foundation/text.h"
#include "markup/tag_scan.h"
#include "markup/tag_scanner.h"
#include "tests/markup/literal_scanner.h"

namespace corvy {
namespace {

struct Page {
    std::string source;
    std::u16string text;
};

const std::vector<Page>& pages() {
    static const std::vector<Page> all = [] {
        std::vector<Page> found;
        const char* folder = std::getenv("CORVY_CORPUS");
        if (!folder) return found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.path().extension() != ".html") continue;
            std::ifstream file(entry.path(), std::ios::binary);
            Page page;
            page.source.assign(std::istreambuf_iterator<char>(file), {});
            page.text = fromUtf8(page.source);
            found.push_back(std::move(page));
        }
        return found;
    }();
    return all;
}

// A handler that looks at everything it is told, as a real one would begin.
struct Sums {
    std::uint64_t calls = 0, units = 0;

    static bool handle(const TagCall& call) {
        auto& sums = *static_cast<Sums*>(call.context);
        sums.add(call);
        return false;
    }
    void add(const TagCall& call) {
        ++calls;
        units += call.nameLength + call.tagLength + (call.tagLocation - call.textLocation);
    }
};

template <typename ScanPage>
void overPages(benchmark::State& state, ScanPage scanPage) {
    std::size_t bytes = 0;
    for (const Page& page : pages()) bytes += page.source.size();
    if (bytes == 0) {
        state.SkipWithError("CORVY_CORPUS names no folder with pages");
        return;
    }
    for (auto _ : state) {
        for (const Page& page : pages()) scanPage(page);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes * state.iterations()));
}

void BM_Scanner(benchmark::State& state) {
    Sums sums;
    overPages(state, [&](const Page& page) { GetTagsOfString(page.text, Sums::handle, &sums); });
    benchmark::DoNotOptimize(sums);
}

void BM_ScannerInlinedHandler(benchmark::State& state) {
    Sums sums;
    overPages(state, [&](const Page& page) {
        scanTags(page.text, [&sums](const TagCall& call) {
            sums.add(call);
            return false;
        });
    });
    benchmark::DoNotOptimize(sums);
}

void BM_PlainLoop(benchmark::State& state) {
    Sums sums;
    overPages(state,
              [&](const Page& page) { literal::GetTagsOfString(page.text, Sums::handle, &sums); });
    benchmark::DoNotOptimize(sums);
}

void BM_LibxmlSax(benchmark::State& state) {
    htmlSAXHandler sax = {};
    sax.startElement = [](void* context, const xmlChar*, const xmlChar**) {
        ++*static_cast<std::uint64_t*>(context);
    };
    sax.endElement = [](void* context, const xmlChar*) { ++*static_cast<std::uint64_t*>(context); };
    sax.characters = [](void* context, const xmlChar*, int length) {
        *static_cast<std::uint64_t*>(context) += static_cast<std::uint64_t>(length);
    };
    std::uint64_t sum = 0;
    overPages(state, [&](const Page& page) {
        const htmlParserCtxtPtr parser =
            htmlCreatePushParserCtxt(&sax, &sum, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8);
        htmlParseChunk(parser, page.source.data(), static_cast<int>(page.source.size()), 1);
        htmlFreeParserCtxt(parser);
    });
    benchmark::DoNotOptimize(sum);
}

void BM_Gumbo(benchmark::State& state) {
    overPages(state, [](const Page& page) {
        GumboOutput* output =
            gumbo_parse_with_options(&kGumboDefaultOptions, page.source.data(), page.source.size());
        benchmark::DoNotOptimize(output);
        gumbo_destroy_output(&kGumboDefaultOptions, output);
    });
}

BENCHMARK(BM_Scanner)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScannerInlinedHandler)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainLoop)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LibxmlSax)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Gumbo)->Unit(benchmark::kMillisecond);

// Shapes that a scan could be quadratic on. The time for each further unit should not grow with
// the size: compare the sizes of one shape.
void repeat(benchmark::State& state, std::u16string_view piece, std::u16string_view end) {
    std::u16string text;
    while (text.size() < static_cast<std::size_t>(state.range(0))) text += piece;
    text += end;
    Sums sums;
    for (auto _ : state) GetTagsOfString(text, Sums::handle, &sums);
    benchmark::DoNotOptimize(sums);
    state.SetBytesProcessed(
        static_cast<std::int64_t>(text.size() * sizeof(char16_t) * state.iterations()));
}

#define CORVY_SHAPE(name, piece, end) \
    BENCHMARK_CAPTURE(repeat, name, piece, end)->RangeMultiplier(2)->Range(1 << 18, 1 << 20)

CORVY_SHAPE(unclosedScripts, u"<script>", u"");
CORVY_SHAPE(unclosedScriptTags, u"<script", u"");
CORVY_SHAPE(unclosedComments, u"<script><!-</script>", u"");
CORVY_SHAPE(commentClosedAtTheEnd, u"<script><!-</script>", u"-->");
CORVY_SHAPE(closingTextInAValue, u"<script a=\"</script>", u"");
CORVY_SHAPE(farEndOfEachTag, u"<script \"='=\"</script>", u"'\">");
CORVY_SHAPE(scriptsAndStyles, u"<style></script><script></style>", u"");
CORVY_SHAPE(unclosedQuotes, u"<a b=\"'", u"");
CORVY_SHAPE(alternatingQuotes, u"='\" ", u"");
CORVY_SHAPE(strayQuotesInATag, u"<a '\"'\"'\" b=\"'\" c='\"'>", u"");
CORVY_SHAPE(unclosedTags, u"<", u"");
CORVY_SHAPE(emptyTags, u"<>", u"");
CORVY_SHAPE(namelessTags, u"<                                                            ", u">");
CORVY_SHAPE(falseCommentEnds, u"<!-- > -> ->> ", u"");
CORVY_SHAPE(falseSectionEnds, u"<![ > ]->> ", u"");
CORVY_SHAPE(falseClosings, u"<script></scrip></scrip></scrip>", u"");
CORVY_SHAPE(plainText, u"no tag at all; ", u"");

}  // namespace
}  // namespace corvy

BENCHMARK_MAIN();
