// A helper whose answers are easy to foretell. The path that it is asked about says what it does.
#include <glib.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

#include "client/im_export.h"
#include "platform/messaging.h"

namespace {

using namespace corvy;

RemoteValue answer(const RemoteMethod& method, const std::vector<RemoteValue>& arguments) {
    const std::string& selector = method.selector;
    if (selector == "supportsFile:") {
        const std::u16string* path = arguments[0] ? arguments[0]->string() : nullptr;
        if (path && *path == u"/die") _exit(1);
        if (path && *path == u"/hang") g_usleep(3 * G_USEC_PER_SEC);
        if (path && *path == u"/throw") throw std::runtime_error("as asked for");
        return PropertyList(path != nullptr);
    }
    if (selector == "metaDataForFile:") {
        if (!arguments[0]) return std::nullopt;
        return Dictionary{{u"path", *arguments[0]}, {u"pid", std::int64_t{getpid()}}};
    }
    if (selector == "attributed:stringWithPDF:") {
        return Dictionary{{u"attributed", *arguments[0]},
                          {u"String", arguments[1].value_or(PropertyList(u"nil"))}};
    }
    if (selector == "RTFDWithHTML:baseURL:allowRemoteRequest:charset:") return arguments[0];
    if (method.result == RemoteType::flag) return PropertyList(false);
    return std::nullopt;
}

}  // namespace

int main() {
    std::printf("test service\n");
    std::fflush(stdout);
    platform::Connection connection;
    connection.setRootObject(CorvyImExport(), answer);
    connection.registerName(kCorvyStackHelperName);
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    while (true) g_main_loop_run(loop);
}
