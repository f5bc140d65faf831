// HTML to attributed text and to RTFD, beside the parse of the tree that it cannot be faster than.
// html_fidelity.py compares with a browser, on saved pages.
#include <benchmark/benchmark.h>
#include <gumbo.h>

#include <string>

#include "platform/html_import/html_importer.h"
#include "platform/rich_text/rtfd.h"

namespace {

using namespace corvy;

// An article with a sheet of its own, as pages of news are: most rules hold for nothing in it.
const std::string& articlePage() {
    static const std::string page = [] {
        std::string html =
            "<!doctype html><style>body{font:16px/1.5 Georgia,serif;color:#222}"
            "a{color:#06c}a:hover{color:red}.lead>b{color:var(--x,#333)}";
        for (int i = 0; i < 1500; ++i) {
            const std::string n = std::to_string(i);
            html += ".m" + n + " .i" + n + ">a,#s" + n + " li:not(.x){margin:0 " + n +
                    "px;font-weight:700}@media(max-width:600px){.m" + n + "{display:none}}";
        }
        html += "</style><div id=page class='m1 main'>";
        for (int i = 0; i < 400; ++i) {
            html += "<div class='block i" + std::to_string(i % 50) +
                    "'><p class=lead>Some <b>words of</b> a paragraph with <a href='/p/" +
                    std::to_string(i) +
                    "'>a link</a>, <em>stress</em> and more of the text that "
                    "makes up most of a page.</p><ul><li>one<li>two</ul></div>";
        }
        return html;
    }();
    return page;
}

void report(benchmark::State& state, const std::string& page) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * page.size()));
}

void TreeAlone(benchmark::State& state) {
    const std::string& page = articlePage();
    for (auto _ : state) {
        GumboOutput* output =
            gumbo_parse_with_options(&kGumboDefaultOptions, page.data(), page.size());
        gumbo_destroy_output(&kGumboDefaultOptions, output);
    }
    report(state, page);
}
BENCHMARK(TreeAlone)->Unit(benchmark::kMillisecond);

void AttributedText(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(platform::attributedTextOfHtml(articlePage()));
    report(state, articlePage());
}
BENCHMARK(AttributedText)->Unit(benchmark::kMillisecond);

void Rtfd(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            platform::rtfdOf({platform::attributedTextOfHtml(articlePage()), {}}));
    }
    report(state, articlePage());
}
BENCHMARK(Rtfd)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
