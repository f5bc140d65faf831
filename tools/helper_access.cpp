#include "tools/helper_access.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <system_error>

#include "client/helper_connection.h"
#include "client/im_export.h"
#include "foundation/text.h"
#include "platform/messaging.h"
#include "tools/command.h"
#include "tools/files.h"
#include "tools/import/record.h"
#include "tools/interrupt.h"

namespace corvy::tools {

namespace {

// Adapts the client's private helper to what a slot needs.
class OwnedPrivateHelper : public OwnedHelper {
public:
    explicit OwnedPrivateHelper(std::unique_ptr<PrivateHelper> helper)
        : helper_(std::move(helper)), process_(helper_->processIdentifier()) {}
    RootProxy& proxy() override { return helper_->client().proxy(); }
    bool isRunning() override { return helper_->isRunning(); }
    void kill() override { ::kill(process_, SIGKILL); }

private:
    std::unique_ptr<PrivateHelper> helper_;
    const pid_t process_;
};

}  // namespace

HelperAccess::HelperAccess(Launching launching, double timeout) {
    if (launching != Launching::always) {
        registered_ = platform::rootProxyForConnectionWithRegisteredName(kCorvyStackHelperName);
        proxy_ = registered_.get();
        if (!proxy_ && launching == Launching::never) {
            throw HelperUnreachable("no helper is registered; `corvystack serve` starts one");
        }
    }
    if (!proxy_) {
        watchInterrupts();
        private_ = std::make_unique<PrivateHelper>();
        if (!private_->start([] { return !isInterrupted(); })) {
            throw HelperUnreachable("the helper could not be started: " + helperProgramPath());
        }
        killOnInterrupt(private_->processIdentifier());
        proxy_ = &private_->client().proxy();
    }
    proxy_->setProtocol(&CorvyImExport());
    if (timeout > 0) {
        proxy_->setRequestTimeout(timeout);
        proxy_->setReplyTimeout(timeout);
    }
}

HelperAccess::~HelperAccess() {
    killOnInterrupt(0);
}

FileForHelper::FileForHelper(const std::string& file, bool mayBeFolder) {
    std::string path = file;
    int error = 0;
    if (file == "-") {
        const FileContents contents = readFile(file);
        memory_.reset(::memfd_create("standard-input", MFD_CLOEXEC));
        ::fchmod(memory_.get(), 0600);  // a program otherwise, by its mode
        path = "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(memory_.get());
        error = contents.error != 0 ? contents.error : writeFile(path, contents.bytes.chars());
    } else {
        error = errorOfOpening(file);
        if (error == EISDIR && mayBeFolder) error = 0;
    }
    if (error == ENOTSUP) {
        fault_ = explanationOfError("specialFile");
    } else if (error != 0) {
        fault_ = reasonOf(error);
    } else {
        path_ = pathFromBytes(std::filesystem::absolute(path).native());
    }
}

std::unique_ptr<OwnedHelper> launchOwnedHelper() {
    auto helper = std::make_unique<PrivateHelper>();
    if (!helper->start([] { return !isInterrupted(); })) return nullptr;
    return std::make_unique<OwnedPrivateHelper>(std::move(helper));
}

std::string workerProgramFolder() {
    return std::filesystem::path(helperProgramPath()).parent_path().string();
}

std::vector<std::string> workerFamilies() {
    constexpr std::string_view kStart = "corvystack-worker-";
    std::vector<std::string> families;
    std::error_code failed;
    for (const auto& entry : std::filesystem::directory_iterator(workerProgramFolder(), failed)) {
        const std::string name = entry.path().filename();
        if (name.starts_with(kStart)) families.push_back(name.substr(kStart.size()));
    }
    std::ranges::sort(families);
    return families;
}

std::string explanationOf(const TransportError& error) {
    switch (error.kind()) {
        case TransportError::Kind::timeout: return "the helper did not answer in time";
        case TransportError::Kind::connectionLost: return "the helper died";
        case TransportError::Kind::protocol: break;
    }
    return std::string("the helper's answer was not understood: ") + error.what();
}

}  // namespace corvy::tools
