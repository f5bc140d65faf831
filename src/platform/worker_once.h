// The operations of a worker program, run in the calling process.
#pragma once

#include <string>

#include "platform/worker.h"

namespace corvy::platform {

// Runs one operation of the family, or "libraries". None as well for a name that it has not.
std::optional<PropertyList> runWorkerOperation(const WorkerFamily& family,
                                               const std::string& operation,
                                               const Dictionary& arguments, WorkerChannel& channel);

// The program as it is started by hand: see workerMain(). Returns the exit code: 1 when there is
// no result, 2 when the command line is wrong.
int runWorkerOnce(const WorkerFamily& family, int argc, char** argv);

}  // namespace corvy::platform
