// The registry of importers, and calls of an importer in its worker.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "foundation/text.h"
#include "metadata/meta_data_importer.h"

namespace {

namespace fs = std::filesystem;

// A folder with bundles whose executable is the test's importer.
class Bundles {
public:
    explicit Bundles(int count) : root_(fs::temp_directory_path() / "corvystack-importer-bench") {
        fs::remove_all(root_);
        for (int i = 0; i < count; ++i) {
            const fs::path contents = root_ / "Library/Spotlight" /
                                      ("B" + std::to_string(i) + ".mdimporter") / "Contents";
            fs::create_directories(contents);
            fs::create_symlink(fs::path(kImporter) / "Contents/Linux", contents / "Linux");
            fs::copy_file(fs::path(kImporter) / "Contents/Info.plist", contents / "Info.plist");
        }
    }
    ~Bundles() { fs::remove_all(root_); }
    corvy::ImporterPlaces places() const { return {.root = corvy::pathFromBytes(root_.string())}; }
    std::string file(const char* name) const {
        std::ofstream(root_ / name) << "x";
        return (root_ / name).string();
    }

private:
    static constexpr const char* kImporter = CORVY_BUILD_DIR "/bench/importers/Journal.mdimporter";
    fs::path root_;
};

void MakeRegistry(benchmark::State& state) {
    const Bundles bundles(static_cast<int>(state.range(0)));
    const corvy::ImporterPlaces places = bundles.places();
    for (auto _ : state) benchmark::DoNotOptimize(corvy::loadMDImporters(places));
}
BENCHMARK(MakeRegistry)->Arg(20)->Arg(1000)->Unit(benchmark::kMillisecond);

void FindImporter(benchmark::State& state) {
    const Bundles bundles(20);
    const corvy::ImporterRegistry registry = corvy::loadMDImporters(bundles.places());
    for (auto _ : state) benchmark::DoNotOptimize(registry.importerForType(u"public.unknown"));
}
BENCHMARK(FindImporter);

void ReadAttributes(benchmark::State& state) {
    const Bundles bundles(1);
    corvy::platform::WorkerPool pool(CORVY_BUILD_DIR);
    corvy::MetaDataImporter importer(
        std::make_unique<corvy::WorkerImporterHost>(
            [&pool](const corvy::platform::WorkerRequest& request) { return pool.run(request); }),
        bundles.places());
    const std::u16string path = corvy::pathFromBytes(bundles.file("a.journal"));
    for (auto _ : state) {
        if (!importer.metaDataOfFileAtPath(path)) state.SkipWithError("no attributes");
    }
}
BENCHMARK(ReadAttributes)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
