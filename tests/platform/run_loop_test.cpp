#include "platform/run_loop.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <chrono>
#include <limits>

namespace corvy::platform {
namespace {

double secondsOf(void (*body)()) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

gboolean count(gpointer number) {
    ++*static_cast<int*>(number);
    return G_SOURCE_REMOVE;
}

TEST(RunLoop, RunsForTheTimeHoweverMuchIsServed) {
    static int served = 0;
    g_timeout_add(10, count, &served);
    g_timeout_add(20, count, &served);
    const double took = secondsOf([] { runForTimeInterval(0.1); });
    EXPECT_GE(took, 0.1);
    EXPECT_LT(took, 0.6);
    EXPECT_EQ(served, 2);
}

TEST(RunLoop, WithoutTimeServesWhatIsDue) {
    for (const double seconds : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        int served = 0;
        g_idle_add(count, &served);
        runForTimeInterval(seconds);
        EXPECT_EQ(served, 1) << seconds;
    }
}

TEST(RunLoop, OnceTellsWhetherSomethingWasServed) {
    static int served = 0;
    EXPECT_GE(secondsOf([] { EXPECT_FALSE(runMode(kDefaultRunLoopMode, 0.05)); }), 0.05);
    EXPECT_FALSE(runMode(kDefaultRunLoopMode, 0));
    g_timeout_add(10, count, &served);
    g_timeout_add(60'000, count, &served);
    EXPECT_LT(secondsOf([] { EXPECT_TRUE(runMode(kDefaultRunLoopMode, 30)); }), 10);
    EXPECT_EQ(served, 1);
    g_idle_add(count, &served);
    EXPECT_TRUE(runMode(kDefaultRunLoopMode, 0));
    g_idle_add(count, &served);
    EXPECT_LT(secondsOf([] { EXPECT_FALSE(runMode("AnotherMode", 30)); }), 10);
    EXPECT_EQ(served, 2);
    g_main_context_iteration(nullptr, FALSE);
}

}  // namespace
}  // namespace corvy::platform
