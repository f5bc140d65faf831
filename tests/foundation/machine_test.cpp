#include "foundation/machine.h"

#include <gtest/gtest.h>
#include <sched.h>

namespace corvy {
namespace {

using Name = std::optional<std::string>;
using Count = std::optional<long>;

TEST(Machine, CountsBits) {
    struct Case {
        Name (*hardwareName)();
        int bits;
    };
    const Case cases[] = {
        {[] { return Name("x86_64"); }, 64}, {[] { return Name("aarch64"); }, 64},
        {[] { return Name("s390x"); }, 64},  {[] { return Name("i686"); }, 32},
        {[] { return Name("armv7l"); }, 32}, {[] { return Name(""); }, 32},
        {[] { return Name(); }, 32},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(numberOfBits(
                      {.hardwareName = c.hardwareName, .cpus = nullptr, .availableCPUs = nullptr}),
                  c.bits)
            << c.hardwareName().value_or("none");
    }
}

TEST(Machine, FailedQueriesGiveOneCpu) {
    struct Case {
        const char* name;
        Count (*query)();
        int cpus;
    };
    const Case cases[] = {
        {"many", [] { return Count(96); }, 96},
        {"failed", [] { return Count(); }, 1},
        {"none", [] { return Count(0); }, 1},
        {"negative", [] { return Count(-4); }, 1},
    };
    const auto other = [] { return Count(7); };
    for (const Case& c : cases) {
        const auto name = [] { return Name(); };
        EXPECT_EQ(numberOfCPUs({name, c.query, other}), c.cpus) << c.name;
        EXPECT_EQ(numberOfAvailableCPUs({name, other, c.query}), c.cpus) << c.name;
    }
}

TEST(Machine, AvailableCpusFollowTheAffinityOfTheProcess) {
    cpu_set_t before;
    ASSERT_EQ(sched_getaffinity(0, sizeof before, &before), 0);
    EXPECT_EQ(numberOfAvailableCPUs(), CPU_COUNT(&before));
    EXPECT_GE(numberOfCPUs(), numberOfAvailableCPUs());

    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    EXPECT_EQ(numberOfAvailableCPUs(), 1);
    sched_setaffinity(0, sizeof before, &before);
}

}  // namespace
}  // namespace corvy
