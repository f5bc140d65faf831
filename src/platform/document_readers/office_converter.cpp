#include "platform/document_readers/office_converter.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "foundation/descriptor.h"
#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "foundation/url.h"

namespace corvy::platform {

namespace {

constexpr int kTimeout = 15'000;  // milliseconds
constexpr std::uint64_t kLongestRtf = std::uint64_t{1} << 28;

constexpr const char* kPrograms[] = {"/usr/bin/soffice", "/usr/local/bin/soffice",
                                     "/usr/lib/libreoffice/program/soffice"};

// Word processors before the formats that are read here, and beside them.
constexpr std::string_view kExtensions[] = {"602", "abw", "cwk", "doc",   "dot", "fodt", "hwp",
                                            "lwp", "mcw", "odm", "pages", "sdw", "stw",  "sxw",
                                            "uot", "wn",  "wpd", "wps",   "wri", "zabw"};
static_assert(std::ranges::is_sorted(kExtensions));

bool isDocumentName(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().native();
    if (!extension.empty()) extension.erase(0, 1);
    for (char& c : extension) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    return std::ranges::binary_search(kExtensions, extension);
}

// Starts the program, without its output; it goes when this process does.
pid_t start(const char* program, const std::string& profile, const std::string& folder,
            const std::string& path) {
    const std::string setting = "-env:UserInstallation=" + profile;
    const char* const arguments[] = {program,        setting.c_str(), "--headless", "--norestore",
                                     "--convert-to", "rtf",           "--outdir",   folder.c_str(),
                                     path.c_str(),   nullptr};
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child != 0) return child;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    static_cast<void>(::unshare(CLONE_NEWUSER | CLONE_NEWNET));
    const int nowhere = ::open("/dev/null", O_RDWR);
    if (::getppid() != parent || nowhere < 0) ::_exit(127);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        ::dup2(nowhere, stream);
    }
    ::execv(program, const_cast<char* const*>(arguments));
    ::_exit(127);
}

const char* installedProgram() {
    const auto* const program = std::ranges::find_if(
        kPrograms, [](const char* known) { return ::access(known, X_OK) == 0; });
    return program == std::end(kPrograms) ? nullptr : *program;
}

// Whether it has ended in time; it has ended in any case.
bool waitFor(pid_t child) {
    const Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    pollfd wait{process.get(), POLLIN, 0};
    const bool inTime = process && ::poll(&wait, 1, kTimeout) == 1;
    if (!inTime) ::kill(child, SIGKILL);
    int status = 0;
    return ::waitpid(child, &status, 0) == child && inTime && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

}  // namespace

bool canUseOffice(const std::string& path) {
    return isDocumentName(path) && installedProgram() != nullptr;
}

std::optional<Bytes> rtfByOffice(const std::string& path, const std::string& folder) {
    const char* const program = installedProgram();
    if (program == nullptr || folder.empty()) return std::nullopt;
    const std::filesystem::path input = std::filesystem::absolute(path);
    const std::string profile = toUtf8(URLOfPath(folder + "/profile").absoluteString);
    const pid_t child = start(program, profile, folder, input.native());
    if (child < 0 || !waitFor(child)) return std::nullopt;
    return contentsOfFile(pathFromBytes(folder + "/" + input.stem().native() + ".rtf"),
                          {.most = kLongestRtf});
}

}  // namespace corvy::platform
