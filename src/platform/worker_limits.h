// What binds a worker program, its children, and every process that they start.
#pragma once

#include <sys/resource.h>

#include "platform/isolation.h"

namespace corvy::platform {

// For a whole program, before it does anything: no core files, no new privileges, and no sockets
// (but pairs) unless it may use the network. Once for all children, since setting the filter up
// costs as much as a fork. False when the system refuses any of it.
bool confineProgram(bool network);

// For a child that has just been forked: address space, processor time, size of files; and it dies
// with its parent. False when the system refuses any of it; the operation must not run then.
bool applyWorkerLimits(const WorkerLimits& limits);

// Bounds for what a whole program does while the value lives. The program is killed when it takes
// longer than it may.
class PreparationLimits {
public:
    PreparationLimits();
    ~PreparationLimits();
    PreparationLimits(const PreparationLimits&) = delete;
    PreparationLimits& operator=(const PreparationLimits&) = delete;

private:
    rlimit addressSpace_{};
    rlimit fileSize_{};
};

}  // namespace corvy::platform
