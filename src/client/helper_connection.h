// How an application gets to a helper: one that runs already, or one that it starts.
#pragma once

#include <optional>
#include <string>

#include "client/corvy_client.h"
#include "client/im_export.h"

namespace corvy {

enum class HelperLaunch {
    never,     // a helper that runs already, whoever started it
    ifNeeded,  // the same, or else one of our own
    // One of our own. Where another holds the name, the client is connected to that other one all
    // the same; a helper that nobody else reaches is a PrivateHelper.
    always
};

struct HelperOptions {
    std::string path = {};  // of the program; empty: helperProgramPath()
    std::string registeredProxyName = std::string(kCorvyStackHelperName);
    double timeout = 0;    // seconds, for requests and replies alike; 0: the 15 of the connection
    bool logging = false;  // let the helper's output through
};

// Waits for the registration of a helper that it starts, up to 2 s. A helper that was started ends
// with the client. None when there is no helper; the log tells why one could not be started.
std::optional<CorvyStackClient> connectToHelper(HelperLaunch launch = HelperLaunch::ifNeeded,
                                                const HelperOptions& options = {});

// "corvystack-helper" in the folder $CORVYSTACK_LIBEXEC; when that is not set, beside the running
// program, in libexec/corvystack beside that one's folder, or else where it is installed by the
// build or by a package.
std::string helperProgramPath();

}  // namespace corvy
