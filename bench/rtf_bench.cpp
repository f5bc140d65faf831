// RTF read and written, in bytes of RTF per second.
#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <span>
#include <string>

#include "platform/rich_text/rtf_reader.h"
#include "platform/rich_text/rtf_writer.h"
#include "platform/rich_text/rtfd.h"

namespace {

using namespace corvy::platform;

constexpr std::size_t kSize = 1 << 20;

// Prose in paragraphs, with a bold word and a colour now and then.
std::string prose() {
    std::string rtf =
        "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl\\f0\\fswiss Helvetica;\\f1\\fswiss Helvetica-Bold;}"
        "{\\colortbl;\\red255\\green0\\blue0;}\\pard\\tx560\\tx1120\\pardirnatural\n";
    while (rtf.size() < kSize) {
        rtf += "\\f0\\b0\\fs24 \\cf0 The quick brown fox jumps over the lazy dog, again and ";
        rtf +=
            "\\f1\\b again\\f0\\b0 , until \\cf1 night\\cf0  falls and no dog is left to see it "
            "jump; caf\\'e9 closed, \\uc0\\u8364 5.\\\n";
    }
    return rtf + "}";
}

// As word processors write it: each run a group, with properties for other scripts.
std::string office() {
    std::string rtf =
        "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\froman\\fcharset0\\fprq2 Times New "
        "Roman;}"
        "{\\f31506\\fswiss\\fcharset0\\fprq2 Calibri;}}{\\colortbl;\\red0\\green0\\blue0;}\n";
    while (rtf.size() < kSize) {
        rtf +=
            "\\pard\\plain \\ltrpar\\ql \\li0\\ri0\\sa160\\sl259\\slmult1\\widctlpar\\wrapdefault"
            "\\aspalpha\\aspnum\\faauto\\adjustright\\rin0\\lin0\\itap0 \\rtlch\\fcs1 \\af31507"
            "\\afs22\\alang1025 \\ltrch\\fcs0 \\f31506\\fs22\\lang1033\\langfe1033\\cgrid"
            "\\langnp1033\\langfenp1033 {\\rtlch\\fcs1 \\af31507 \\ltrch\\fcs0 "
            "\\insrsid3021839\\charrsid3021839 The quick brown fox jumps over the lazy dog. }"
            "{\\rtlch\\fcs1 \\ab\\af31507 \\ltrch\\fcs0 \\b\\insrsid3021839 Twice.}"
            "{\\rtlch\\fcs1 \\af31507 \\ltrch\\fcs0 \\insrsid3021839 \\par }\n";
    }
    return rtf + "}";
}

std::string picture() {
    std::string rtf = "{\\rtf1{\\pict\\pngblip\\picwgoal1000\\pichgoal1000\n";
    while (rtf.size() < kSize) {
        for (int i = 0; i < 16; ++i) rtf += "89504e0d";
        rtf += '\n';
    }
    return rtf + "}}";
}

std::string tables() {
    std::string rtf = "{\\rtf1{\\fonttbl\\f0 Helvetica;}";
    while (rtf.size() < kSize) {
        rtf += "\\trowd\\trgaph108\\cellx2000\\cellx4000\\cellx6000\n";
        for (int i = 0; i < 3; ++i) rtf += "\\pard\\intbl\\f0\\fs20 Cell of a table\\cell ";
        rtf += "\\row\n";
    }
    return rtf + "}";
}

std::span<const std::byte> bytesOf(const std::string& text) {
    return std::as_bytes(std::span(text));
}

void read(benchmark::State& state, const std::string& rtf) {
    for (auto _ : state) benchmark::DoNotOptimize(documentOfRtf(bytesOf(rtf)));
    state.SetBytesProcessed(static_cast<std::int64_t>(rtf.size()) * state.iterations());
}

void write(benchmark::State& state, const std::string& rtf) {
    const auto document = documentOfRtf(bytesOf(rtf));
    std::size_t size = 0;
    for (auto _ : state) size += rtfOf(*document).size();
    state.SetBytesProcessed(static_cast<std::int64_t>(size));
}

void flat(benchmark::State& state, const std::string& rtf) {
    const auto document = documentOfRtf(bytesOf(rtf));
    const auto bytes = rtfdOf(*document, 0);
    for (auto _ : state) benchmark::DoNotOptimize(documentOfRtfd(*bytes));
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes->size()) * state.iterations());
}

BENCHMARK_CAPTURE(read, prose, prose());
BENCHMARK_CAPTURE(read, office, office());
BENCHMARK_CAPTURE(read, picture, picture());
BENCHMARK_CAPTURE(read, tables, tables());
BENCHMARK_CAPTURE(write, prose, prose());
BENCHMARK_CAPTURE(write, office, office());
BENCHMARK_CAPTURE(write, tables, tables());
BENCHMARK_CAPTURE(flat, prose, prose());

}  // namespace

// Files that are named behind the options are read as well.
int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        std::ifstream file(argv[i], std::ios::binary);
        const std::string rtf(std::istreambuf_iterator<char>(file), {});
        benchmark::RegisterBenchmark(argv[i], [rtf](benchmark::State& state) { read(state, rtf); });
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
