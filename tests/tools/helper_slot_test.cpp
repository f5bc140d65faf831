#include "tools/import/helper_slot.h"

#include <atomic>
#include <chrono>
#include <thread>

#include "tests/tools/fake_helper.h"

namespace corvy::tools {

namespace {

// Counts the helpers that it launches, and hands each one to `prepare`.
struct Launcher {
    std::function<void(FakeHelper&)> prepare = [](FakeHelper&) {};
    int launched = 0;
    FakeHelper* last = nullptr;

    LaunchHelper launch() {
        return [this] {
            auto helper = std::make_unique<FakeHelper>();
            helper->fake.answer = [this](const auto&) { return PropertyList(launched); };
            ++launched;
            last = helper.get();
            prepare(*helper);
            return helper;
        };
    }
};

RemoteValue number(std::int32_t value) {
    return PropertyList(value);
}

}  // namespace

TEST(HelperSlot, TriesOnceMoreOnAFreshHelper) {
    using Kind = TransportError::Kind;
    for (const auto& [kind, error] :
         {std::pair{Kind::timeout, "timeout"}, std::pair{Kind::connectionLost, "helperDied"},
          std::pair{Kind::protocol, "badAnswer"}}) {
        Launcher launcher;
        HelperSlot slot(launcher.launch(), 7);
        EXPECT_FALSE(slot.hasLaunched());
        EXPECT_EQ(slot.call("a", {}).value, number(1));
        EXPECT_EQ(launcher.last->fake.timeout, 7);
        EXPECT_EQ(slot.call("a", {}).value, number(1));
        const auto fail = [thrown = kind](const auto&) -> RemoteValue {
            throw TransportError(thrown, "");
        };
        launcher.last->fake.answer = fail;
        EXPECT_EQ(slot.call("a", {}).value, number(2)) << error;

        launcher.last->fake.answer = fail;
        launcher.prepare = [&](FakeHelper& helper) { helper.fake.answer = fail; };
        EXPECT_EQ(slot.call("a", {}).error, error);
        EXPECT_EQ(launcher.launched, 3) << error;
        launcher.prepare = [](FakeHelper&) {};
        EXPECT_EQ(slot.call("a", {}).value, number(4)) << error;
        EXPECT_TRUE(slot.hasLaunched());
    }
}

TEST(HelperSlot, BlamesNobodyForAHelperThatDiedIdle) {
    Launcher launcher;
    HelperSlot slot(launcher.launch(), 1);
    slot.call("a", {});
    launcher.last->running = false;
    const HelperSlot::Answer answer = slot.call("a", {});
    EXPECT_EQ(answer.error, "");
    EXPECT_EQ(answer.value, number(2));
}

TEST(HelperSlot, KeepsAHelperThatPassesAnExceptionOn) {
    Launcher launcher;
    HelperSlot slot(launcher.launch(), 1);
    slot.call("a", {});
    launcher.last->fake.answer = [](const auto&) -> RemoteValue { throw RemoteException("no"); };
    EXPECT_EQ(slot.call("a", {}).error, "failed");
    EXPECT_EQ(launcher.launched, 1);
}

TEST(HelperSlot, GivesUpLaunchingAfterThreeFailures) {
    int tries = 0;
    HelperSlot slot(
        [&tries]() -> std::unique_ptr<OwnedHelper> {
            ++tries;
            return nullptr;
        },
        1);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(slot.call("a", {}).error, "noHelper");
    EXPECT_EQ(tries, 3);
    EXPECT_FALSE(slot.hasLaunched());
}

TEST(HelperSlot, StopsACallThatIsUnderWay) {
    std::atomic<bool> waiting = false, killed = false;
    Launcher launcher;
    launcher.prepare = [&](FakeHelper& helper) {
        helper.onKill = [&killed] { killed = true; };
        helper.fake.answer = [&](const auto&) -> RemoteValue {
            waiting = true;
            while (!killed) std::this_thread::sleep_for(std::chrono::milliseconds(1));
            throw TransportError(TransportError::Kind::connectionLost, "");
        };
    };
    HelperSlot slot(launcher.launch(), 1);
    std::jthread stopper([&] {
        while (!waiting) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        slot.stop();
    });
    EXPECT_TRUE(slot.call("a", {}).stopped);
    EXPECT_TRUE(slot.call("a", {}).stopped);
    EXPECT_EQ(launcher.launched, 1);
}

}  // namespace corvy::tools
