// Text of a PDF read in this process, and through the service's half and an isolated worker. Times
// are those of the processor, of all processes together.
//
// The document is $CORVY_BENCH_PDF, or a small part of one from make_manual.py.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/pdf_document.h"
#include "service/pdf_conversion.h"

namespace {

using namespace corvy;

Bytes document() {
    std::string path;
    if (const char* given = std::getenv("CORVY_BENCH_PDF")) {
        path = given;
    } else {
        path = CORVY_BUILD_DIR "/bench/manual.pdf";
        const std::string make = "python3 " CORVY_BENCH_SOURCES "/make_manual.py 100 " + path;
        if (std::system(make.c_str()) != 0) return {};
    }
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return Bytes::copyOf(bytes.view());
}

const Bytes& pdf() {
    static const Bytes bytes = document();
    return bytes;
}

// Of this process and of those that it has seen end.
double processorSeconds() {
    double seconds = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
            seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        }
    }
    return seconds;
}

// So many conversions make the start of the worker program, which they share, small.
constexpr int kConversions = 10;

void inProcess(benchmark::State& state) {
    for (auto _ : state) {
        const double start = processorSeconds();
        for (int i = 0; i < kConversions; ++i) {
            auto open = platform::PdfDocument::open(pdf());
            const std::size_t pages = open ? open->pageCount() : 0;
            for (std::size_t page = 0; page < pages; ++page) {
                benchmark::DoNotOptimize(open->textOfPage(page));
            }
        }
        state.SetIterationTime((processorSeconds() - start) / kConversions);
    }
}

void throughService(benchmark::State& state) {
    for (auto _ : state) {
        const double start = processorSeconds();
        {
            platform::WorkerPool pool(CORVY_BUILD_DIR);
            const PdfConversionContext context{
                [&pool](const platform::WorkerRequest& request) { return pool.run(request); }};
            for (int i = 0; i < kConversions; ++i) {
                benchmark::DoNotOptimize(attributedStringWithPDF(pdf(), {}, context));
            }
        }
        state.SetIterationTime((processorSeconds() - start) / kConversions);
    }
}

BENCHMARK(inProcess)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(throughService)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    platform::preparePdfLibrary();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
