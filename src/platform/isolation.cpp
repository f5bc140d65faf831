#include "platform/isolation.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <random>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "foundation/descriptor.h"
#include "foundation/text.h"
#include "platform/worker_frames.h"

namespace corvy::platform {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Functions of libraries are bound once, in the warm process, not again in each of its children.
constexpr std::string_view kBindAtStart = "LD_BIND_NOW=1";
// How long a program may take to kill a child, or to end, before it is killed itself.
constexpr milliseconds kConfirmTime{1000};
// How many programs with a subject are kept.
constexpr std::size_t kMostSubjects = 24;
// How long a program may take to start its libraries.
constexpr std::chrono::seconds kStartTime{30};
// How long the main context is run before its request is asked whether to go on.
constexpr milliseconds kContextSlice{10};
// What may still be read after the deadline: as much as a channel holds that was filled in time,
// while the thread was busy elsewhere.
constexpr std::uint64_t kMaxReadLate = std::uint64_t{1} << 20;

Clock::time_point after(double seconds) {
    const double bounded = std::clamp(seconds, 0.0, 1e6);
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(bounded));
}

int millisecondsUntil(Clock::time_point time) {
    const auto rest = std::chrono::ceil<milliseconds>(time - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(rest)>(rest, 0, 1'000'000'000));
}

// A deadline that has passed already: for looking without waiting.
constexpr Clock::time_point kNow{};

// False at the deadline.
bool pollUntil(int descriptor, short events, Clock::time_point deadline) {
    for (;;) {
        pollfd entry{descriptor, events, 0};
        const int count = ::poll(&entry, 1, millisecondsUntil(deadline));
        if (count > 0) return true;
        if (count == 0 && Clock::now() >= deadline) return false;
        if (count < 0 && errno != EINTR) return false;
    }
}

// An event source on the default main context, while it lives.
class ContextSource {
public:
    explicit ContextSource(GSource* source) : source_(source) { g_source_attach(source_, nullptr); }
    ~ContextSource() {
        g_source_destroy(source_);
        g_source_unref(source_);
    }
    ContextSource(const ContextSource&) = delete;
    ContextSource& operator=(const ContextSource&) = delete;

private:
    GSource* source_;
};

// As pollUntil(), but runs the main context meanwhile. Other requests may be served inside.
bool runContextUntil(int descriptor, short events, Clock::time_point deadline) {
    if (pollUntil(descriptor, events, kNow)) return true;
    if (Clock::now() >= deadline) return false;

    bool isReady = false;
    bool isLate = false;
    const auto condition = static_cast<GIOCondition>(events);
    static_assert(int{G_IO_IN} == POLLIN && int{G_IO_OUT} == POLLOUT);
    GSource* ready = g_unix_fd_source_new(
        descriptor, static_cast<GIOCondition>(condition | G_IO_HUP | G_IO_ERR));
    const GUnixFDSourceFunc onReady = [](gint, GIOCondition, gpointer flag) -> gboolean {
        *static_cast<bool*>(flag) = true;
        return G_SOURCE_REMOVE;
    };
    g_source_set_callback(ready, G_SOURCE_FUNC(onReady), &isReady, nullptr);
    GSource* late = g_timeout_source_new(static_cast<guint>(millisecondsUntil(deadline)));
    const GSourceFunc onLate = [](gpointer flag) -> gboolean {
        *static_cast<bool*>(flag) = true;
        return G_SOURCE_REMOVE;
    };
    g_source_set_callback(late, onLate, &isLate, nullptr);

    const ContextSource readySource(ready);
    const ContextSource lateSource(late);
    while (!isReady && !isLate) g_main_context_iteration(nullptr, TRUE);
    return isReady || pollUntil(descriptor, events, kNow);
}

std::optional<std::pair<Descriptor, Descriptor>> socketPair(int type) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends.data()) != 0) return std::nullopt;
    return std::pair(Descriptor(ends[0]), Descriptor(ends[1]));
}

// A name that nobody else can have taken; nothing is made yet.
std::string newTemporaryFolder() {
    std::random_device random;
    const std::uint64_t number = (std::uint64_t{random()} << 32) | random();
    std::error_code error;
    return (std::filesystem::temp_directory_path(error) / "corvystack-").string() +
           std::to_string(number);
}

struct Program {
    std::string path;
    std::string subject;
    bool network = false;
    bool operator<(const Program& other) const {
        return std::tie(path, subject, network) <
               std::tie(other.path, other.subject, other.network);
    }
};

// -1 when it cannot be started. The program gets the null device as standard input and output, our
// standard error, and of all other descriptors only the control socket.
pid_t spawnProgram(const Program& program, std::string temporaryFolder, int control) {
    std::string name = program.path;
    std::string mode(program.network ? kServeWithNetwork : kServe);
    std::string subject = program.subject;
    std::string binding(kBindAtStart);
    std::vector<char*> environment;
    for (char** entry = environ; *entry; ++entry) environment.push_back(*entry);
    environment.insert(environment.end(), {binding.data(), nullptr});
    const std::array<char*, 5> arguments{name.data(), mode.data(), temporaryFolder.data(),
                                         subject.data(), nullptr};

    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawnattr_init(&attributes);
    // The control socket first: its number may be one of those that are opened next.
    ::posix_spawn_file_actions_adddup2(&files, control, kControlDescriptor);
    ::posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addclosefrom_np(&files, kControlDescriptor + 1);
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &all);
    // A group of its own, so that an interrupt typed at the terminal ends us in our order.
    ::posix_spawnattr_setpgroup(&attributes, 0);
    ::posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);

    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, name.c_str(), &files, &attributes, arguments.data(),
                                    environment.data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&files);
    return error == 0 ? pid : -1;
}

// The warm process of one program. Ends it when the last operation on it is over.
class Worker {
public:
    // Null when the program cannot be started.
    static std::shared_ptr<Worker> spawned(const Program& program) {
        auto ends = socketPair(SOCK_SEQPACKET);
        if (!ends) return nullptr;
        const std::string folder = newTemporaryFolder();
        const pid_t pid = spawnProgram(program, folder, ends->second.get());
        if (pid < 0) return nullptr;
        return std::make_shared<Worker>(pid, std::move(ends->first), folder);
    }

    Worker(pid_t pid, Descriptor control, std::string temporaryFolder)
        : pid_(pid), control_(std::move(control)), temporaryFolder_(std::move(temporaryFolder)) {}
    ~Worker() {
        // It kills its children and closes the socket by ending.
        ::shutdown(control_.get(), SHUT_WR);
        const auto deadline = isDeaf_ ? kNow : Clock::now() + kConfirmTime;
        while (!isGone() && pollUntil(control_.get(), POLLIN, deadline)) {
            if (!isGone()) receiveControl(control_.get());
        }
        // Nobody but us waits for the process, so the number still means it.
        ::kill(pid_, SIGKILL);
        while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
        }
        std::error_code error;
        std::filesystem::remove_all(temporaryFolder_, error);  // it did so itself unless killed
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    bool isGone() const {
        pollfd entry{control_.get(), 0, 0};
        return ::poll(&entry, 1, 0) > 0 && (entry.revents & (POLLHUP | POLLERR)) != 0;
    }

    // The number of the operation; none when the process is gone or takes nothing.
    std::optional<std::uint64_t> start(const WorkerLimits& limits, int channel) {
        const std::uint64_t operation = ++lastOperation_;
        if (!sendControl(control_.get(), {ControlKind::start, operation, limits}, channel)) {
            return std::nullopt;
        }
        return operation;
    }

    // Has what is left of an operation killed.
    void end(std::uint64_t operation) {
        sendControl(control_.get(), {ControlKind::end, operation, {}});
    }

    // The same, and waits until it is gone. False when the process does not do its duty; it can
    // only be killed then.
    bool endAndConfirm(std::uint64_t operation) {
        isDeaf_ = true;
        if (!sendControl(control_.get(), {ControlKind::endAndConfirm, operation, {}})) return false;
        if (!pollUntil(control_.get(), POLLIN, Clock::now() + kConfirmTime)) return false;
        const auto reply = receiveControl(control_.get());
        isDeaf_ = !reply || reply->message.kind != ControlKind::confirmed ||
                  reply->message.operation != operation;
        return !isDeaf_;
    }

    void setServing() { isServing_ = true; }
    // True once it must answer at once; before, it may be loading its libraries.
    bool hasStarted() const { return isServing_ || Clock::now() > spawnedAt_ + kStartTime; }

private:
    pid_t pid_;
    Descriptor control_;
    std::string temporaryFolder_;
    Clock::time_point spawnedAt_ = Clock::now();
    std::uint64_t lastOperation_ = 0;
    bool isServing_ = false;
    bool isDeaf_ = false;
};

enum class Outcome {
    answered,
    failed,
    unreached,  // the operation did not begin
};

// One operation, from its start to its end, whichever way it ends.
class Operation {
public:
    Operation(std::shared_ptr<Worker> worker, const WorkerRequest& request,
              Clock::time_point deadline)
        : worker_(std::move(worker)), request_(request), deadline_(deadline) {
        auto ends = socketPair(SOCK_STREAM);
        if (!ends) return;
        number_ = worker_->start(request.limits, ends->second.get());
        if (number_) channel_ = std::move(ends->first);
    }
    // After an exception too: the child does not outlive the call.
    ~Operation() {
        if (number_) worker_->end(*number_);
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    Outcome run() {
        if (!channel_) return Outcome::unreached;
        const bool isAnswered = converse();
        if (isAnswered) return Outcome::answered;
        return hasBegun_ ? Outcome::failed : Outcome::unreached;
    }

    // Kills what is left and waits for that. False when the warm process has to go as well.
    bool clearAway() {
        if (!number_) return false;
        // One that is still loading finds the channel closed when it gets to the operation.
        if (!worker_->hasStarted()) return true;
        channel_.reset();
        return worker_->endAndConfirm(*std::exchange(number_, std::nullopt));
    }

    PropertyList result;

private:
    bool converse() {
        const Array call{fromUtf8(request_.operation), request_.arguments};
        if (!send(FrameKind::request, call)) return false;
        FrameReader reader(channel_.get(), request_.limits.output);
        std::optional<std::uint64_t> receivedInTime;
        while (true) {
            Frame frame;
            const FrameState state = reader.read(frame);
            if (Clock::now() >= deadline_) {
                if (!receivedInTime) receivedInTime = reader.received();
                if (reader.received() - *receivedInTime > kMaxReadLate) return false;
            }
            if (state == FrameState::closed) return false;
            if (state == FrameState::wouldBlock) {
                if (!wait(POLLIN)) return false;
                continue;
            }
            if (frame.kind == FrameKind::result && hasBegun_) {
                result = std::move(frame.value);
                return true;
            }
            if (!take(std::move(frame))) return false;
        }
    }

    // False when the frame has no place here.
    bool take(Frame frame) {
        if (!hasBegun_) {
            hasBegun_ = frame.kind == FrameKind::began;
            if (hasBegun_) worker_->setServing();
            return hasBegun_;
        }
        if (frame.kind == FrameKind::part) {
            if (request_.part) request_.part(std::move(frame.value));
            return true;
        }
        if (frame.kind != FrameKind::question) return false;
        const PropertyList answer =
            request_.question ? request_.question(frame.value) : PropertyList();
        return send(FrameKind::answer, answer);
    }

    bool send(FrameKind kind, const PropertyList& value) {
        auto writer = FrameWriter::of(kind, value);
        if (!writer) return false;
        for (;;) {
            const FrameState state = writer->write(channel_.get());
            if (state == FrameState::ready) return true;
            if (state == FrameState::closed || !wait(POLLOUT)) return false;
        }
    }

    bool wait(short events) {
        while (request_.runsContext) {
            if (!request_.runsContextWhile) {
                return runContextUntil(channel_.get(), events, deadline_);
            }
            if (!request_.runsContextWhile()) break;
            const auto end = std::min(deadline_, Clock::now() + kContextSlice);
            if (runContextUntil(channel_.get(), events, end)) return true;
            if (Clock::now() >= deadline_) return false;
        }
        return pollUntil(channel_.get(), events, deadline_);
    }

    // Kept, since a request that is served inside may find the program dead and replace it.
    std::shared_ptr<Worker> worker_;
    const WorkerRequest& request_;
    Clock::time_point deadline_;
    std::optional<std::uint64_t> number_;
    Descriptor channel_;
    bool hasBegun_ = false;
};

}  // namespace

struct WorkerPool::State {
    std::string folder;
    std::map<Program, std::shared_ptr<Worker>> workers;

    // Of programs with a subject, the one that was used last at the end.
    std::list<Program> recent;

    // The living process of a program, or null.
    std::shared_ptr<Worker> running(const Program& program) {
        const auto found = workers.find(program);
        if (found == workers.end()) return nullptr;
        if (!found->second->isGone()) {
            noteUse(program);
            return found->second;
        }
        workers.erase(found);
        return nullptr;
    }

    std::shared_ptr<Worker> spawned(const Program& program) {
        auto worker = Worker::spawned(program);
        if (worker) {
            workers[program] = worker;
            noteUse(program);
        }
        return worker;
    }

    // Operations that still run on a program keep it until they are over.
    void noteUse(const Program& program) {
        if (program.subject.empty()) return;
        recent.remove_if(
            [&program](const Program& other) { return !(program < other) && !(other < program); });
        recent.push_back(program);
        if (recent.size() <= kMostSubjects) return;
        workers.erase(recent.front());
        recent.pop_front();
    }

    void drop(const Program& program, const std::shared_ptr<Worker>& worker) {
        const auto found = workers.find(program);
        if (found != workers.end() && found->second == worker) workers.erase(found);
    }
};

WorkerPool::WorkerPool(std::string programFolder) : state_(std::make_unique<State>()) {
    state_->folder = std::move(programFolder);
}

WorkerPool::~WorkerPool() = default;

std::optional<PropertyList> WorkerPool::run(const WorkerRequest& request) {
    const Clock::time_point deadline = after(request.limits.wallSeconds);
    const auto subject = bytesOfPath(request.subject);
    if (!subject) return std::nullopt;
    const Program program{state_->folder + "/corvystack-worker-" + request.family, *subject,
                          request.limits.network};
    auto worker = state_->running(program);
    bool isFresh = false;
    for (;;) {
        if (!worker) {
            worker = state_->spawned(program);
            isFresh = true;
        }
        if (!worker) return std::nullopt;
        Operation operation(worker, request, deadline);
        const Outcome outcome = operation.run();
        if (outcome == Outcome::answered) return std::move(operation.result);
        if (worker->isGone() || !operation.clearAway()) state_->drop(program, worker);
        // A warm process that had died before it could begin: once more, with a new one.
        if (outcome == Outcome::failed || isFresh || !worker->isGone()) return std::nullopt;
        worker.reset();
    }
}

std::string programFolder() {
    if (const char* folder = std::getenv("CORVYSTACK_LIBEXEC"); folder && *folder) return folder;
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path().string();
}

}  // namespace corvy::platform
