#include "metadata/importer_tool.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <optional>
#include <system_error>

#include "foundation/child_process.h"
#include "foundation/descriptor.h"
#include "foundation/property_list.h"
#include "foundation/text.h"
#include "platform/property_list_reader.h"

namespace corvy {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLongestRun{10};
constexpr std::size_t kMostOutput = std::size_t{8} << 20;  // bytes
// How often to look whether a tool has ended whose own children keep its output open.
constexpr int kPauseMilliseconds = 50;

// Reads what there is without waiting. False at the end of the output.
bool drain(int pipe, std::string& output) {
    std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t count = ::read(pipe, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno == EAGAIN;
        if (count == 0) return false;
        const std::size_t room = kMostOutput - output.size();
        output.append(buffer.data(), std::min(static_cast<std::size_t>(count), room));
    }
}

// None when it does not end in time.
std::optional<std::string> standardErrorOf(const std::string& tool) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    const Descriptor in(ends[0]);
    Descriptor out(ends[1]);
    ::fcntl(out.get(), F_SETFL, 0);  // the tool writes to an ordinary pipe
    ChildProcess child({.launchPath = tool, .arguments = {"-L"}, .standardError = out.get()});
    child.launch();
    out.reset();

    std::string output;
    const Clock::time_point deadline = Clock::now() + kLongestRun;
    bool isOpen = true;
    while (child.isRunning()) {
        if (Clock::now() >= deadline) {
            child.kill();
            child.waitUntilExit();
            return std::nullopt;
        }
        pollfd entry{in.get(), POLLIN, 0};
        ::poll(&entry, isOpen ? 1 : 0, kPauseMilliseconds);
        if (isOpen) isOpen = drain(in.get(), output);
    }
    drain(in.get(), output);
    return output;
}

}  // namespace

ImporterListing listedImporters(std::u16string_view tool) {
    const auto path = bytesOfPath(tool);
    const auto output = path ? standardErrorOf(*path) : std::nullopt;
    return output ? readImporterListing(*output) : ImporterListing{};
}

ImporterListing readImporterListing(std::string_view output) {
    if (!fromStrictUtf8(output)) return {.isText = false};
    ImporterListing listing;
    const std::string_view list = output.substr(std::min(output.find("(\n"), output.size()));
    const bool isAscii = std::ranges::all_of(list, [](char c) { return c >= 0; });
    if (list.empty() || !isAscii) return listing;
    const auto parsed = platform::readPropertyList(Bytes::copyOf(list));
    if (!parsed || !parsed->array()) return listing;
    for (const PropertyList& element : *parsed->array()) {
        if (element.string()) listing.paths.push_back(*element.string());
    }
    return listing;
}

}  // namespace corvy
