// A program that runs as a child of this process.
//
// Children inherit the working directory, standard input and, unless told otherwise, standard
// output and error; every other descriptor is closed. They start with no signal blocked. None is
// left behind as a zombie: a child that outlives its handle is waited for in the background.
#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvy {

// What to start, and how.
struct ChildSetup {
    std::string launchPath;  // not searched for in PATH
    std::vector<std::string> arguments = {};
    std::map<std::string, std::string> environment = {};  // added to that of this process
    bool discardsOutput = false;  // standard output and error go to the null device
    int standardError = -1;       // a descriptor that becomes the child's standard error
    bool ownGroup = false;        // keys typed at the terminal, such as Ctrl-C, do not reach it
};

// One start of a program. Used from one thread.
class ChildProcess {
public:
    explicit ChildProcess(ChildSetup setup);
    ~ChildProcess();  // does not end the child, nor wait for it
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Throws std::system_error when the program cannot be started, std::logic_error when it has
    // been before.
    void launch();
    bool isRunning();
    // Asks the child to end (SIGTERM), or ends it (SIGKILL), without waiting for it; nothing
    // happens when it is not running. Throws std::system_error when the system refuses.
    void terminate();
    void kill();
    // Waits for the end of a launched child and gives its exit status: that of the program, or 128
    // and the number of the signal that ended it, or -1 when the system has forgotten it (as when
    // this process ignores SIGCHLD).
    int waitUntilExit();
    // 0 before the launch.
    pid_t processIdentifier() const { return pid_; }

    // Launches and waits: true exactly when the exit status is 0. What cannot be started is logged
    // and gives false.
    bool launchAndWaitUntilExit();
    static bool launchTaskAndWaitUntilExitWithLaunchPath(const std::string& launchPath,
                                                         std::vector<std::string> arguments);

private:
    void signal(int number);
    bool launchAndWaitUntilExitAs(std::u16string_view operation);

    ChildSetup setup_;
    pid_t pid_ = 0;
    std::optional<int> status_;  // set once the child is reaped
};

}  // namespace corvy
