// A worker program whose operations misbehave in every way that a library can.

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

#include "foundation/text.h"
#include "platform/worker.h"

namespace {

using namespace corvy;
using platform::WorkerChannel;
using Result = std::optional<PropertyList>;

std::int64_t integerOf(const Dictionary& arguments, std::u16string_view key) {
    const PropertyList* value = arguments.find(key);
    return value ? value->integer().value_or(0) : 0;
}

void sleepFor(std::int64_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// The child's end of its channel: the one socket that it has.
int channelDescriptor() {
    for (int number = 3; number < 64; ++number) {
        struct stat status {};
        if (::fstat(number, &status) == 0 && S_ISSOCK(status.st_mode)) return number;
    }
    return -1;
}

Result echo(const Dictionary& arguments, WorkerChannel&) {
    return arguments;
}

Result count(const Dictionary& arguments, WorkerChannel& channel) {
    const std::int64_t total = integerOf(arguments, u"count");
    for (std::int64_t i = 0; i < total; ++i) channel.sendPart(i);
    if (arguments.contains(u"thenCrash")) std::abort();
    return PropertyList(total);
}

Result ask(const Dictionary& arguments, WorkerChannel& channel) {
    Array answers;
    for (const char16_t* question : {u"first", u"second"}) answers.push_back(channel.ask(question));
    if (arguments.contains(u"quiet")) return std::nullopt;
    return answers;
}

Result fault(const Dictionary&, WorkerChannel&) {
    ::signal(SIGSEGV, SIG_DFL);  // no report of a sanitizer
    ::raise(SIGSEGV);
    return Null();
}

Result spin(const Dictionary&, WorkerChannel&) {
    for (volatile bool goesOn = true; goesOn;) {
    }
    return Null();
}

Result spinSending(const Dictionary&, WorkerChannel& channel) {
    for (;;) channel.sendPart(std::u16string(1000, u'x'));
}

Result eatMemory(const Dictionary&, WorkerChannel&) {
    std::vector<std::vector<char>> eaten;
    for (;;) eaten.emplace_back(std::size_t{16} << 20, 'x');
}

// Leaves a grandchild behind that holds everything open.
Result leaveGrandchild(const Dictionary& arguments, WorkerChannel&) {
    const bool escapes = arguments.contains(u"escape");
    if (::fork() == 0) {
        if (escapes) ::setsid();
        ::signal(SIGTERM, SIG_IGN);
        for (;;) ::pause();
    }
    if (arguments.contains(u"answer")) return Null();
    ::_exit(0);
}

Result closeChannel(const Dictionary&, WorkerChannel& channel) {
    channel.sendPart(u"before");
    ::shutdown(channelDescriptor(), SHUT_RDWR);
    for (;;) ::pause();
}

// Sends what it was given as it is, then waits.
Result sendRaw(const Dictionary& arguments, WorkerChannel&) {
    const Bytes bytes = *arguments.find(u"bytes")->bytes();
    if (::write(channelDescriptor(), bytes.data(), bytes.size()) < 0) std::abort();
    for (;;) ::pause();
}

Result openSocket(const Dictionary&, WorkerChannel&) {
    const int network = ::socket(AF_INET, SOCK_STREAM, 0);
    const std::int64_t error = network < 0 ? errno : 0;
    int pair[2];
    const bool hasPair = ::socketpair(AF_UNIX, SOCK_STREAM, 0, pair) == 0;
    return Array{error, hasPair};
}

// Leaves a file behind, then ends as it is told.
Result useTemporaryFolder(const Dictionary& arguments, WorkerChannel& channel) {
    const std::string folder = channel.temporaryFolder();
    const std::string path = folder + "/file";
    if (folder.empty() || folder != std::getenv("TMPDIR") || ::mkdir(path.c_str(), 0700) != 0) {
        return Null();
    }
    channel.sendPart(fromUtf8(folder));
    if (arguments.contains(u"crash")) std::abort();
    if (arguments.contains(u"killParent")) ::kill(::getppid(), SIGKILL);
    return true;
}

Result writeFile(const Dictionary& arguments, WorkerChannel&) {
    const int file = ::open("/dev/shm", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file < 0 || ::ftruncate(file, integerOf(arguments, u"size")) != 0) return std::nullopt;
    return Null();
}

}  // namespace

int main(int argc, char** argv) {
    platform::WorkerFamily family;
    family.name = "test";
    family.libraries = {{"trouble", "1.0"}};
    family.initialise = [] {
        if (const char* time = std::getenv("TEST_WORKER_START_MS")) sleepFor(std::atoi(time));
    };
    family.operations = {
        {"echo", echo},
        {"count", count},
        {"ask", ask},
        {"none", [](const Dictionary&, WorkerChannel&) { return Result(); }},
        {"throw",
         [](const Dictionary&, WorkerChannel&) -> Result { throw std::runtime_error("no"); }},
        {"fault", fault},
        {"abort", [](const Dictionary&, WorkerChannel&) -> Result { std::abort(); }},
        {"exit", [](const Dictionary&, WorkerChannel&) -> Result { ::_exit(0); }},
        {"hang",
         [](const Dictionary&, WorkerChannel&) -> Result {
             for (;;) ::pause();
         }},
        {"stop",
         [](const Dictionary&, WorkerChannel&) -> Result {
             ::raise(SIGSTOP);
             return Null();
         }},
        {"sleep",
         [](const Dictionary& arguments, WorkerChannel&) -> Result {
             sleepFor(integerOf(arguments, u"milliseconds"));
             return Null();
         }},
        {"spin", spin},
        {"spinSending", spinSending},
        {"eatMemory", eatMemory},
        {"leaveGrandchild", leaveGrandchild},
        {"closeChannel", closeChannel},
        {"sendRaw", sendRaw},
        {"openSocket", openSocket},
        {"writeFile", writeFile},
        {"useTemporaryFolder", useTemporaryFolder},
        {"parent",
         [](const Dictionary&, WorkerChannel&) -> Result {
             return PropertyList(std::int64_t{::getppid()});
         }},
        {"killParent",
         [](const Dictionary&, WorkerChannel&) -> Result {
             ::kill(::getppid(), SIGKILL);
             for (;;) ::pause();
         }},
    };
    return platform::workerMain(family, argc, argv);
}
