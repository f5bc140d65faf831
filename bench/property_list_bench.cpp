// Property lists beside libplist: a list of many small values, as in catalogues, and one of few
// large ones, as in web archives; both in the binary and the XML form. Rates are bytes of the file
// a second.
#include <benchmark/benchmark.h>
#include <plist/plist.h>
#include <stdlib.h>

#include <string>

#include "foundation/text.h"
#include "platform/property_list_reader.h"
#include "platform/property_list_writer.h"

namespace corvy::platform {
namespace {

enum Contents { many, large };
enum Form { binary, xml };

PropertyList catalogue() {
    Array entries;
    for (std::int64_t i = 0; i < 50'000; ++i) {
        entries.emplace_back(Dictionary{{u"Name", u"Entry " + fromUtf8(std::to_string(i))},
                                        {u"Kind", u"audio file"},
                                        {u"Size", i * 1000},
                                        {u"Rating", 0.1 * static_cast<double>(i)},
                                        {u"Compilation", i % 2 == 0}});
    }
    return entries;
}

PropertyList archive() {
    Array resources;
    for (int i = 0; i < 40; ++i) {
        std::string data(500'000, '\0');
        for (std::size_t at = 0; at < data.size(); ++at) data[at] = static_cast<char>(at * at >> 7);
        resources.emplace_back(Dictionary{{u"WebResourceData", Bytes::copyOf(data)},
                                          {u"WebResourceMIMEType", u"image/png"},
                                          {u"WebResourceURL", u"http://example.org/image.png"}});
    }
    return Dictionary{{u"WebSubresources", std::move(resources)}};
}

Bytes fileOf(int contents, int form) {
    const Bytes file(*binaryPropertyList(contents == many ? catalogue() : archive()));
    if (form == binary) return file;
    plist_t list = nullptr;
    char* text = nullptr;
    std::uint32_t length = 0;
    plist_from_bin(file.chars().data(), static_cast<std::uint32_t>(file.size()), &list);
    plist_to_xml(list, &text, &length);
    plist_free(list);
    Bytes copy = Bytes::copyOf(std::string_view(text, length));
    free(text);
    return copy;
}

void setRate(benchmark::State& state, const Bytes& file) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * file.size()));
}

void BM_Ours(benchmark::State& state, int contents, int form) {
    const Bytes file = fileOf(contents, form);
    for (auto _ : state) benchmark::DoNotOptimize(readPropertyList(file));
    setRate(state, file);
}

void BM_Libplist(benchmark::State& state, int contents, int form) {
    const Bytes file = fileOf(contents, form);
    for (auto _ : state) {
        plist_t list = nullptr;
        plist_from_memory(file.chars().data(), static_cast<std::uint32_t>(file.size()), &list);
        benchmark::DoNotOptimize(list);
        plist_free(list);
    }
    setRate(state, file);
}

BENCHMARK_CAPTURE(BM_Ours, binary_many, many, binary);
BENCHMARK_CAPTURE(BM_Libplist, binary_many, many, binary);
BENCHMARK_CAPTURE(BM_Ours, xml_many, many, xml);
BENCHMARK_CAPTURE(BM_Libplist, xml_many, many, xml);
BENCHMARK_CAPTURE(BM_Ours, binary_large, large, binary);
BENCHMARK_CAPTURE(BM_Libplist, binary_large, large, binary);
BENCHMARK_CAPTURE(BM_Ours, xml_large, large, xml);
BENCHMARK_CAPTURE(BM_Libplist, xml_large, large, xml);

}  // namespace
}  // namespace corvy::platform

BENCHMARK_MAIN();
