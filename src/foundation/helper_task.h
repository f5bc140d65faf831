// The client side of a helper: starts the tool as a child process, waits until it has registered
// its vended object, and hands out proxies of that object.
//
// Waits block the calling thread. The connection is not kept: every proxy comes from a lookup of
// its own.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/child_process.h"
#include "foundation/remote_interface.h"

namespace corvy {

// Looks a name up, without waiting: the proxy of the object that is registered under it, or null.
using Connect = std::function<std::unique_ptr<RootProxy>(std::string_view name)>;

// Looks the name up every 0.05 s, the first time after 0.05 s, until it is found or the sum of the
// pauses has reached `timeout` (seconds). Null when it was not found; no lookup when `timeout` is
// not above 0.
std::unique_ptr<RootProxy> waitForRootProxyForConnectionWithRegisteredName(const Connect& connect,
                                                                           std::string_view name,
                                                                           double timeout);

struct HelperTaskOptions {
    // The interface that proxies are told to expect, or null. Not owned: it outlives the proxies.
    const RemoteInterface* protocol = nullptr;
    // In seconds, for requests and replies alike. With 0 the connection's own stay.
    double timeout = 0;
    bool logging = false;  // otherwise the helper's output goes to the null device
};

class HelperTask {
public:
    // Null, and "Helper missing: NAME" in the log, when path or name is empty.
    static std::unique_ptr<HelperTask> initWithPath(std::string path,
                                                    std::string registeredProxyName,
                                                    Connect connect,
                                                    const HelperTaskOptions& options = {});
    ~HelperTask();  // terminates the child
    HelperTask(const HelperTask&) = delete;
    HelperTask& operator=(const HelperTask&) = delete;

    // Terminates the child that it owns, starts a fresh one and waits up to 2 s for its
    // registration, whatever `timeout` is. Null when there is none by then: "Connection to TOOL
    // failed." is logged, and the child runs on. Where another process holds the name, the proxy
    // is that of the other one.
    std::unique_ptr<RootProxy> launchUsingTimeout(double timeout);
    std::unique_ptr<RootProxy> launch() { return launchUsingTimeout(timeout_); }
    // The proxy of a helper that is registered already, whoever started it, or null.
    std::unique_ptr<RootProxy> launchedProxyUsingTimeout(double timeout);
    std::unique_ptr<RootProxy> launchedProxy() { return launchedProxyUsingTimeout(timeout_); }
    // That of a registered helper, else of one that it launches.
    std::unique_ptr<RootProxy> proxyUsingTimeout(double timeout);
    std::unique_ptr<RootProxy> proxy() { return proxyUsingTimeout(timeout_); }

    // What a registered helper answers to `stillBusy`; false when there is none or it does not
    // implement that. What the call throws passes through.
    bool stillBusy();
    // Asks `stillBusy` every 0.05 s until the answer is false, asking fails, or the sum of the
    // pauses has reached `seconds`.
    void waitUntilDone(double seconds);
    // Asks the owned child to end, does not wait for that, and lets go of it.
    void terminate();

    double timeout() const { return timeout_; }
    void setTimeout(double seconds) { timeout_ = seconds; }
    void enableLogging() { logging_ = true; }
    void disableLogging() { logging_ = false; }
    // The owned child, or null.
    ChildProcess* task() const { return task_.get(); }

private:
    HelperTask(std::string path, std::string proxyName, Connect connect,
               const HelperTaskOptions& options);
    void initProxy(RootProxy& proxy, double timeout) const;

    std::unique_ptr<ChildProcess> task_;
    std::string proxyName_;
    std::string path_;
    Connect connect_;
    double timeout_;
    const RemoteInterface* protocol_;
    bool logging_;
};

}  // namespace corvy
