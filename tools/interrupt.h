// Ctrl-C and its kin (SIGINT, SIGTERM, SIGHUP), for commands that must end helpers of their own.
#pragma once

#include <sys/types.h>

namespace corvy::tools {

// From now on these signals are noted, and end nothing by themselves.
void watchInterrupts();
bool isInterrupted();
// The process that is killed by the signal itself, so that a call that waits for it returns; 0 for
// none. Set it back before the process is waited for.
void killOnInterrupt(pid_t process);

}  // namespace corvy::tools
