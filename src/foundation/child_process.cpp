#include "foundation/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "foundation/system_log.h"

namespace corvy {

namespace {

void check(int error, const std::string& what) {
    if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

// The attributes and file actions of one spawn.
class SpawnPlan {
public:
    SpawnPlan() {
        check(posix_spawnattr_init(&attributes_), "posix_spawnattr_init");
        if (const int error = posix_spawn_file_actions_init(&actions_)) {
            posix_spawnattr_destroy(&attributes_);
            check(error, "posix_spawn_file_actions_init");
        }
    }
    ~SpawnPlan() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    void set(const ChildSetup& setup) {
        short flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
        sigset_t signals;
        sigemptyset(&signals);
        check(posix_spawnattr_setsigmask(&attributes_, &signals), "posix_spawnattr_setsigmask");
        // What a program may have ignored for itself and its children must not inherit: a helper
        // has to hear SIGTERM and to learn of the ends of its own children.
        for (const int number : {SIGTERM, SIGCHLD, SIGPIPE}) sigaddset(&signals, number);
        check(posix_spawnattr_setsigdefault(&attributes_, &signals),
              "posix_spawnattr_setsigdefault");
        if (setup.ownGroup) flags |= POSIX_SPAWN_SETPGROUP;
        check(posix_spawnattr_setflags(&attributes_, flags), "posix_spawnattr_setflags");

        if (setup.discardsOutput) {
            for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
                check(posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_WRONLY,
                                                       0),
                      "posix_spawn_file_actions_addopen");
            }
        }
        if (setup.standardError >= 0) {
            check(posix_spawn_file_actions_adddup2(&actions_, setup.standardError, STDERR_FILENO),
                  "posix_spawn_file_actions_adddup2");
        }
        check(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1),
              "posix_spawn_file_actions_addclosefrom_np");
    }

    const posix_spawnattr_t* attributes() const { return &attributes_; }
    const posix_spawn_file_actions_t* actions() const { return &actions_; }

private:
    posix_spawnattr_t attributes_;
    posix_spawn_file_actions_t actions_;
};

// "KEY=VALUE" entries: those of this process, but for the keys that are added.
std::vector<std::string> environmentWith(const std::map<std::string, std::string>& added) {
    std::vector<std::string> entries;
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string_view text = *entry;
        if (!added.contains(std::string(text.substr(0, text.find('=')))))
            entries.emplace_back(text);
    }
    for (const auto& [key, value] : added) {
        std::string entry = key;
        entry += '=';
        entry += value;
        entries.push_back(std::move(entry));
    }
    return entries;
}

// Pointers to the strings and a null at the end; valid as long as `strings` is.
std::vector<char*> pointersTo(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    pointers.reserve(strings.size() + 1);
    for (std::string& string : strings) pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

// Reaps the child whenever it ends. The thread takes no signals, so that those of the program
// still reach the threads that wait for them.
void reapLater(pid_t pid) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread([pid] {
            while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
            }
        }).detach();
    } catch (const std::system_error&) {
        // No thread to be had: the system reaps the child when this process ends.
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

int exitStatus(int waitStatus) {
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
}

}  // namespace

ChildProcess::ChildProcess(ChildSetup setup) : setup_(std::move(setup)) {}

ChildProcess::~ChildProcess() {
    if (isRunning()) reapLater(pid_);
}

void ChildProcess::launch() {
    if (pid_ != 0) throw std::logic_error("launched before: " + setup_.launchPath);
    SpawnPlan plan;
    plan.set(setup_);
    std::vector<std::string> arguments = {setup_.launchPath};
    arguments.insert(arguments.end(), setup_.arguments.begin(), setup_.arguments.end());
    std::vector<std::string> environment = environmentWith(setup_.environment);
    pid_t pid = 0;
    check(posix_spawn(&pid, setup_.launchPath.c_str(), plan.actions(), plan.attributes(),
                      pointersTo(arguments).data(), pointersTo(environment).data()),
          "cannot start " + setup_.launchPath);
    pid_ = pid;
}

bool ChildProcess::isRunning() {
    if (pid_ == 0 || status_) return false;
    int waitStatus = 0;
    const pid_t ended = waitpid(pid_, &waitStatus, WNOHANG);
    if (ended == pid_) status_ = exitStatus(waitStatus);
    if (ended < 0) status_ = -1;
    return ended == 0;
}

void ChildProcess::signal(int number) {
    // A child that is not reaped keeps its number, so the signal cannot reach a stranger.
    if (isRunning() && ::kill(pid_, number) != 0)
        check(errno, "cannot signal " + setup_.launchPath);
}

void ChildProcess::terminate() {
    signal(SIGTERM);
}

void ChildProcess::kill() {
    signal(SIGKILL);
}

int ChildProcess::waitUntilExit() {
    while (!status_) {
        int waitStatus = 0;
        const pid_t ended = waitpid(pid_, &waitStatus, 0);
        if (ended == pid_) {
            status_ = exitStatus(waitStatus);
        } else if (errno != EINTR) {
            status_ = -1;
        }
    }
    return *status_;
}

bool ChildProcess::launchAndWaitUntilExitAs(std::u16string_view operation) {
    try {
        launch();
        return waitUntilExit() == 0;
    } catch (const std::exception& exception) {
        logException(operation, u"ChildProcess", describeException(exception));
        return false;
    }
}

bool ChildProcess::launchAndWaitUntilExit() {
    return launchAndWaitUntilExitAs(u"launchAndWaitUntilExit");
}

bool ChildProcess::launchTaskAndWaitUntilExitWithLaunchPath(const std::string& launchPath,
                                                            std::vector<std::string> arguments) {
    ChildProcess child({.launchPath = launchPath, .arguments = std::move(arguments)});
    return child.launchAndWaitUntilExitAs(u"launchTaskAndWaitUntilExitWithLaunchPath:arguments:");
}

}  // namespace corvy
