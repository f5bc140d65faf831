// Messages between two processes, each measure beside what the kernel alone needs for it.
//
// The counters "x_raw" are ratios of medians; both sides are measured in turn in the same run.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <glib.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <string>
#include <vector>

#include "platform/messaging.h"

namespace corvy::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kName = "Bench1.0";

const RemoteInterface& benchInterface() {
    using enum RemoteType;
    static const RemoteInterface interface = {
        "/Bench",
        "org.corvystack.Bench1",
        {{"describe:", "Describe", {{"path", object}}, object},
         {"take:", "Take", {{"bytes", object}}, size},
         {"give:", "Give", {{"count", size}}, object}}};
    return interface;
}

// One byte of every page, so that all of them have arrived.
std::int64_t touch(const std::byte* bytes, std::size_t size) {
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < size; i += 4096) sum += static_cast<std::int64_t>(bytes[i]);
    return sum;
}

Dictionary describe(std::u16string_view path) {
    return {{u"String", u"text of the document"},
            {u"Size", u"{612, 792}"},
            {u"PageCount", static_cast<std::int32_t>(path.size())},
            {u"Alpha", false},
            {u"Duration", 12.5}};
}

// ---- the other process ----

int serveMessages() {
    static Bytes source;  // an ordinary buffer, filled beforehand
    Connection connection;
    connection.setRootObject(
        benchInterface(),
        [](const RemoteMethod& method, const std::vector<RemoteValue>& arguments) -> RemoteValue {
            if (method.member == "Describe") return describe(*arguments[0]->string());
            if (method.member == "Take") {
                const Bytes& bytes = *arguments[0]->bytes();
                return PropertyList(touch(bytes.data(), bytes.size()));
            }
            const auto count = static_cast<std::size_t>(*arguments[0]->integer());
            if (source.size() != count) {
                source = Bytes(std::vector<std::byte>(count, std::byte{7}));
            }
            return PropertyList(source);
        });
    std::puts(connection.registerName(kName) ? "ready" : "failed");
    std::fflush(stdout);
    for (;;) g_main_context_iteration(nullptr, TRUE);
}

void sendAll(int fd, const void* data, std::size_t size) {
    const auto* at = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t count = send(fd, at, size, MSG_NOSIGNAL);
        if (count <= 0) std::exit(1);
        at += count;
        size -= static_cast<std::size_t>(count);
    }
}

void receiveAll(int fd, void* data, std::size_t size) {
    auto* at = static_cast<char*>(data);
    while (size > 0) {
        const ssize_t count = recv(fd, at, size, 0);
        if (count <= 0) std::exit(0);
        at += count;
        size -= static_cast<std::size_t>(count);
    }
}

void sendFile(int socket, const std::vector<std::byte>& bytes) {
    const int file = memfd_create("raw", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t count = write(file, bytes.data() + done, bytes.size() - done);
        if (count <= 0) std::exit(1);
        done += static_cast<std::size_t>(count);
    }
    fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
    std::uint64_t length = bytes.size();
    iovec part = {&length, sizeof length};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* head = CMSG_FIRSTHDR(&message);
    head->cmsg_level = SOL_SOCKET;
    head->cmsg_type = SCM_RIGHTS;
    head->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(head), &file, sizeof file);
    if (sendmsg(socket, &message, MSG_NOSIGNAL) < 0) std::exit(1);
    close(file);
}

std::int64_t receiveFile(int socket) {
    std::uint64_t length = 0;
    iovec part = {&length, sizeof length};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (recvmsg(socket, &message, MSG_CMSG_CLOEXEC) <= 0) std::exit(0);
    int file = -1;
    std::memcpy(&file, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof file);
    void* pages = mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0);
    const std::int64_t sum = touch(static_cast<const std::byte*>(pages), length);
    munmap(pages, length);
    close(file);
    return sum;
}

struct RawRequest {
    char kind;  // p: ping, t: take the file that comes, g: give one
    char path[100];
    std::uint64_t count;
};

int serveRaw(int socket) {
    std::vector<std::byte> source;
    RawRequest request = {};
    char answer[160] = {};
    for (;;) {
        receiveAll(socket, &request, sizeof request);
        if (request.kind == 't') receiveFile(socket);
        if (request.kind == 'g') {
            if (source.size() != request.count) source.assign(request.count, std::byte{7});
            sendFile(socket, source);
        } else {
            sendAll(socket, answer, sizeof answer);
        }
    }
}

// ---- this process ----

pid_t start(const char* mode, int input, int output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    if (output >= 0) posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    std::string program = "/proc/self/exe";
    std::string argument = mode;
    char* arguments[] = {program.data(), argument.data(), nullptr};
    pid_t pid = -1;
    if (posix_spawn(&pid, "/proc/self/exe", &actions, nullptr, arguments, environ) != 0) {
        std::exit(1);
    }
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

// Both services, for the whole run.
class Services {
public:
    Services() {
        char pattern[] = "/tmp/corvybenchXXXXXX";
        folder_ = mkdtemp(pattern);
        setenv("CORVYSTACK_RUNTIME_DIR", folder_.c_str(), 1);
        int ready[2] = {};
        int pair[2] = {};
        if (pipe2(ready, O_CLOEXEC) != 0 ||
            socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
            std::exit(1);
        }
        children_ = {start("--messages", STDIN_FILENO, ready[1]), start("--raw", pair[1], -1)};
        close(ready[1]);
        close(pair[1]);
        raw_ = pair[0];
        char line[6] = {};
        receiveLine(ready[0], line, sizeof line);
        close(ready[0]);
        proxy_ = rootProxyForConnectionWithRegisteredName(kName);
        if (proxy_ == nullptr) std::exit(1);
        proxy_->setProtocol(&benchInterface());
    }
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;
    ~Services() {
        for (const pid_t child : children_) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
        std::filesystem::remove_all(folder_);
    }

    RootProxy& proxy() { return *proxy_; }
    int raw() const { return raw_; }

    void rawPing(char kind, std::uint64_t count, const std::vector<std::byte>* bytes) {
        RawRequest request = {kind, {}, count};
        char answer[160];
        sendAll(raw_, &request, sizeof request);
        if (bytes != nullptr) sendFile(raw_, *bytes);
        if (kind == 'g') {
            benchmark::DoNotOptimize(receiveFile(raw_));
        } else {
            receiveAll(raw_, answer, sizeof answer);
        }
    }

private:
    static void receiveLine(int fd, char* line, std::size_t size) {
        for (std::size_t i = 0; i < size && read(fd, line + i, 1) == 1 && line[i] != '\n';) ++i;
    }

    std::string folder_;
    std::vector<pid_t> children_;
    int raw_ = -1;
    std::unique_ptr<RootProxy> proxy_;
};

Services* services = nullptr;

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

// Measures both in turn, the raw one outside of the benchmark's own clock.
template <typename Ours, typename Raw>
void compare(benchmark::State& state, Ours ours, Raw raw) {
    std::vector<double> oursTook;
    std::vector<double> rawTook;
    const auto timed = [](auto& body) {
        const Clock::time_point begin = Clock::now();
        body();
        return std::chrono::duration<double>(Clock::now() - begin).count();
    };
    ours();  // the connection's greeting is behind us
    raw();
    for (auto _ : state) {
        oursTook.push_back(timed(ours));
        rawTook.push_back(timed(raw));
        state.SetIterationTime(oursTook.back());
    }
    state.counters["median_us"] = median(oursTook) * 1e6;
    state.counters["raw_us"] = median(rawTook) * 1e6;
    state.counters["x_raw"] = median(oursTook) / median(rawTook);
}

void TinyCall(benchmark::State& state) {
    const std::u16string path(100, u'p');
    compare(
        state,
        [&] {
            const RemoteValue result = services->proxy().call("describe:", {path});
            benchmark::DoNotOptimize(result->dictionary()->find(u"Duration"));
        },
        [] { services->rawPing('p', 0, nullptr); });
}
BENCHMARK(TinyCall)->UseManualTime()->Unit(benchmark::kMicrosecond)->MinTime(2);

void SendBytes(benchmark::State& state) {
    const std::vector<std::byte> bytes(static_cast<std::size_t>(state.range(0)), std::byte{7});
    const Bytes value = Bytes::copyOf(bytes);
    compare(
        state, [&] { services->proxy().call("take:", {value}); },
        [&] { services->rawPing('t', 0, &bytes); });
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(SendBytes)
    ->Arg(1'000'000)
    ->Arg(10'000'000)
    ->Arg(100'000'000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void ReceiveBytes(benchmark::State& state) {
    const std::int64_t count = state.range(0);
    compare(
        state,
        [&] {
            const RemoteValue result = services->proxy().call("give:", {count});
            benchmark::DoNotOptimize(touch(result->bytes()->data(), result->bytes()->size()));
        },
        [&] { services->rawPing('g', static_cast<std::uint64_t>(count), nullptr); });
    state.SetBytesProcessed(state.iterations() * count);
}
BENCHMARK(ReceiveBytes)
    ->Arg(1'000'000)
    ->Arg(10'000'000)
    ->Arg(100'000'000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void Lookup(benchmark::State& state) {
    for (auto _ : state) {
        const auto found = rootProxyForConnectionWithRegisteredName(kName);
        if (found == nullptr) state.SkipWithError("not found");
    }
}
BENCHMARK(Lookup)->Unit(benchmark::kMicrosecond);

void LookupAndFirstCall(benchmark::State& state) {
    for (auto _ : state) {
        const auto found = rootProxyForConnectionWithRegisteredName(kName);
        found->setProtocol(&benchInterface());
        found->call("describe:", {u"path"});
    }
}
BENCHMARK(LookupAndFirstCall)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace corvy::platform

int main(int argc, char** argv) {
    using namespace corvy::platform;
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "--messages") return serveMessages();
    if (mode == "--raw") return serveRaw(STDIN_FILENO);
    benchmark::Initialize(&argc, argv);
    Services both;
    services = &both;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
