#include "client/private_helper.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/un.h>
#include <unistd.h>

#include <cassert>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/messaging.h"

namespace corvy {

namespace {

constexpr std::chrono::seconds kRegistrationLimit(10);
constexpr std::chrono::milliseconds kPause(1);
// Behind the folder, a socket's path has a slash, the name, and for a while a dot and a process
// number as well.
constexpr std::size_t kLongestNumber = 10;

// A new folder that only this user may enter; empty when none can be made.
std::string makeRuntimeFolder(const std::string& name) {
    std::error_code failed;
    const std::filesystem::path preferred = std::filesystem::temp_directory_path(failed);
    for (const std::filesystem::path& parent : {preferred, std::filesystem::path(P_tmpdir)}) {
        std::error_code nowhere;
        std::string folder = std::filesystem::absolute(parent, nowhere) / "corvystack-XXXXXX";
        const std::size_t length = folder.size() + 1 + name.size() + 1 + kLongestNumber;
        const bool fits = length < sizeof sockaddr_un::sun_path;
        if (!parent.empty() && !nowhere && fits && mkdtemp(folder.data())) return folder;
    }
    return {};
}

}  // namespace

PrivateHelper::PrivateHelper(HelperOptions options) : options_(std::move(options)) {
    if (options_.path.empty()) options_.path = helperProgramPath();
}

PrivateHelper::~PrivateHelper() {
    kill();
}

bool PrivateHelper::start(const std::function<bool()>& goOn) {
    kill();
    folder_ = makeRuntimeFolder(options_.registeredProxyName);
    if (folder_.empty()) return false;
    child_ = std::make_unique<ChildProcess>(
        ChildSetup{.launchPath = options_.path,
                   .environment = {{"CORVYSTACK_RUNTIME_DIR", folder_},
                                   {"CORVYSTACK_OWNER", std::to_string(getpid())}},
                   .discardsOutput = !options_.logging,
                   .ownGroup = true});
    try {
        child_->launch();
        const auto limit = std::chrono::steady_clock::now() + kRegistrationLimit;
        while (child_->isRunning() && std::chrono::steady_clock::now() < limit &&
               (!goOn || goOn())) {
            if (auto proxy = platform::rootProxyForConnectionWithRegisteredName(
                    options_.registeredProxyName, folder_)) {
                client_.emplace(std::move(proxy));
                if (options_.timeout > 0) client_->setTimeout(options_.timeout);
                return true;
            }
            std::this_thread::sleep_for(kPause);
        }
    } catch (const std::system_error&) {
        // It cannot be started.
    }
    kill();
    return false;
}

bool PrivateHelper::isRunning() {
    return child_ && child_->isRunning();
}

void PrivateHelper::kill() {
    client_.reset();
    if (child_ && child_->isRunning()) {
        try {
            child_->kill();
            child_->waitUntilExit();
        } catch (const std::system_error&) {
            // A program that has become another user's is let go.
        }
    }
    child_.reset();
    if (!folder_.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
        folder_.clear();
    }
}

CorvyStackClient& PrivateHelper::client() {
    assert(client_);
    return *client_;
}

}  // namespace corvy
