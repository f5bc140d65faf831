#include "service/owner.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "platform/messaging.h"

namespace corvy {

namespace {

gboolean ownerIsGone(gint, GIOCondition, gpointer data) {
    const auto& name = *static_cast<std::string*>(data);
    const std::string folder = platform::runtimeDirectory();
    unlink((folder + '/' + name).c_str());
    unlink((folder + '/' + name + ".lock").c_str());
    rmdir(folder.c_str());
    _exit(EXIT_SUCCESS);
}

}  // namespace

void endWithOwner(const std::string& name) {
    const char* text = std::getenv("CORVYSTACK_OWNER");
    if (!text) return;
    pid_t owner = 0;
    std::from_chars(text, text + std::strlen(text), owner);
    unsetenv("CORVYSTACK_OWNER");
    if (owner <= 0) return;
    // A number alone could be given to another process; the descriptor stays with this one.
    const auto descriptor = static_cast<int>(syscall(SYS_pidfd_open, owner, 0));
    static std::string context;  // for the callback, which runs after this function
    context = name;
    if (descriptor >= 0) {
        g_unix_fd_add(descriptor, G_IO_IN, ownerIsGone, &context);
    } else if (errno == ESRCH) {
        ownerIsGone(-1, G_IO_IN, &context);
    }
}

}  // namespace corvy
