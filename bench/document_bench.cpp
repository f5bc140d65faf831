// Documents of about a hundred pages, in the formats of word processors: from the bytes of the file
// to attributed text. The files are made by make_documents.py.
#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <string>

#include "platform/document_reader.h"

namespace {

using namespace corvy;

void readOne(benchmark::State& state, const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const Bytes bytes = Bytes::copyOf(std::string(std::istreambuf_iterator<char>(file), {}));
    std::size_t units = 0;
    for (auto _ : state) {
        const auto document = platform::readDocument(bytes, path, {});
        if (!document) return state.SkipWithError("no document");
        units = document->text.length();
        benchmark::DoNotOptimize(document);
    }
    state.counters["units"] = static_cast<double>(units);
}

}  // namespace

// document_bench FILE... [--benchmark_...]
int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        const std::string path = argv[i];
        benchmark::RegisterBenchmark(path.substr(path.rfind('/') + 1).c_str(), readOne, path)
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
