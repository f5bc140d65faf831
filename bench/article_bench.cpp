// Both ways to the article of a page: time for each page, and of the median page.
//
//     CORVY_CORPUS=FOLDER build/release/bench/article_bench
//
// takes the .html files of a folder; without it a page of our own is made.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "foundation/text.h"
#include "text/article.h"
#include "text/article_reader.h"

namespace {

struct Page {
    std::string name;
    std::u16string html;
};

// A page of about 100 KB, a twentieth of it article, as pages of newspapers are.
Page madePage() {
    std::u16string html = u"<html><head><title>Title - Site</title></head><body>";
    const auto links = [&html](int count) {
        html += u"<div class=\"nav-menu\"><ul>";
        for (int i = 0; i < count; ++i) {
            html +=
                u"<li class=\"item first\"><a href=\"/section/page.html?a=1&amp;b=2\">A link "
                u"</a></li>\n";
        }
        html += u"</ul></div>";
    };
    links(500);
    html += u"<div class=\"post-content\"><h1>Title</h1>";
    for (int i = 0; i < 30; ++i) {
        html +=
            u"<p>A sentence of the text, with a comma in it &amp; a reference. A second one "
            u"that has <a href=\"/link\">a link</a> in it, and then it ends.</p>\n";
    }
    html += u"</div>";
    links(500);
    return {"made", html + u"</body></html>"};
}

std::vector<Page> pages() {
    const char* folder = std::getenv("CORVY_CORPUS");
    if (!folder) return {madePage()};
    std::vector<Page> pages;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".html") continue;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), {});
        pages.push_back({entry.path().stem().string(), corvy::fromUtf8(bytes)});
    }
    std::sort(pages.begin(), pages.end(),
              [](const Page& a, const Page& b) { return a.name < b.name; });
    return pages;
}

template <typename Operation>
void runPage(benchmark::State& state, const Page& page, Operation operation) {
    for (auto _ : state) benchmark::DoNotOptimize(operation(page.html));
    state.SetBytesProcessed(
        static_cast<std::int64_t>(state.iterations() * page.html.size() * sizeof(char16_t)));
}

// All pages once an iteration; the counter holds the median page of the fastest round.
template <typename Operation>
void runMedian(benchmark::State& state, const std::vector<Page>& pages, Operation operation) {
    using Clock = std::chrono::steady_clock;
    std::vector<double> fastest(pages.size(), 1e9);
    for (auto _ : state) {
        for (std::size_t i = 0; i < pages.size(); ++i) {
            const auto start = Clock::now();
            benchmark::DoNotOptimize(operation(pages[i].html));
            const std::chrono::duration<double, std::milli> taken = Clock::now() - start;
            fastest[i] = std::min(fastest[i], taken.count());
        }
    }
    std::sort(fastest.begin(), fastest.end());
    state.counters["median_ms"] = fastest[fastest.size() / 2];
}

const auto kReader = [](std::u16string_view html) { return corvy::articleText(html); };
const auto kCut = [](std::u16string_view html) { return corvy::stripToArticle(html); };

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    static const std::vector<Page> all = pages();
    const auto add = [](const std::string& name, const auto& operation) {
        if (all.size() > 1) {
            benchmark::RegisterBenchmark((name + "/all").c_str(), [operation](
                                                                      benchmark::State& state) {
                runMedian(state, all, operation);
            })->Unit(benchmark::kMillisecond);
        }
        for (const Page& page : all) {
            benchmark::RegisterBenchmark(
                (name + "/" + page.name).c_str(),
                [operation, &page](benchmark::State& state) { runPage(state, page, operation); })
                ->Unit(benchmark::kMicrosecond);
        }
    };
    add("articleText", kReader);
    add("stripToArticle", kCut);
    benchmark::RunSpecifiedBenchmarks();
}
