// What it costs to run an operation in a process of its own.
#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "platform/isolation.h"
#include "platform/property_list_codec.h"
#include "platform/sealed_memory.h"
#include "platform/worker_frames.h"

namespace {

using namespace corvy;
using namespace corvy::platform;

constexpr std::size_t kPage = 4096;

std::vector<std::byte> filled(std::size_t size) {
    return std::vector<std::byte>(size, std::byte{'x'});
}

// Touches what a reader would.
std::size_t sumOf(std::span<const std::byte> bytes) {
    std::size_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); i += kPage) sum += std::to_integer<int>(bytes[i]);
    return sum;
}

WorkerRequest requestOf(std::string operation, Dictionary arguments = {}) {
    WorkerRequest request;
    request.family = "bench";
    request.operation = std::move(operation);
    request.arguments = std::move(arguments);
    return request;
}

// The same operation without a process.
void directCall(benchmark::State& state) {
    const std::function<std::optional<PropertyList>(const Dictionary&)> operation =
        [](const Dictionary& arguments) { return std::optional<PropertyList>(arguments); };
    for (auto _ : state) benchmark::DoNotOptimize(operation({}));
}
BENCHMARK(directCall);

// The least that a process for an operation can cost.
void forkAndWait(benchmark::State& state) {
    for (auto _ : state) {
        const pid_t pid = ::fork();
        if (pid == 0) ::_exit(0);
        ::waitpid(pid, nullptr, 0);
    }
}
BENCHMARK(forkAndWait)->UseRealTime();

void isolatedCall(benchmark::State& state) {
    WorkerPool pool(CORVY_BUILD_DIR "/bench");
    WorkerRequest request = requestOf("echo");
    request.runsContext = state.range(0) != 0;
    if (!pool.run(request)) return state.SkipWithError("the worker does not run");
    for (auto _ : state) benchmark::DoNotOptimize(pool.run(request));
}
BENCHMARK(isolatedCall)->ArgName("context")->Arg(0)->Arg(1)->UseRealTime();

void isolatedParts(benchmark::State& state) {
    WorkerPool pool(CORVY_BUILD_DIR "/bench");
    WorkerRequest request = requestOf("parts", {{u"count", state.range(0)}});
    for (auto _ : state) benchmark::DoNotOptimize(pool.run(request));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(isolatedParts)->Arg(1000)->UseRealTime();

void bytesBothWays(benchmark::State& state) {
    WorkerPool pool(CORVY_BUILD_DIR "/bench");
    const auto size = static_cast<std::size_t>(state.range(0));
    WorkerRequest request = requestOf("copy", {{u"bytes", Bytes(filled(size))}});
    request.limits.wallSeconds = 60;
    for (auto _ : state) {
        const auto result = pool.run(request);
        if (!result) return state.SkipWithError("no result");
        benchmark::DoNotOptimize(sumOf(*result->bytes()));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * 2);
}
BENCHMARK(bytesBothWays)->Arg(1 << 20)->Arg(10 << 20)->Arg(100 << 20)->UseRealTime();

// The same bytes both ways by hand: a memory file to a forked child, one back.
void memoryFilesBothWays(benchmark::State& state) {
    const std::vector<std::byte> bytes = filled(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return;
        const Descriptor ours(ends[0]);
        Descriptor theirs(ends[1]);
        const pid_t pid = ::fork();
        if (pid == 0) {
            auto received = receiveControl(theirs.get());
            const Bytes mapped = *bytesOfSealedMemory(std::move(received->channel), bytes.size());
            const std::vector<std::byte> copy(mapped.span().begin(), mapped.span().end());
            sendControl(theirs.get(), {}, sealedMemoryOf(copy).get());
            ::_exit(0);
        }
        sendControl(ours.get(), {}, sealedMemoryOf(bytes).get());
        auto received = receiveControl(ours.get());
        const Bytes back = *bytesOfSealedMemory(std::move(received->channel), bytes.size());
        benchmark::DoNotOptimize(sumOf(back));
        ::waitpid(pid, nullptr, 0);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * 2);
}
BENCHMARK(memoryFilesBothWays)->Arg(1 << 20)->Arg(10 << 20)->Arg(100 << 20)->UseRealTime();

Dictionary pageOfText() {
    Dictionary page;
    Array runs;
    for (int i = 0; i < 200; ++i) {
        runs.push_back(Dictionary{{u"font", u"Times-Roman"}, {u"size", 11.0}, {u"text", u"words"}});
    }
    page.set(u"runs", std::move(runs));
    return page;
}

void encode(benchmark::State& state) {
    const PropertyList page = pageOfText();
    std::size_t size = 0;
    for (auto _ : state) size += codedPropertyList(page)->tree.size();
    state.SetBytesProcessed(static_cast<std::int64_t>(size));
}
BENCHMARK(encode);

void decode(benchmark::State& state) {
    const auto coded = codedPropertyList(pageOfText());
    for (auto _ : state) benchmark::DoNotOptimize(decodedPropertyList(coded->tree));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(coded->tree.size()));
}
BENCHMARK(decode);

}  // namespace

BENCHMARK_MAIN();
