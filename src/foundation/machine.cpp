#include "foundation/machine.h"

#include <sched.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <memory>

namespace corvy {

namespace {

constexpr int kMostCPUs = 1 << 16;

std::optional<std::string> hardwareName() {
    utsname names;
    if (uname(&names) != 0) return std::nullopt;
    return names.machine;
}

std::optional<long> cpus() {
    // Not the configured ones: a virtual machine configures what it could ever be given.
    const long count = sysconf(_SC_NPROCESSORS_ONLN);
    if (count < 0) return std::nullopt;
    return count;
}

std::optional<long> availableCPUs() {
    struct SetFreer {
        void operator()(cpu_set_t* set) const { CPU_FREE(set); }
    };
    // The kernel refuses a set that is smaller than its own, whose size it does not tell.
    for (int room = CPU_SETSIZE; room <= kMostCPUs; room *= 2) {
        const std::unique_ptr<cpu_set_t, SetFreer> set(CPU_ALLOC(room));
        const std::size_t size = CPU_ALLOC_SIZE(room);
        if (!set) return std::nullopt;
        if (sched_getaffinity(0, size, set.get()) == 0) return CPU_COUNT_S(size, set.get());
        if (errno != EINVAL) return std::nullopt;
    }
    return std::nullopt;
}

int atLeastOne(std::optional<long> count) {
    return static_cast<int>(std::clamp(count.value_or(1), 1L, long{kMostCPUs}));
}

}  // namespace

const MachineQueries kSystemQueries = {hardwareName, cpus, availableCPUs};

int numberOfBits(const MachineQueries& queries) {
    const std::optional<std::string> name = queries.hardwareName();
    const bool wide = name && (name->find("64") != std::string::npos || *name == "s390x");
    return wide ? 64 : 32;
}

int numberOfCPUs(const MachineQueries& queries) {
    return atLeastOne(queries.cpus());
}

int numberOfAvailableCPUs(const MachineQueries& queries) {
    return atLeastOne(queries.availableCPUs());
}

}  // namespace corvy
