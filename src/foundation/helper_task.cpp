#include "foundation/helper_task.h"

#include <chrono>
#include <thread>
#include <utility>

#include "foundation/system_log.h"
#include "foundation/text.h"

namespace corvy {

namespace {

constexpr double kPause = 0.05;             // seconds
constexpr double kRegistrationLimit = 2.0;  // seconds
constexpr std::u16string_view kClassName = u"HelperTask";

void pause() {
    std::this_thread::sleep_for(std::chrono::duration<double>(kPause));
}

bool answersStillBusy(RootProxy& proxy) {
    if (!proxy.respondsTo("stillBusy")) return false;
    const RemoteValue answer = proxy.call("stillBusy", {});
    return answer && answer->boolean().value_or(false);
}

}  // namespace

std::unique_ptr<RootProxy> waitForRootProxyForConnectionWithRegisteredName(const Connect& connect,
                                                                           std::string_view name,
                                                                           double timeout) {
    // kept: time is counted by adding up the pauses, not by the clock; the rounding of the sum
    // decides how many lookups there are.
    for (double elapsed = 0; timeout > elapsed; elapsed += kPause) {
        pause();
        if (auto proxy = connect(name)) return proxy;
    }
    return nullptr;
}

std::unique_ptr<HelperTask> HelperTask::initWithPath(std::string path,
                                                     std::string registeredProxyName,
                                                     Connect connect,
                                                     const HelperTaskOptions& options) {
    if (path.empty() || registeredProxyName.empty()) {
        // kept: names the proxy, also where it is the path that is missing.
        systemLog(u"Helper missing: " + fromUtf8(registeredProxyName));
        return nullptr;
    }
    return std::unique_ptr<HelperTask>(new HelperTask(
        std::move(path), std::move(registeredProxyName), std::move(connect), options));
}

HelperTask::HelperTask(std::string path, std::string proxyName, Connect connect,
                       const HelperTaskOptions& options)
    : proxyName_(std::move(proxyName)),
      path_(std::move(path)),
      connect_(std::move(connect)),
      timeout_(options.timeout),
      protocol_(options.protocol),
      logging_(options.logging) {}

HelperTask::~HelperTask() {
    terminate();
}

std::unique_ptr<RootProxy> HelperTask::launchUsingTimeout(double timeout) {
    terminate();
    try {
        task_ = std::make_unique<ChildProcess>(
            ChildSetup{.launchPath = path_, .discardsOutput = !logging_});
        task_->launch();
        if (!task_->isRunning()) {
            task_.reset();
            return nullptr;
        }
        auto proxy = waitForRootProxyForConnectionWithRegisteredName(connect_, proxyName_,
                                                                     kRegistrationLimit);
        if (!proxy) {
            // kept: the child runs on and stays owned; it may register later.
            systemLog(u"Connection to " + std::u16string(lastPathComponent(pathFromBytes(path_))) +
                      u" failed.");
            return nullptr;
        }
        initProxy(*proxy, timeout);
        return proxy;
    } catch (const std::exception& exception) {
        logException(u"launchUsingTimeout:", kClassName, describeException(exception));
        terminate();
        return nullptr;
    }
}

std::unique_ptr<RootProxy> HelperTask::launchedProxyUsingTimeout(double timeout) {
    std::unique_ptr<RootProxy> proxy;
    try {
        proxy = connect_(proxyName_);
        if (proxy) initProxy(*proxy, timeout);
    } catch (const std::exception& exception) {
        logException(u"launchedProxyUsingTimeout:", kClassName, describeException(exception));
    }
    return proxy;
}

std::unique_ptr<RootProxy> HelperTask::proxyUsingTimeout(double timeout) {
    if (auto proxy = launchedProxyUsingTimeout(timeout)) return proxy;
    return launchUsingTimeout(timeout);
}

bool HelperTask::stillBusy() {
    const auto proxy = launchedProxy();
    return proxy && answersStillBusy(*proxy);
}

void HelperTask::waitUntilDone(double seconds) {
    const auto proxy = launchedProxy();
    if (!proxy) return;
    try {
        double elapsed = 0;
        while (answersStillBusy(*proxy)) {
            pause();
            elapsed += kPause;
            if (!(seconds > elapsed)) return;
        }
    } catch (const std::exception&) {
        // A helper that cannot be asked is waited for no longer.
    }
}

void HelperTask::terminate() {
    if (!task_) return;
    try {
        task_->terminate();
    } catch (const std::exception& exception) {
        logException(u"terminate", kClassName, describeException(exception));
    }
    task_.reset();
}

void HelperTask::initProxy(RootProxy& proxy, double timeout) const {
    if (timeout > 0) {
        proxy.setRequestTimeout(timeout);
        proxy.setReplyTimeout(timeout);
    }
    if (protocol_) proxy.setProtocol(protocol_);
}

}  // namespace corvy
