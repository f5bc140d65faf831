#include "tools/import/helper_slot.h"

#include <utility>

#include "client/im_export.h"

namespace corvy::tools {

namespace {

// A launch that fails may take seconds, so that not every file waits for one.
constexpr int kMostFailures = 3;

constexpr std::string_view kNoHelper = "noHelper";

std::string_view errorOf(TransportError::Kind kind) {
    switch (kind) {
        case TransportError::Kind::timeout: return "timeout";
        case TransportError::Kind::connectionLost: return "helperDied";
        case TransportError::Kind::protocol: break;
    }
    return "badAnswer";
}

}  // namespace

bool isHelperLost(std::string_view error) {
    return error == "timeout" || error == "helperDied" || error == "badAnswer";
}

HelperSlot::HelperSlot(LaunchHelper launch, double timeout)
    : launch_(std::move(launch)), timeout_(timeout) {}

HelperSlot::Answer HelperSlot::call(std::string_view selector, std::vector<RemoteValue> arguments) {
    Answer answer = attempt(selector, arguments);
    if (answer.stopped || !isHelperLost(answer.error)) return answer;
    Answer second = attempt(selector, std::move(arguments));
    // Without a second helper it stays at what the first one met.
    if (second.error == kNoHelper) second.error = answer.error;
    return second;
}

HelperSlot::Answer HelperSlot::attempt(std::string_view selector,
                                       std::vector<RemoteValue> arguments) {
    Answer answer;
    if (OwnedHelper* helper = runningHelper()) {
        try {
            answer.value = helper->proxy().call(selector, std::move(arguments));
        } catch (const TransportError& error) {
            answer.error = errorOf(error.kind());
            drop();
        } catch (const RemoteException&) {
            answer.error = "failed";
        }
    } else {
        answer.error = kNoHelper;
    }
    const std::scoped_lock lock(mutex_);
    answer.stopped = stopped_;
    return answer;
}

// Null when there is none to be had.
OwnedHelper* HelperSlot::runningHelper() {
    std::unique_ptr<OwnedHelper> dead;  // its remains go outside the lock
    {
        const std::scoped_lock lock(mutex_);
        if (stopped_) return nullptr;
        if (helper_ && helper_->isRunning()) return helper_.get();
        dead = std::move(helper_);
    }
    if (failures_ == kMostFailures) return nullptr;
    auto fresh = launch_();
    if (!fresh) {
        ++failures_;
        return nullptr;
    }
    failures_ = 0;
    launched_ = true;
    fresh->proxy().setProtocol(&CorvyImExport());
    fresh->proxy().setRequestTimeout(timeout_);
    fresh->proxy().setReplyTimeout(timeout_);
    const std::scoped_lock lock(mutex_);
    if (stopped_) return nullptr;
    helper_ = std::move(fresh);
    return helper_.get();
}

void HelperSlot::drop() {
    std::unique_ptr<OwnedHelper> helper;  // ends it outside the lock
    const std::scoped_lock lock(mutex_);
    helper = std::move(helper_);
}

void HelperSlot::stop() {
    const std::scoped_lock lock(mutex_);
    stopped_ = true;
    if (helper_) helper_->kill();
}

}  // namespace corvy::tools
