// From starting the helper program to its first answer, and what a call costs from then on.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "client/im_export.h"
#include "platform/messaging.h"

namespace {

using namespace corvy;

class Helper {
public:
    Helper() {
        std::string program = CORVY_BUILD_DIR "/corvystack-helper";
        char* arguments[] = {program.data(), nullptr};
        if (posix_spawn(&pid_, program.c_str(), nullptr, nullptr, arguments, environ) != 0) abort();
    }
    ~Helper() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    // Looks the name up without the pauses that a patient client makes.
    std::unique_ptr<RootProxy> connect() {
        std::unique_ptr<RootProxy> proxy;
        while (
            !(proxy = platform::rootProxyForConnectionWithRegisteredName(kCorvyStackHelperName))) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        proxy->setProtocol(&CorvyImExport());
        return proxy;
    }

private:
    pid_t pid_ = -1;
};

RemoteValue firstOperation(RootProxy& proxy) {
    return proxy.call("supportsFile:", {PropertyList(u"/etc/hostname")});
}

void BM_LaunchToFirstAnswer(benchmark::State& state) {
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        Helper helper;
        auto proxy = helper.connect();
        benchmark::DoNotOptimize(firstOperation(*proxy));
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}
BENCHMARK(BM_LaunchToFirstAnswer)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(50);

// The floor: a program that does nothing.
void BM_LaunchOfTrue(benchmark::State& state) {
    for (auto _ : state) {
        char program[] = "/bin/true";
        char* arguments[] = {program, nullptr};
        pid_t pid = -1;
        if (posix_spawn(&pid, program, nullptr, nullptr, arguments, environ) != 0) abort();
        waitpid(pid, nullptr, 0);
    }
}
BENCHMARK(BM_LaunchOfTrue)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(50);

void BM_SmallCallOfHelper(benchmark::State& state) {
    Helper helper;
    const auto proxy = helper.connect();
    for (auto _ : state) benchmark::DoNotOptimize(firstOperation(*proxy));
}
BENCHMARK(BM_SmallCallOfHelper)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    std::string folder = (std::filesystem::temp_directory_path() / "corvy-bench-XXXXXX").string();
    if (!mkdtemp(folder.data())) return 1;
    setenv("CORVYSTACK_RUNTIME_DIR", folder.c_str(), 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(folder);
}
