// The other process of the messaging tests.
//
//     messaging_peer NAME [queueing]    serves under the name; prints "registered" or "refused"
//     messaging_peer --as UID SOCKET    connects as another user; prints "served" or "refused"
#include <glib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "foundation/text.h"
#include "platform/messaging.h"
#include "platform/run_loop.h"
#include "tests/platform/messaging_peer.h"

namespace corvy {

namespace {

// Counts the operations that are inside each other.
struct Nesting {
    static inline int now = 0;
    static inline int most = 0;
    Nesting() { most = std::max(most, ++now); }
    ~Nesting() { --now; }
};

RemoteValue serve(const RemoteMethod& method, const std::vector<RemoteValue>& arguments) {
    const Nesting nesting;
    const auto number = [&](std::size_t index) { return *arguments.at(index)->integer(); };
    const std::string& name = method.selector;
    if (name == "echo:") return arguments[0];
    if (name == "isNil:") return PropertyList(!arguments[0].has_value());
    if (name == "add:to:negated:") {
        const std::int64_t sum = number(0) + number(1);
        return PropertyList(*arguments[2]->boolean() ? -sum : sum);
    }
    if (name == "raise:") throw std::runtime_error(toUtf8(*arguments[0]->string()) + "\xFF");
    if (name == "nestedTo:") {
        PropertyList value = u"core";
        for (std::int64_t i = 0; i < number(0); ++i) {
            Array outer;
            outer.push_back(std::move(value));
            value = std::move(outer);
        }
        return value;
    }
    if (name == "wrongType") return PropertyList(u"no flag");
    if (name == "runLoopFor:") {
        platform::runForTimeInterval(static_cast<double>(number(0)) / 1000);
        return PropertyList(std::int64_t{Nesting::most});
    }
    if (name == "sleepFor:") {
        std::this_thread::sleep_for(std::chrono::milliseconds(number(0)));
        return PropertyList(true);
    }
    return PropertyList(false);
}

int serveUnder(const char* name, bool queueing) {
    platform::Connection connection;
    connection.setRootObject(testInterface(), serve);
    connection.setStatusProperties({
        {"Version", [] { return PropertyList(u"1.0"); }},
        {"Served", [] { return PropertyList(std::int64_t{7}); }},
        {"Families",
         [] {
             return PropertyList(Array{u"pdf", u"image"});
         }},
        {"Libraries",
         [] {
             return PropertyList(Dictionary{{u"zlib", u"1.2"}});
         }},
    });
    const bool registered = connection.registerName(name);
    connection.setIndependentConversationQueueing(queueing);
    if (const char* seconds = std::getenv("TEST_REPLY_TIMEOUT")) {
        connection.setReplyTimeout(std::atof(seconds));
    }
    std::puts(registered ? "registered" : "refused");
    std::fflush(stdout);
    for (;;) g_main_context_iteration(nullptr, TRUE);
}

int connectAs(uid_t user, const char* path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (setuid(user) != 0 ||
        connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::puts("unreachable");
        return 1;
    }
    constexpr char kGreeting[] = "\0AUTH EXTERNAL\r\nDATA\r\n";
    char answer = 0;
    const bool sent = send(fd, kGreeting, sizeof kGreeting - 1, MSG_NOSIGNAL) > 0;
    std::puts(sent && read(fd, &answer, 1) == 1 ? "served" : "refused");
    return 0;
}

}  // namespace
}  // namespace corvy

int main(int argc, char** argv) {
    if (argc == 4 && std::string_view(argv[1]) == "--as") {
        return corvy::connectAs(static_cast<uid_t>(std::atoi(argv[2])), argv[3]);
    }
    if (argc < 2) return 2;
    return corvy::serveUnder(argv[1], argc > 2);
}
