#include "platform/worker.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "foundation/descriptor.h"
#include "foundation/text.h"
#include "platform/worker_frames.h"
#include "platform/worker_limits.h"
#include "platform/worker_once.h"

namespace corvy::platform {

namespace {

void waitFor(int descriptor, short events) {
    pollfd entry{descriptor, events, 0};
    ::poll(&entry, 1, -1);
}

void removeFolder(const std::string& path) {
    std::error_code error;
    std::filesystem::remove_all(path, error);
}

// True when the folder is there afterwards and nobody else's.
bool makeOwnFolder(const std::string& path) {
    if (::mkdir(path.c_str(), S_IRWXU) == 0) return true;
    struct stat status {};
    return errno == EEXIST && ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

// Where the operations of one program have their temporary folders.
struct TemporaryFolder {
    std::string base;

    std::string of(std::uint64_t operation) const { return base + '/' + std::to_string(operation); }
};

// The channel of a child. When the pool is gone the child just ends.
class PoolChannel final : public WorkerChannel {
public:
    PoolChannel(int socket, TemporaryFolder folder, std::uint64_t operation)
        : socket_(socket),
          reader_(socket, std::numeric_limits<std::uint64_t>::max()),
          folder_(std::move(folder)),
          operation_(operation) {}

    void sendPart(const PropertyList& part) override { send(FrameKind::part, part); }

    PropertyList ask(const PropertyList& question) override {
        send(FrameKind::question, question);
        return receive(FrameKind::answer);
    }

    std::string temporaryFolder() override {
        std::string path = folder_.of(operation_);
        if (!makeOwnFolder(folder_.base) || !makeOwnFolder(path)) return {};
        ::setenv("TMPDIR", path.c_str(), 1);
        return path;
    }

    void send(FrameKind kind, const PropertyList& value) {
        auto writer = FrameWriter::of(kind, value);
        if (!writer) throw std::length_error("a value is too large to be sent");
        for (;;) {
            const FrameState state = writer->write(socket_);
            if (state == FrameState::ready) return;
            if (state == FrameState::closed) ::_exit(EXIT_FAILURE);
            waitFor(socket_, POLLOUT);
        }
    }

    PropertyList receive(FrameKind kind) {
        Frame frame;
        for (;;) {
            const FrameState state = reader_.read(frame);
            if (state == FrameState::closed) ::_exit(EXIT_FAILURE);
            if (state == FrameState::ready) break;
            waitFor(socket_, POLLIN);
        }
        if (frame.kind != kind) ::_exit(EXIT_FAILURE);
        return std::move(frame.value);
    }

private:
    int socket_;
    FrameReader reader_;
    TemporaryFolder folder_;
    std::uint64_t operation_;
};

// The life of a child.
[[noreturn]] void runChild(const WorkerFamily& family, const WorkerLimits& limits,
                           PoolChannel channel, pid_t parent) {
    // The limits end the child with its parent; one that ended before is seen here.
    if (!applyWorkerLimits(limits) || ::getppid() != parent) ::_exit(EXIT_FAILURE);
    try {
        channel.send(FrameKind::began, Null());
        const PropertyList request = channel.receive(FrameKind::request);
        const Array* call = request.array();
        if (!call || call->size() != 2 || !(*call)[0].string() || !(*call)[1].dictionary()) {
            ::_exit(EXIT_FAILURE);
        }
        const auto result = runWorkerOperation(family, toUtf8(*(*call)[0].string()),
                                               *(*call)[1].dictionary(), channel);
        if (result) channel.send(FrameKind::result, *result);
    } catch (...) {
        ::_exit(EXIT_FAILURE);
    }
    ::_exit(EXIT_SUCCESS);
}

// The warm process: forks a child for each operation and is the only one to kill and reap it.
class Server {
public:
    Server(const WorkerFamily& family, std::string temporaryFolder)
        : family_(family), folder_{std::move(temporaryFolder)} {
        ::sigemptyset(&childSignal_);
        ::sigaddset(&childSignal_, SIGCHLD);
        ::sigprocmask(SIG_BLOCK, &childSignal_, nullptr);
        signals_.reset(::signalfd(-1, &childSignal_, SFD_CLOEXEC | SFD_NONBLOCK));
    }

    int serve() {
        std::array<pollfd, 2> entries{
            {{kControlDescriptor, POLLIN, 0}, {signals_.get(), POLLIN, 0}}};
        for (;;) {
            if (::poll(entries.data(), entries.size(), -1) < 0 && errno != EINTR) break;
            if (entries[1].revents != 0) reap();
            if (entries[0].revents != 0 && !takeMessage()) break;
        }
        for (const auto& [operation, child] : children_) ::kill(-child.pid, SIGKILL);
        for (const auto& [operation, child] : children_) ::waitpid(child.pid, nullptr, 0);
        do {
            killStrays();
        } while (::waitpid(-1, nullptr, 0) > 0);
        removeFolder(folder_.base);
        return EXIT_SUCCESS;
    }

private:
    struct Child {
        pid_t pid = -1;
        bool confirms = false;
    };

    // False when the pool is gone.
    bool takeMessage() {
        auto received = receiveControl(kControlDescriptor);
        if (!received) return false;
        const ControlMessage& message = received->message;
        if (message.kind == ControlKind::start) {
            start(message, std::move(received->channel));
            return true;
        }
        const bool confirms = message.kind == ControlKind::endAndConfirm;
        const auto found = children_.find(message.operation);
        if (found != children_.end()) {
            ::kill(-found->second.pid, SIGKILL);
            found->second.confirms = confirms;
        } else if (confirms) {
            sendControl(kControlDescriptor, {ControlKind::confirmed, message.operation, {}});
        }
        return true;
    }

    void start(const ControlMessage& message, Descriptor channel) {
        const pid_t parent = ::getpid();
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::setpgid(0, 0);
            ::close(kControlDescriptor);
            signals_.reset();
            ::sigprocmask(SIG_UNBLOCK, &childSignal_, nullptr);
            runChild(family_, message.limits,
                     PoolChannel(channel.get(), folder_, message.operation), parent);
        }
        if (pid < 0) return;
        // Both set it, since either may come first.
        ::setpgid(pid, pid);
        children_[message.operation] = {pid, false};
    }

    // What has ended: children, and orphans that they left behind, which came to us.
    void reap() {
        signalfd_siginfo signal{};
        while (::read(signals_.get(), &signal, sizeof signal) > 0) {
        }
        for (;;) {
            siginfo_t info{};
            if (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid == 0) {
                break;
            }
            bury(info.si_pid);
        }
        killStrays();
        // What an orphan still wrote while it was killed.
        if (children_.empty()) removeFolder(folder_.base);
    }

    // Ends what left the group of its operation; when its own parents are gone, it comes to us.
    void killStrays() {
        siginfo_t info{};
        if (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0) return;  // no child at all
        std::ifstream list("/proc/thread-self/children");
        for (pid_t pid = 0; list >> pid;) {
            if (find(pid) == children_.end()) ::kill(pid, SIGKILL);
        }
    }

    std::map<std::uint64_t, Child>::iterator find(pid_t pid) {
        return std::find_if(children_.begin(), children_.end(),
                            [pid](const auto& entry) { return entry.second.pid == pid; });
    }

    void bury(pid_t pid) {
        const auto found = find(pid);
        // As long as the leader is not reaped its number stands for its group alone.
        if (found != children_.end()) ::kill(-pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
        if (found == children_.end()) return;
        removeFolder(folder_.of(found->first));
        if (found->second.confirms) {
            sendControl(kControlDescriptor, {ControlKind::confirmed, found->first, {}});
        }
        children_.erase(found);
    }

    const WorkerFamily& family_;
    TemporaryFolder folder_;
    sigset_t childSignal_{};
    Descriptor signals_;
    std::map<std::uint64_t, Child> children_;
};

void prepare(const WorkerFamily& family, const char* subject) {
    if (!family.prepare || !*subject) return;
    const PreparationLimits limits;
    try {
        family.prepare(pathFromBytes(subject));
    } catch (...) {
        // Operations find out for themselves what does not work.
    }
}

// The folder for temporary files, then the subject.
int serve(const WorkerFamily& family, bool network, char** arguments) {
    if (!confineProgram(network)) return EXIT_FAILURE;
    ::unsetenv("LD_BIND_NOW");  // it was meant for us; what operations start is used but once
    // Errors of writing, not ends: a subprocess that left early, a file beyond its limit.
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXFSZ, SIG_IGN);
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    // When the machine runs out of memory, it shall be our children that go, not the application.
    std::ofstream("/proc/self/oom_score_adj") << 500;
    ::fcntl(kControlDescriptor, F_SETFD, FD_CLOEXEC);
    try {
        if (family.initialise) family.initialise();
    } catch (...) {
        return EXIT_FAILURE;
    }
    prepare(family, arguments[1]);
    return Server(family, arguments[0]).serve();
}

}  // namespace

int workerMain(const WorkerFamily& family, int argc, char** argv) {
    const std::string_view mode = argc > 1 ? argv[1] : "";
    if (argc == 4 && (mode == kServe || mode == kServeWithNetwork)) {
        return serve(family, mode == kServeWithNetwork, argv + 2);
    }
    return runWorkerOnce(family, argc, argv);
}

}  // namespace corvy::platform
