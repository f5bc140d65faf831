#include "foundation/system_log.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace corvy {
namespace {

TEST(SystemLog, ExceptionEntryHasOperationClassNameReasonAndSymbols) {
    const LogCapture log;
    logException(u"launch:", u"HelperTask", {u"Broken", u"went wrong", u"frame 0\nframe 1"});
    ASSERT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(log.entries()[0], u"launch: (HelperTask):\nBroken\nwent wrong\nframe 0\nframe 1");
}

TEST(SystemLog, DescribesTheThrownClass) {
    try {
        throw std::out_of_range("index");
    } catch (const std::exception& exception) {
        const ExceptionRecord record = describeException(exception);
        EXPECT_EQ(record.name, u"std::out_of_range");
        EXPECT_EQ(record.reason, u"index");
        EXPECT_FALSE(record.symbols.empty());
    }
}

TEST(SystemLog, CapturesNestAndRestore) {
    const LogCapture outer;
    {
        const LogCapture inner;
        systemLog(u"in");
        EXPECT_EQ(inner.entries().size(), 1U);
    }
    systemLog(u"out");
    ASSERT_EQ(outer.entries().size(), 1U);
    EXPECT_EQ(outer.entries()[0], u"out");
}

}  // namespace
}  // namespace corvy
