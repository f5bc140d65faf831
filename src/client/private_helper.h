// A helper that only its owner reaches: it registers in a runtime folder of its own, so that any
// number of them run side by side, and beside the one that all programs share.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "client/corvy_client.h"
#include "client/helper_connection.h"
#include "foundation/child_process.h"

namespace corvy {

// Used from one thread. Keys typed at the terminal do not reach the helper, so that its owner
// decides what Ctrl-C ends.
class PrivateHelper {
public:
    explicit PrivateHelper(HelperOptions options = {});  // starts nothing yet
    ~PrivateHelper();                                    // as kill()
    PrivateHelper(const PrivateHelper&) = delete;
    PrivateHelper& operator=(const PrivateHelper&) = delete;

    // Ends the helper that ran so far, starts a fresh one and waits until it is registered. False,
    // with nothing left behind, when it cannot be started, ends before that, or needs more than
    // 10 s. `goOn` is asked all the while; false ends the attempt.
    bool start(const std::function<bool()>& goOn = nullptr);
    // False as soon as the process has ended by itself.
    bool isRunning();
    // Ends the process, waits for its end and removes its folder.
    void kill();

    // 0 when there is no process.
    pid_t processIdentifier() const { return child_ ? child_->processIdentifier() : 0; }
    // Of the helper that start() started and kill() has not ended; a later start() makes another.
    CorvyStackClient& client();

private:
    HelperOptions options_;
    std::string folder_;  // empty when there is none
    std::unique_ptr<ChildProcess> child_;
    std::optional<CorvyStackClient> client_;
};

}  // namespace corvy
