// What binds a child that runs an operation, and every process that it starts.
#pragma once

#include "platform/isolation.h"

namespace corvy::platform {

// For the calling process, which has just been forked and has one thread: address space, processor
// time, size of files, no core file, no new privileges, no sockets (but pairs) unless the limits
// allow them, no way out of its process group. It dies with its parent. False when the system
// refuses any of it; the operation must not run then.
bool applyWorkerLimits(const WorkerLimits& limits);

}  // namespace corvy::platform
