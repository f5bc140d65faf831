#include "client/helper_connection.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "platform/messaging.h"

namespace corvy {

namespace {

constexpr const char* kHelperProgram = "corvystack-helper";
// Below the prefix of an installation.
constexpr const char* kInstalledFolder = "libexec/corvystack";

}  // namespace

std::optional<CorvyStackClient> connectToHelper(HelperLaunch launch, const HelperOptions& options) {
    auto task = HelperTask::initWithPath(
        options.path.empty() ? helperProgramPath() : options.path, options.registeredProxyName,
        [](std::string_view name) {
            return platform::rootProxyForConnectionWithRegisteredName(name);
        },
        {.protocol = &CorvyImExport(), .timeout = options.timeout, .logging = options.logging});
    if (!task) return std::nullopt;
    std::unique_ptr<RootProxy> proxy;
    switch (launch) {
        case HelperLaunch::never: proxy = task->launchedProxy(); break;
        case HelperLaunch::ifNeeded: proxy = task->proxy(); break;
        case HelperLaunch::always: proxy = task->launch(); break;
    }
    if (!proxy) return std::nullopt;
    if (!task->task()) task.reset();
    return CorvyStackClient(std::move(proxy), std::move(task));
}

std::string helperProgramPath() {
    if (const char* folder = std::getenv("CORVYSTACK_LIBEXEC"); folder && *folder) {
        return std::filesystem::path(folder) / kHelperProgram;
    }
    std::error_code failed;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", failed).parent_path();
    // In the build folder both lie side by side; an installation may be moved as a whole.
    for (const auto& candidate :
         {folder, folder.parent_path() / kInstalledFolder, std::filesystem::path(CORVY_LIBEXEC),
          std::filesystem::path("/usr") / kInstalledFolder}) {
        const auto program = candidate / kHelperProgram;
        if (access(program.c_str(), X_OK) == 0) return program;
    }
    return std::filesystem::path(CORVY_LIBEXEC) / kHelperProgram;
}

}  // namespace corvy
