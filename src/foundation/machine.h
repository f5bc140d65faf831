// What the machine offers to threads.
#pragma once

#include <optional>
#include <string>

namespace corvy {

// How the machine is asked; each gives none when the question fails.
struct MachineQueries {
    std::optional<std::string> (*hardwareName)();  // such as "x86_64"
    std::optional<long> (*cpus)();                 // of the machine
    std::optional<long> (*availableCPUs)();        // on which this process may run
};

// Those of the running system.
extern const MachineQueries kSystemQueries;

// 64, or 32: also when the question fails.
int numberOfBits(const MachineQueries& queries = kSystemQueries);
// At least 1: also when the question fails.
int numberOfCPUs(const MachineQueries& queries = kSystemQueries);
int numberOfAvailableCPUs(const MachineQueries& queries = kSystemQueries);

}  // namespace corvy
