#include "foundation/machine.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <utility>

namespace corvy {
namespace {

using Name = std::optional<std::string>;
using Count = std::optional<long>;

TEST(Machine, CountsBits) {
    const std::pair<Name (*)(), int> cases[] = {
        {[] { return Name("x86_64"); }, 64}, {[] { return Name("aarch64"); }, 64},
        {[] { return Name("s390x"); }, 64},  {[] { return Name("i686"); }, 32},
        {[] { return Name("armv7l"); }, 32}, {[] { return Name(); }, 32},
    };
    for (const auto& [name, bits] : cases) {
        EXPECT_EQ(numberOfBits({name, nullptr, nullptr}), bits) << name().value_or("none");
    }
}

TEST(Machine, FailedQueriesGiveOneCpu) {
    const std::pair<Count (*)(), int> cases[] = {
        {[] { return Count(96); }, 96},
        {[] { return Count(); }, 1},
        {[] { return Count(0); }, 1},
        {[] { return Count(-4); }, 1},
    };
    const auto other = [] { return Count(7); };
    for (const auto& [query, cpus] : cases) {
        EXPECT_EQ(numberOfCPUs({nullptr, query, other}), cpus);
        EXPECT_EQ(numberOfAvailableCPUs({nullptr, other, query}), cpus);
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
