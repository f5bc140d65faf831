// Helpers without a process, whose calls do what the test says.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/import/helper_slot.h"

namespace corvy::tools {

struct FakeProxy : RootProxy {
    std::function<RemoteValue(const std::vector<RemoteValue>&)> answer;
    double timeout = 0;

    void setRequestTimeout(double) override {}
    void setReplyTimeout(double seconds) override { timeout = seconds; }
    void setProtocol(const RemoteInterface*) override {}
    bool respondsTo(std::string_view) override { return true; }
    RemoteValue call(std::string_view, std::vector<RemoteValue> arguments) override {
        return answer(arguments);
    }
};

struct FakeHelper : OwnedHelper {
    FakeProxy fake;
    bool running = true;
    std::function<void()> onKill = [] {};

    RootProxy& proxy() override { return fake; }
    bool isRunning() override { return running; }
    void kill() override { onKill(); }
};

}  // namespace corvy::tools
