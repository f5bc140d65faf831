// Feeds to items and to pages, against libmrss, which reads the same feed into a list of its own.
// The feed, 2.2 MB, is made, or read from the file CORVY_BENCH_FEED. `feed_bench --write FILE`
// writes it, for feed_peers.mjs, which measures parsers from npm.
#include <benchmark/benchmark.h>
#include <mrss.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "feeds/feed.h"
#include "feeds/feed_page.h"
#include "foundation/text.h"

namespace corvy {
namespace {

std::string makeFeed() {
    constexpr int kItems = 218;
    constexpr int kParagraphs = 40;
    std::string feed =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss version=\"2.0\" "
        "xmlns:content=\"http://purl.org/rss/1.0/modules/content/\"><channel><title>Notes</title>"
        "<link>http://example.org/</link><description>Notes of every day</description>\n";
    for (int i = 0; i < kItems; ++i) {
        const std::string number = std::to_string(i);
        feed += "<item>\n  <title>Note &amp; its title</title>\n  <link>http://example.org/notes/";
        feed += number;
        feed += "</link>\n  <guid>http://example.org/?p=";
        feed += number;
        feed +=
            "</guid>\n  <pubDate>Thu, 15 Jan 2009 10:20:30 GMT</pubDate>\n"
            "  <category><![CDATA[walks]]></category>\n  <description>A short text.</description>\n"
            "  <content:encoded><![CDATA[";
        for (int k = 0; k < kParagraphs; ++k) {
            feed +=
                "<p>Behind the second gate the <a href=\"http://example.org/river\">river</a> "
                "divides; keep to the smaller arm &amp; follow it for <b>two</b> miles, past the "
                "weir &#8211; it is louder than it looks \xE2\x80\x93 to the caf\xC3\xA9.</p>\n";
        }
        feed += "]]></content:encoded>\n</item>\n";
    }
    return feed + "</channel></rss>\n";
}

const std::string& feedBytes() {
    static const std::string bytes = [] {
        const char* path = std::getenv("CORVY_BENCH_FEED");
        if (!path) return makeFeed();
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }();
    return bytes;
}

template <typename Work>
void overFeed(benchmark::State& state, Work work) {
    for (auto _ : state) work();
    state.SetBytesProcessed(static_cast<std::int64_t>(feedBytes().size() * state.iterations()));
}

// From UTF-8 bytes, as the peers do.
void BM_Items(benchmark::State& state) {
    overFeed(state, [] { benchmark::DoNotOptimize(getItemsOfFeed(fromUtf8(feedBytes()))); });
}

void BM_ItemsOfUnits(benchmark::State& state) {
    const std::u16string feed = fromUtf8(feedBytes());
    overFeed(state, [&feed] { benchmark::DoNotOptimize(getItemsOfFeed(feed)); });
}

void BM_Page(benchmark::State& state) {
    overFeed(state, [] {
        benchmark::DoNotOptimize(
            toUtf8(stringByConvertingFeedToDisplayHTML(fromUtf8(feedBytes()), true)));
    });
}

void BM_Libmrss(benchmark::State& state) {
    std::string bytes = feedBytes();
    overFeed(state, [&bytes] {
        mrss_t* feed = nullptr;
        mrss_parse_buffer(bytes.data(), bytes.size(), &feed);
        benchmark::DoNotOptimize(feed);
        if (feed) mrss_free(feed);
    });
}

BENCHMARK(BM_Items)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ItemsOfUnits)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Page)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Libmrss)->Unit(benchmark::kMillisecond);

// The time for each unit should not grow with the size.
void repeat(benchmark::State& state, std::u16string_view piece) {
    std::u16string feed = u"<rss><item>";
    while (feed.size() < static_cast<std::size_t>(state.range(0))) feed += piece;
    for (auto _ : state) {
        benchmark::DoNotOptimize(getItemsOfFeed(feed));
        benchmark::DoNotOptimize(stringByConvertingFeedToDisplayHTML(feed, true));
    }
    state.SetBytesProcessed(
        static_cast<std::int64_t>(feed.size() * sizeof(char16_t) * state.iterations()));
}

#define CORVY_SHAPE(name, piece) \
    BENCHMARK_CAPTURE(repeat, name, piece)->RangeMultiplier(16)->Range(1 << 14, 1 << 22)

CORVY_SHAPE(smallItems, u"<item><title>a</title><link>http://a/b</link></item>");
CORVY_SHAPE(emptyItems, u"<item/>");
CORVY_SHAPE(openSections, u"<title><![CDATA[");
CORVY_SHAPE(sections, u"<![CDATA[a]]>");
CORVY_SHAPE(descriptionStarts, u"<description>");
CORVY_SHAPE(emptyDescriptions, u"<description>&nbsp;</description> ");
CORVY_SHAPE(contents, u"<content type=html><content>a</content>");
CORVY_SHAPE(links, u"text <link rel=self href=a />");
CORVY_SHAPE(guids, u"http<guid>");
CORVY_SHAPE(categories, u"<category>a</category>");

}  // namespace
}  // namespace corvy

int main(int argc, char** argv) {
    if (argc == 3 && std::string_view(argv[1]) == "--write") {
        std::ofstream(argv[2], std::ios::binary) << corvy::feedBytes();
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
