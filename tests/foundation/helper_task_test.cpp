#include "foundation/helper_task.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

#include "foundation/system_log.h"
#include "tests/support/fake_proxy.h"
#include "tests/support/processes.h"

namespace corvy {
namespace {

using test::eventually;
using test::FakeObject;
using test::FakeProxy;
using test::isGone;

double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A name service of the test's own: the object is registered from lookup `foundAt` on.
struct Names {
    FakeObject object = {};
    int foundAt = 1;
    int lookups = 0;
    std::vector<std::string> names = {};

    Connect connect() {
        return [this](std::string_view name) -> std::unique_ptr<RootProxy> {
            names.emplace_back(name);
            if (++lookups < foundAt) return nullptr;
            return std::make_unique<FakeProxy>(object);
        };
    }
};

constexpr int kNever = 1'000'000;

std::unique_ptr<HelperTask> taskFor(Names& names, const std::string& path,
                                    const HelperTaskOptions& options = {}) {
    return HelperTask::initWithPath(path, "Tool.1", names.connect(), options);
}

TEST(HelperTask, NeedsPathAndName) {
    struct Case {
        const char* path;
        const char* name;
        const char16_t* logged;  // null: it succeeds
    };
    const Case cases[] = {
        {"", "Tool.1", u"Helper missing: Tool.1"},
        {"/bin/true", "", u"Helper missing: "},
        {"", "", u"Helper missing: "},
        {"/no/such/tool", "Tool.1", nullptr},
    };
    for (const Case& c : cases) {
        const LogCapture log;
        const auto task = HelperTask::initWithPath(c.path, c.name, Connect());
        EXPECT_EQ(task != nullptr, c.logged == nullptr) << c.path;
        ASSERT_EQ(log.entries().size(), c.logged ? 1U : 0U) << c.path;
        if (c.logged) {
            EXPECT_EQ(log.entries()[0], c.logged);
        }
    }
}

TEST(HelperTask, PollsByAddingUpThePauses) {
    struct Case {
        double timeout;
        int foundAt;
        int lookups;
    };
    const Case cases[] = {
        {0, kNever, 0},
        {-1, kNever, 0},
        {0.01, kNever, 1},
        {0.05, kNever, 1},
        {0.1, kNever, 2},
        {0.11, kNever, 3},
        {60, 3, 3},
        // Eight pauses add up to a little less than 0.4.
        {0.4, kNever, 9},
    };
    for (const Case& c : cases) {
        Names names{.foundAt = c.foundAt};
        const Connect connect = names.connect();
        std::unique_ptr<RootProxy> proxy;
        const double seconds = secondsOf([&] {
            proxy = waitForRootProxyForConnectionWithRegisteredName(connect, "Tool.1", c.timeout);
        });
        EXPECT_EQ(names.lookups, c.lookups) << c.timeout;
        EXPECT_EQ(proxy != nullptr, c.foundAt != kNever) << c.timeout;
        EXPECT_GE(seconds, c.lookups * 0.05) << c.timeout;
    }
}

TEST(HelperTask, ToolThatNeverRegistersIsGivenTwoSecondsAndStaysOwned) {
    const LogCapture log;
    const test::TemporaryFolder folder;
    Names names{.foundAt = kNever};
    auto task = taskFor(names, folder.script("mute tool", "exec sleep 60"));
    std::unique_ptr<RootProxy> proxy;
    const double seconds = secondsOf([&] { proxy = task->launchUsingTimeout(60); });
    EXPECT_EQ(proxy, nullptr);
    EXPECT_EQ(names.lookups, 40);
    EXPECT_EQ(names.names.front(), "Tool.1");
    EXPECT_GE(seconds, 2.0);
    EXPECT_LT(seconds, 20.0);
    ASSERT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(log.entries()[0], u"Connection to mute tool failed.");

    ASSERT_NE(task->task(), nullptr);
    const pid_t pid = task->task()->processIdentifier();
    EXPECT_TRUE(task->task()->isRunning());
    task.reset();  // ends the child, and it is reaped
    EXPECT_TRUE(eventually([&] { return isGone(pid); }));
}

TEST(HelperTask, LaunchStartsAFreshChildEachTime) {
    const LogCapture log;
    const test::TemporaryFolder folder;
    Names names;
    const auto task = taskFor(names, folder.script("tool", "exec sleep 60"));
    ASSERT_NE(task->launch(), nullptr);
    const pid_t first = task->task()->processIdentifier();
    ASSERT_NE(task->launch(), nullptr);
    const pid_t second = task->task()->processIdentifier();
    EXPECT_NE(first, second);
    EXPECT_TRUE(eventually([&] { return isGone(first); }));
    EXPECT_FALSE(isGone(second));

    task->terminate();
    EXPECT_EQ(task->task(), nullptr);
    task->terminate();  // nothing left to end
    EXPECT_TRUE(eventually([&] { return isGone(second); }));
    EXPECT_TRUE(log.entries().empty());
}

TEST(HelperTask, TerminateDoesNotWaitForTheChild) {
    const test::TemporaryFolder folder;
    Names names;
    const std::string ready = folder.path("ready");
    const auto task =
        taskFor(names, folder.script("deaf", "trap '' TERM; : > '" + ready + "'; exec sleep 60"));
    ASSERT_NE(task->launch(), nullptr);
    const pid_t pid = task->task()->processIdentifier();
    ASSERT_TRUE(eventually([&] { return access(ready.c_str(), F_OK) == 0; }));
    EXPECT_LT(secondsOf([&] { task->terminate(); }), 10.0);
    EXPECT_EQ(::kill(pid, 0), 0);
    ::kill(pid, SIGKILL);
    EXPECT_TRUE(eventually([&] { return isGone(pid); }));
}

TEST(HelperTask, LogsWhatIsThrownInALaunch) {
    const test::TemporaryFolder folder;
    Names names;
    const auto missing = taskFor(names, folder.path("nothing"));
    const auto broken =
        HelperTask::initWithPath(folder.script("tool", "exec sleep 60"), "Tool.1",
                                 [](std::string_view) -> std::unique_ptr<RootProxy> {
                                     throw std::runtime_error("lookup broke");
                                 });
    const LogCapture log;
    EXPECT_EQ(missing->launch(), nullptr);
    EXPECT_EQ(missing->task(), nullptr);
    EXPECT_EQ(names.lookups, 0);
    EXPECT_EQ(broken->launch(), nullptr);
    EXPECT_EQ(broken->task(), nullptr) << "the child is terminated";
    EXPECT_EQ(broken->launchedProxy(), nullptr);

    ASSERT_EQ(log.entries().size(), 3U);
    EXPECT_TRUE(log.entries()[0].starts_with(
        u"launchUsingTimeout: (HelperTask):\nstd::system_error\ncannot start "));
    EXPECT_TRUE(log.entries()[1].starts_with(
        u"launchUsingTimeout: (HelperTask):\nstd::runtime_error\nlookup broke\n"));
    EXPECT_TRUE(log.entries()[2].starts_with(
        u"launchedProxyUsingTimeout: (HelperTask):\nstd::runtime_error\nlookup broke\n"));
}

TEST(HelperTask, KeepsAProxyThatWasFoundBeforeAnException) {
    class Stubborn : public FakeProxy {
    public:
        using FakeProxy::FakeProxy;
        void setRequestTimeout(double) override { throw std::runtime_error("no time-outs here"); }
    };
    FakeObject object;
    const auto task = HelperTask::initWithPath(
        "/bin/true", "Tool.1", [&](std::string_view) { return std::make_unique<Stubborn>(object); },
        {.timeout = 1});
    const LogCapture log;
    EXPECT_NE(task->launchedProxy(), nullptr);
    EXPECT_EQ(log.entries().size(), 1U);
}

TEST(HelperTask, TimeoutAndProtocolReachTheProxy) {
    const test::TemporaryFolder folder;
    const RemoteInterface protocol;
    Names names;
    const auto task = taskFor(names, folder.script("tool", "exec sleep 60"),
                              {.protocol = &protocol, .timeout = 0});
    task->launchedProxy();
    task->launchedProxyUsingTimeout(-3);
    EXPECT_TRUE(names.object.requestTimeouts.empty());
    EXPECT_TRUE(names.object.replyTimeouts.empty());

    task->setTimeout(4);
    EXPECT_EQ(task->timeout(), 4);
    task->launchedProxy();
    task->launch();
    task->proxyUsingTimeout(0.5);
    const std::vector<double> expected = {4, 4, 0.5};
    EXPECT_EQ(names.object.requestTimeouts, expected);
    EXPECT_EQ(names.object.replyTimeouts, expected);
    EXPECT_EQ(names.object.protocols, std::vector<const RemoteInterface*>(5, &protocol));

    names.object.protocols.clear();
    taskFor(names, "/bin/true")->launchedProxy();
    EXPECT_TRUE(names.object.protocols.empty());
}

TEST(HelperTask, ReusesAHelperThatIsRegistered) {
    const test::TemporaryFolder folder;
    const std::string tool = folder.script("tool", "exec sleep 60");
    Names registered;
    const auto reusing = taskFor(registered, tool);
    EXPECT_NE(reusing->proxy(), nullptr);
    EXPECT_EQ(reusing->task(), nullptr);
    EXPECT_EQ(registered.lookups, 1);

    Names later{.foundAt = 3};
    const auto launching = taskFor(later, tool);
    EXPECT_NE(launching->proxy(), nullptr);
    EXPECT_NE(launching->task(), nullptr);
    EXPECT_EQ(later.lookups, 3);
}

TEST(HelperTask, LoggingLetsTheOutputThrough) {
    struct Case {
        bool logging;
        const char* output;
    };
    for (const Case& c : {Case{false, ""}, Case{true, "out\nerr\n"}}) {
        const test::TemporaryFolder folder;
        const std::string done = folder.path("done");
        const std::string tool =
            folder.script("tool", "echo out; echo err >&2; : > '" + done + "'; exec sleep 60");
        Names names;
        const auto task = taskFor(names, tool, {.logging = !c.logging});
        c.logging ? task->enableLogging() : task->disableLogging();
        {
            const test::OutputToFile redirected(folder.path("output"));
            task->launch();
        }
        ASSERT_TRUE(eventually([&] { return access(done.c_str(), F_OK) == 0; }));
        EXPECT_EQ(test::contentsOf(folder.path("output")), c.output);
    }
}

TEST(HelperTask, StillBusyIsWhatTheHelperAnswers) {
    struct Case {
        const char* name;
        bool registered;
        bool implemented;
        RemoteValue answer;
        bool busy;
    };
    const Case cases[] = {
        {"yes", true, true, PropertyList(true), true},
        {"no", true, true, PropertyList(false), false},
        {"nil", true, true, RemoteValue(), false},
        {"not implemented", true, false, PropertyList(true), false},
        {"not registered", false, true, PropertyList(true), false},
    };
    for (const Case& c : cases) {
        Names names{.foundAt = c.registered ? 1 : kNever};
        names.object.responds = [&](std::string_view selector) {
            return c.implemented && selector == "stillBusy";
        };
        names.object.answer = [&] { return c.answer; };
        const auto task = taskFor(names, "/no/such/tool");
        EXPECT_EQ(task->stillBusy(), c.busy) << c.name;
        EXPECT_EQ(names.lookups, 1) << c.name;
        const bool asked = c.registered && c.implemented;
        EXPECT_EQ(names.object.selectors.size(), asked ? 1U : 0U) << c.name;
        EXPECT_EQ(task->task(), nullptr) << "asking starts nothing";
    }

    Names dying;
    dying.object.answer = []() -> RemoteValue {
        throw TransportError(TransportError::Kind::connectionLost, "gone");
    };
    EXPECT_THROW(taskFor(dying, "/no/such/tool")->stillBusy(), TransportError);
}

TEST(HelperTask, WaitsUntilTheHelperIsDone) {
    struct Case {
        const char* name;
        double seconds;
        int busyAnswers;  // before the first that is false
        int asked;
        bool throwsThen = false;
    };
    const Case cases[] = {
        {"not busy", 60, 0, 1},
        {"busy for a while", 60, 3, 4},
        {"limit comes first", 0.1, kNever, 2},
        {"no time at all", 0, kNever, 1},
        {"asking fails", 60, 2, 3, true},
        {"asking fails at once", 60, 0, 1, true},
    };
    for (const Case& c : cases) {
        Names names;
        int asked = 0;
        names.object.answer = [&]() -> RemoteValue {
            if (++asked <= c.busyAnswers) return PropertyList(true);
            if (c.throwsThen) throw RemoteException("busy with something else");
            return PropertyList(false);
        };
        const LogCapture log;
        const double seconds =
            secondsOf([&] { taskFor(names, "/no/such/tool")->waitUntilDone(c.seconds); });
        EXPECT_EQ(asked, c.asked) << c.name;
        EXPECT_EQ(names.lookups, 1) << c.name;
        EXPECT_GE(seconds, (c.asked - 1) * 0.05) << c.name;
        EXPECT_TRUE(log.entries().empty()) << c.name;
    }

    Names nobody{.foundAt = kNever};
    taskFor(nobody, "/no/such/tool")->waitUntilDone(60);
    EXPECT_EQ(nobody.lookups, 1);
}

}  // namespace
}  // namespace corvy
