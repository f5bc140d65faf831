// Entities, stripping and the title query on a saved page's text, beside a plain copy of it.
//
// Pages: every *.html below the folder that CORVY_CORPUS names, else a page of our own. Rates are
// bytes of the UTF-16 text a second.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "foundation/text.h"
#include "foundation/url.h"
#include "markup/entities.h"
#include "markup/link_queries.h"
#include "markup/queries.h"
#include "markup/stripping.h"

namespace corvy {
namespace {

std::u16string ownPage() {
    std::u16string page = u"<html><head><title>A page</title></head><body>";
    for (int i = 0; i < 2000; ++i) {
        page +=
            u"<p class='text'>Some &quot;words&quot; of text with a <a href='page.html'>link</a>";
        page += u" in it &amp; a caf&eacute;, and <b>more</b> words behind them.</p>\n";
    }
    return page + u"</body></html>";
}

const std::vector<std::u16string>& pages() {
    static const std::vector<std::u16string> all = [] {
        std::vector<std::u16string> found;
        if (const char* folder = std::getenv("CORVY_CORPUS")) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
                if (entry.path().extension() != ".html") continue;
                std::ifstream file(entry.path(), std::ios::binary);
                found.push_back(fromUtf8(std::string(std::istreambuf_iterator<char>(file), {})));
            }
        }
        if (found.empty()) found.push_back(ownPage());
        return found;
    }();
    return all;
}

const std::vector<std::u16string>& pagesWithoutReferences() {
    static const std::vector<std::u16string> all = [] {
        std::vector<std::u16string> plain = pages();
        for (std::u16string& page : plain) std::erase(page, u'&');
        return plain;
    }();
    return all;
}

template <typename Operation>
void over(benchmark::State& state, const std::vector<std::u16string>& texts, Operation operation) {
    std::size_t bytes = 0;
    for (const std::u16string& text : texts) bytes += text.size() * sizeof(char16_t);
    for (auto _ : state) {
        for (const std::u16string& text : texts) benchmark::DoNotOptimize(operation(text));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes * state.iterations()));
}

using Text = std::u16string_view;

#define CORVY_OVER(name, texts, expression)                           \
    void BM_##name(benchmark::State& state) {                         \
        over(state, texts(), [](Text text) { return (expression); }); \
    }                                                                 \
    BENCHMARK(BM_##name)->Unit(benchmark::kMillisecond)

CORVY_OVER(Copy, pages, std::u16string(text));
CORVY_OVER(DecodeEntities, pages, stringByConvertingEntitiesToCharacters(text));
CORVY_OVER(DecodeEntitiesOfNone, pagesWithoutReferences,
           stringByConvertingEntitiesToCharacters(text));
CORVY_OVER(DecodeWithoutAccents, pages,
           stringByConvertingEntitiesToCharactersNonUmlauted(text, true));
CORVY_OVER(DecodeStandardEntities, pages, stringByConvertingStandardEntitiesToCharacters(text));
CORVY_OVER(EncodeEntities, pages, stringByConvertingCharactersToEntities(text));
CORVY_OVER(EncodeJson, pages, stringByConvertingCharactersToJSON(text));
CORVY_OVER(StripTags, pages, stripTags(text));
CORVY_OVER(StripTag, pages, stripTag(text, u"SPAN"));
CORVY_OVER(StripLinks, pages, stripLinks(text));
CORVY_OVER(StripObjects, pages, stripObjectsAndReplaceImages(text, false));
CORVY_OVER(NormalizedTitle, pages, normalizedHtmlTitle(text));
CORVY_OVER(TitleNotThere, pages, htmlTitle(Text(text).substr(text.find(u"</title>") + 1)));
CORVY_OVER(Images, pages, htmlImages(text));
CORVY_OVER(MetaDescription, pages, htmlMetaDescription(text));

void BM_NormalizeUrl(benchmark::State& state) {
    const Text address = u" HTTP://www.Example.org:80/some/path/%41page.html?a=1&b=two#part ";
    for (auto _ : state) benchmark::DoNotOptimize(normalizedStringURL(address));
}
BENCHMARK(BM_NormalizeUrl);

}  // namespace
}  // namespace corvy

BENCHMARK_MAIN();
