// Keys of addresses. Links: every absolute one of the pages (*.html) below the folder that
// CORVY_CORPUS names, or a few of our own. Items are addresses.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unordered_set>
#include <vector>

#include "foundation/text.h"
#include "foundation/url_simplification.h"

namespace corvy {
namespace {

using Addresses = std::vector<std::u16string>;

void addLinks(const std::string& page, Addresses& links, std::unordered_set<std::string>& known) {
    constexpr std::string_view kStart = "href=\"http";
    for (std::size_t at = page.find(kStart); at != std::string::npos; at = page.find(kStart, at)) {
        at += kStart.size() - 4;
        const std::string link = page.substr(at, page.find('"', at) - at);
        if (known.insert(link).second) links.push_back(fromUtf8(link));
    }
}

const Addresses& links() {
    static const Addresses all = [] {
        Addresses found;
        std::unordered_set<std::string> known;
        if (const char* folder = std::getenv("CORVY_CORPUS")) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
                if (entry.path().extension() != ".html") continue;
                std::ifstream file(entry.path(), std::ios::binary);
                addLinks({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()},
                         found, known);
            }
        }
        if (!found.empty()) return found;
        return Addresses{
            u"https://www.example.org/",
            u"https://example.org/2024/05/17/a-rather-long-title-of-an-article.html",
            u"https://news.example.com/story?id=12345&utm_source=feed&utm_medium=rss",
            u"http://forum.example.net/"
            u"viewtopic.php?f=7&t=4711&sid=0123456789abcdef0123456789abcdef",
            u"https://cdn.example.org/assets//img/logo%2Dsmall.png?v=3&cache=",
            u"https://example.org/docs/index.html#section-3",
        };
    }();
    return all;
}

template <auto operation>
void overLinks(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::u16string& link : links()) benchmark::DoNotOptimize(operation(link));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(links().size()));
}
BENCHMARK(overLinks<simplifiedStringURL>)->Name("simplifiedStringURL");
BENCHMARK(overLinks<stringURLByRemovingTrackingParameters>)->Name("trackingParameters");
BENCHMARK(overLinks<[](const std::u16string& link) { return isEqualToStringURL(link, link); }>)
    ->Name("isEqualToStringURL");

}  // namespace
}  // namespace corvy

BENCHMARK_MAIN();
