// Runtime folders and other processes for the messaging tests.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "foundation/descriptor.h"
#include "platform/messaging.h"
#include "tests/platform/messaging_peer.h"

namespace corvy::platform {

inline constexpr const char* kName = "TestService1.0";

// A program that is killed when this goes.
class OtherProcess {
public:
    explicit OtherProcess(std::vector<std::string> command) {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0) return;
        output_ = Descriptor(ends[0]);
        const Descriptor written(ends[1]);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, written.get(), STDOUT_FILENO);
        std::vector<char*> arguments;
        for (std::string& word : command) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        if (posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) {
            pid_ = -1;
        }
        posix_spawn_file_actions_destroy(&actions);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;
    ~OtherProcess() { kill(); }

    // The next line that it prints; empty after ten seconds or at its end.
    std::string line() {
        std::string text;
        char c = 0;
        pollfd wait = {output_.get(), POLLIN, 0};
        while (poll(&wait, 1, 10'000) > 0 && read(output_.get(), &c, 1) == 1 && c != '\n') {
            text += c;
        }
        return text;
    }
    // All that it prints until its end.
    std::string output() {
        std::string text;
        char buffer[4096];
        ssize_t count = 0;
        while ((count = read(output_.get(), buffer, sizeof buffer)) > 0) {
            text.append(buffer, static_cast<std::size_t>(count));
        }
        return text;
    }
    void signal(int number) const { ::kill(pid_, number); }
    void kill() {
        if (pid_ <= 0) return;
        signal(SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
    bool running() const { return pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) == 0; }

private:
    pid_t pid_ = -1;
    Descriptor output_;
};

inline sockaddr_un addressOf(const std::string& socketFile) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    socketFile.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

// A socket bound to the path, listening unless the backlog is negative; nobody accepts.
inline Descriptor bindSocket(const std::string& path, int backlog) {
    const sockaddr_un address = addressOf(path);
    Descriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    if (backlog >= 0) {
        EXPECT_EQ(listen(fd.get(), backlog), 0);
    }
    return fd;
}

inline std::string peerProgram() {
    return std::string(CORVY_BUILD_DIR) + "/tests/messaging_peer";
}

// Every test has a runtime folder of its own.
class MessagingTest : public testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/corvyXXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        base_ = pattern;
        use(base_ + "/run");
    }
    void TearDown() override {
        unsetenv("CORVYSTACK_RUNTIME_DIR");
        std::filesystem::remove_all(base_);
    }

    void use(const std::string& folder) {
        folder_ = folder;
        setenv("CORVYSTACK_RUNTIME_DIR", folder.c_str(), 1);
    }
    std::set<std::string> filesIn(const std::string& folder) const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            names.insert(entry.path().filename());
        }
        return names;
    }
    std::string socketFile() const { return folder_ + "/" + kName; }

    std::string base_;    // ours, removed at the end
    std::string folder_;  // the runtime folder
};

// A service is running.
class MessagingServiceTest : public MessagingTest {
protected:
    void SetUp() override {
        MessagingTest::SetUp();
        start({});
    }
    void start(const std::vector<std::string>& switches) {
        std::vector<std::string> command = {peerProgram(), kName};
        command.insert(command.end(), switches.begin(), switches.end());
        service_.reset();
        service_ = std::make_unique<OtherProcess>(command);
        ASSERT_EQ(service_->line(), "registered");
    }
    std::unique_ptr<RootProxy> proxy() const {
        auto found = rootProxyForConnectionWithRegisteredName(kName);
        if (found != nullptr) found->setProtocol(&testInterface());
        return found;
    }
    // The service is there and answers.
    void expectAlive() const {
        const auto other = proxy();
        ASSERT_NE(other, nullptr);
        EXPECT_EQ(other->call("echo:", {u"alive"}), RemoteValue(u"alive"));
    }

    std::unique_ptr<OtherProcess> service_;
};

inline double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// How the call failed; none when it did not.
template <typename Call>
std::optional<TransportError::Kind> failureOf(Call call) {
    try {
        call();
    } catch (const TransportError& failure) {
        return failure.kind();
    }
    return std::nullopt;
}

}  // namespace corvy::platform
