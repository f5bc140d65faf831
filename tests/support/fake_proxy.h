// A vended object that lives in the test.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/remote_interface.h"

namespace corvy::test {

// What happened to all the proxies of one object.
struct FakeObject {
    std::vector<double> requestTimeouts;
    std::vector<double> replyTimeouts;
    std::vector<const RemoteInterface*> protocols;
    std::vector<std::string> selectors;               // of the calls, in their order
    std::vector<std::vector<RemoteValue>> arguments;  // of the same calls
    std::function<bool(std::string_view)> responds = [](std::string_view) { return true; };
    std::function<RemoteValue()> answer = [] { return RemoteValue(); };
};

class FakeProxy : public RootProxy {
public:
    explicit FakeProxy(FakeObject& object) : object_(object) {}

    void setRequestTimeout(double seconds) override { object_.requestTimeouts.push_back(seconds); }
    void setReplyTimeout(double seconds) override { object_.replyTimeouts.push_back(seconds); }
    void setProtocol(const RemoteInterface* protocol) override {
        object_.protocols.push_back(protocol);
    }
    bool respondsTo(std::string_view selector) override { return object_.responds(selector); }
    RemoteValue call(std::string_view selector, std::vector<RemoteValue> arguments) override {
        object_.selectors.emplace_back(selector);
        object_.arguments.push_back(std::move(arguments));
        return object_.answer();
    }

private:
    FakeObject& object_;
};

}  // namespace corvy::test
