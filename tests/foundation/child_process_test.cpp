#include "foundation/child_process.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>
#include <system_error>

#include "foundation/system_log.h"
#include "tests/support/processes.h"

namespace corvy {
namespace {

using test::eventually;
using test::isGone;

ChildSetup shell(std::string command) {
    return {.launchPath = "/bin/sh", .arguments = {"-c", std::move(command)}};
}

TEST(ChildProcess, IsTrueExactlyForExitStatusZero) {
    struct Case {
        const char* name;
        const char* path;
        std::vector<std::string> arguments;
        bool done;
    };
    const LogCapture log;
    const Case cases[] = {
        {"zero", "/bin/sh", {"-c", "exit 0"}, true},
        {"other", "/bin/sh", {"-c", "exit 3"}, false},
        {"ended by a signal", "/bin/sh", {"-c", "kill -TERM $$"}, false},
        {"arguments are passed as they are", "/bin/sh", {"-c", "test \"$0\" = 'a b'", "a b"}, true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ChildProcess::launchTaskAndWaitUntilExitWithLaunchPath(c.path, c.arguments),
                  c.done)
            << c.name;
        ChildProcess child({.launchPath = c.path, .arguments = c.arguments});
        EXPECT_EQ(child.launchAndWaitUntilExit(), c.done) << c.name;
    }
    EXPECT_TRUE(log.entries().empty());
}

TEST(ChildProcess, LogsWhatCannotBeStarted) {
    const LogCapture log;
    EXPECT_FALSE(ChildProcess::launchTaskAndWaitUntilExitWithLaunchPath("/no/such/tool", {}));
    ChildProcess folder({.launchPath = "/usr"});
    EXPECT_FALSE(folder.launchAndWaitUntilExit());
    ChildProcess twice(shell("exit 0"));
    EXPECT_TRUE(twice.launchAndWaitUntilExit());
    EXPECT_FALSE(twice.launchAndWaitUntilExit());

    ASSERT_EQ(log.entries().size(), 3U);
    EXPECT_TRUE(log.entries()[0].starts_with(
        u"launchTaskAndWaitUntilExitWithLaunchPath:arguments: (ChildProcess):\n"
        u"std::system_error\ncannot start /no/such/tool: No such file or directory\n"));
    EXPECT_TRUE(log.entries()[1].starts_with(
        u"launchAndWaitUntilExit (ChildProcess):\nstd::system_error\ncannot start /usr: "));
    EXPECT_TRUE(log.entries()[2].starts_with(u"launchAndWaitUntilExit (ChildProcess):\n"));
}

TEST(ChildProcess, TellsHowTheProgramEnded) {
    ChildProcess exits(shell("exit 7"));
    exits.launch();
    EXPECT_EQ(exits.waitUntilExit(), 7);
    EXPECT_FALSE(exits.isRunning());
    EXPECT_EQ(exits.waitUntilExit(), 7);

    ChildProcess asked(shell("exec sleep 60"));
    asked.launch();
    EXPECT_TRUE(asked.isRunning());
    asked.terminate();
    EXPECT_EQ(asked.waitUntilExit(), 128 + SIGTERM);
    asked.terminate();  // nothing left to ask

    ChildProcess ended(shell("trap '' TERM; exec sleep 60"));
    ended.launch();
    ended.kill();
    EXPECT_EQ(ended.waitUntilExit(), 128 + SIGKILL);
    EXPECT_TRUE(isGone(ended.processIdentifier()));
}

TEST(ChildProcess, LeavesNoZombieBehind) {
    auto dead = std::make_unique<ChildProcess>(shell("exit 0"));
    dead->launch();
    const pid_t first = dead->processIdentifier();
    dead.reset();
    EXPECT_TRUE(eventually([&] { return isGone(first); }));

    auto abandoned = std::make_unique<ChildProcess>(shell("exec sleep 60"));
    abandoned->launch();
    const pid_t second = abandoned->processIdentifier();
    abandoned.reset();
    EXPECT_EQ(::kill(second, 0), 0) << "letting go ends nothing";
    ::kill(second, SIGKILL);
    EXPECT_TRUE(eventually([&] { return isGone(second); }));
}

TEST(ChildProcess, SharesOnlyWhatItShould) {
    const test::TemporaryFolder folder;
    const std::string result = folder.path("result");
    setenv("CORVY_TEST_KEPT", "kept", 1);
    setenv("CORVY_TEST_CHANGED", "old", 1);
    const int open = dup(STDERR_FILENO);  // not close-on-exec
    ChildSetup setup = shell(
        "exec > '" + result + "'; echo $CORVY_TEST_KEPT $CORVY_TEST_CHANGED $CORVY_TEST_ADDED; " +
        "tr '\\0' '\\n' < /proc/$$/environ | grep -c CORVY_TEST_; " + "test -e /proc/self/fd/" +
        std::to_string(open) + " && echo leaked; exit 0");
    setup.environment = {{"CORVY_TEST_CHANGED", "new"}, {"CORVY_TEST_ADDED", "a=b"}};
    ChildProcess child(setup);
    EXPECT_TRUE(child.launchAndWaitUntilExit());
    close(open);
    unsetenv("CORVY_TEST_KEPT");
    unsetenv("CORVY_TEST_CHANGED");
    EXPECT_EQ(test::contentsOf(result), "kept new a=b\n3\n");
}

TEST(ChildProcess, SignalsOfTheParentDoNotLameTheChild) {
    sigset_t terminate;
    sigemptyset(&terminate);
    sigaddset(&terminate, SIGTERM);
    sigprocmask(SIG_BLOCK, &terminate, nullptr);
    const auto before = signal(SIGTERM, SIG_IGN);
    ChildProcess child(shell("exec sleep 60"));
    child.launch();
    signal(SIGTERM, before);
    sigprocmask(SIG_UNBLOCK, &terminate, nullptr);
    child.terminate();
    EXPECT_EQ(child.waitUntilExit(), 128 + SIGTERM);
}

TEST(ChildProcess, OwnGroupKeepsTerminalSignalsAway) {
    for (const bool own : {false, true}) {
        ChildSetup setup = shell("exec sleep 60");
        setup.ownGroup = own;
        ChildProcess child(setup);
        child.launch();
        EXPECT_EQ(getpgid(child.processIdentifier()), own ? child.processIdentifier() : getpgrp());
        child.kill();
    }
}

}  // namespace
}  // namespace corvy
