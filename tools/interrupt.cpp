#include "tools/interrupt.h"

#include <atomic>
#include <cerrno>
#include <csignal>

namespace corvy::tools {

namespace {

std::atomic<bool> gInterrupted = false;
std::atomic<pid_t> gVictim = 0;
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free);

void handle(int) {
    const int before = errno;
    gInterrupted = true;
    if (const pid_t victim = gVictim) ::kill(victim, SIGKILL);
    errno = before;
}

}  // namespace

void watchInterrupts() {
    struct sigaction action {};
    action.sa_handler = handle;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        // What the starter has turned off (nohup) stays so.
        if (::sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            ::sigaction(number, &action, nullptr);
        }
    }
}

bool isInterrupted() {
    return gInterrupted;
}

void killOnInterrupt(pid_t process) {
    gVictim = process;
    if (process > 0 && gInterrupted) ::kill(process, SIGKILL);
}

}  // namespace corvy::tools
