// Requests to the toolkit bridge: every line gets one line of JSON, whatever it holds.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "foundation/json.h"
#include "tools/toolkit/toolkit_bridge.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    // No files: an operation that reads one would wait on a pipe or a device.
    if (line.find("File") != std::string_view::npos ||
        line.find("\\u00") != std::string_view::npos) {
        return 0;
    }
    const std::string reply = corvy::tools::replyToRequest(line);
    if (reply.find('\n') != std::string::npos) std::abort();
    const auto json = corvy::propertyListOfJson(reply);
    if (!json || !json->dictionary() || !json->dictionary()->contains(u"id")) std::abort();
    return 0;
}
