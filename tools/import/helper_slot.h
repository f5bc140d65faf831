// A place for one private helper, which is replaced when it dies or takes too long. What it was at
// is then tried once more.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "foundation/remote_interface.h"

namespace corvy::tools {

// A helper of our own: a process and the proxy of its object. Its end comes with the destructor,
// whatever state it is in.
class OwnedHelper {
public:
    virtual ~OwnedHelper() = default;
    virtual RootProxy& proxy() = 0;
    virtual bool isRunning() = 0;
    // Ends the process at once: a call that waits for it fails. From any thread.
    virtual void kill() = 0;
};

// Null when no helper comes up.
using LaunchHelper = std::function<std::unique_ptr<OwnedHelper>()>;

// Whether the error of a call says that it cost its helper.
bool isHelperLost(std::string_view error);

class HelperSlot {
public:
    // `timeout` in seconds, for each call.
    HelperSlot(LaunchHelper launch, double timeout);

    struct Answer {
        RemoteValue value;
        std::string_view error;  // empty, or in the words of records.md; "" too when stopped
        bool stopped = false;
    };
    // Launches a helper when there is none that runs. A helper that died while it was idle is
    // replaced without a word. One that fails the call is ended, and a fresh one, which has served
    // nothing before, is asked again: what ends both is the call's own fault.
    Answer call(std::string_view selector, std::vector<RemoteValue> arguments);

    // From any thread: ends the helper, and every call from now on.
    void stop();
    // Whether a helper ever came up.
    bool hasLaunched() const { return launched_; }

private:
    Answer attempt(std::string_view selector, std::vector<RemoteValue> arguments);
    OwnedHelper* runningHelper();
    void drop();

    LaunchHelper launch_;
    double timeout_;
    std::mutex mutex_;  // over the two below
    std::unique_ptr<OwnedHelper> helper_;
    bool stopped_ = false;
    bool launched_ = false;
    int failures_ = 0;  // launches in a row
};

}  // namespace corvy::tools
