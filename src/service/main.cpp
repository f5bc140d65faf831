// corvystack-helper: the service. Registers the vended object and serves it until it is killed.
#include <glib.h>
#include <malloc.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "client/im_export.h"
#include "platform/messaging.h"
#include "platform/service_manager.h"
#include "service/corvy_stack_helper.h"
#include "service/owner.h"
#include "service/status_properties.h"

namespace {

constexpr const char* kSessionBusName = "org.corvystack.Helper64";
constexpr double kTimeout = 15.0;       // seconds, for a request and for its reply
constexpr int kLargeBlock = 256 << 10;  // bytes

struct Options {
    std::string name{corvy::kCorvyStackHelperName};
    bool sessionBus = false;
};

// Exits with 0 or 2 where there is nothing to serve.
Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--name" && i + 1 < argc) {
            options.name = argv[++i];
        } else if (argument == "--session-bus") {
            options.sessionBus = true;
        } else if (argument == "--version") {
            std::puts("corvystack-helper " CORVY_VERSION);
            std::exit(0);
        } else {
            std::fprintf(argument == "--help" ? stdout : stderr,
                         "usage: corvystack-helper [--name NAME] [--session-bus] [--version]\n"
                         "Serves CorvyStack's operations under NAME (CorvyStackHelper64.1) until "
                         "it is killed; on the session bus as well, as org.corvystack.Helper64, if "
                         "asked.\n");
            std::exit(argument == "--help" ? 0 : 2);
        }
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parse(argc, argv);
    std::signal(SIGPIPE, SIG_IGN);
    // The process lives for days: large blocks go back to the system when they are freed. Unless
    // they are set, the limits follow the largest block that was ever freed.
    mallopt(M_MMAP_THRESHOLD, kLargeBlock);
    mallopt(M_TRIM_THRESHOLD, kLargeBlock);

    corvy::platform::Connection connection;
    corvy::CorvyStackHelper helper(corvy::platform::programFolder());
    connection.setRootObject(corvy::CorvyImExport(),
                             [&helper](const corvy::RemoteMethod& method, const auto& arguments) {
                                 return helper.invoke(method, arguments);
                             });
    connection.setStatusProperties(corvy::statusProperties(helper));
    // kept: the result is not checked; a process that could not take the name runs on, unreachable.
    connection.registerName(options.name);
    if (options.sessionBus) connection.joinSessionBus(kSessionBusName);
    connection.setIndependentConversationQueueing(false);
    connection.setRequestTimeout(kTimeout);
    connection.setReplyTimeout(kTimeout);
    corvy::platform::notifyReady();
    corvy::endWithOwner(options.name);

    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    while (true) g_main_loop_run(loop);
}
