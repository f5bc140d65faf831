// Runs the built helper for a test, in a runtime folder of its own.
#pragma once

#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "client/im_export.h"
#include "platform/messaging.h"
#include "tests/support/processes.h"

namespace corvy::test {

// A runtime folder for this process and its children, as long as the value lives.
class RuntimeFolder {
public:
    RuntimeFolder() { setenv("CORVYSTACK_RUNTIME_DIR", path_.c_str(), 1); }
    ~RuntimeFolder() { unsetenv("CORVYSTACK_RUNTIME_DIR"); }
    const std::string& path() const { return path_; }

private:
    TemporaryFolder folder_;
    std::string path_ = folder_.path("");
};

// The processes whose parent is the given one.
inline std::vector<pid_t> childrenOf(pid_t parent) {
    std::vector<pid_t> children;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream stream(entry.path() / "stat");
        std::string stat;
        if (!std::getline(stream, stat)) continue;
        // "PID (NAME) STATE PARENT ...", where the name may hold anything.
        int parentOfEntry = 0;
        const std::size_t end = stat.rfind(')');
        if (end == std::string::npos) continue;
        std::sscanf(stat.c_str() + end, ") %*c %d", &parentOfEntry);
        if (parentOfEntry == parent) children.push_back(std::stoi(stat));
    }
    return children;
}

class HelperProcess {
public:
    explicit HelperProcess(const char* name = nullptr) {
        const std::string program = CORVY_BUILD_DIR "/corvystack-helper";
        std::string arguments[] = {program, "--name", name ? name : ""};
        char* argv[] = {arguments[0].data(), name ? arguments[1].data() : nullptr,
                        arguments[2].data(), nullptr};
        if (posix_spawn(&pid_, program.c_str(), nullptr, nullptr, argv, environ) != 0) pid_ = -1;
    }
    ~HelperProcess() {
        signal(SIGKILL);
        if (pid_ > 0) waitpid(pid_, nullptr, 0);
    }
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    pid_t pid() const { return pid_; }
    void signal(int number) const {
        if (pid_ > 0) kill(pid_, number);
    }
    bool runs() const { return pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) == 0; }

    // A proxy of the object that is registered under the name, as soon as there is one; null
    // after ten seconds.
    static std::unique_ptr<RootProxy> connect(std::string_view name = kCorvyStackHelperName) {
        for (int i = 0; i < 1000; ++i) {
            if (auto proxy = platform::rootProxyForConnectionWithRegisteredName(name)) {
                proxy->setProtocol(&CorvyImExport());
                return proxy;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return nullptr;
    }

private:
    pid_t pid_ = -1;
};

}  // namespace corvy::test
