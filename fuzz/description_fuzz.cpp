// Descriptions of objects that other processes send. What was read is written and read again.
#include <cstdint>
#include <cstdlib>

#include "platform/messaging/introspection.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace corvy::platform;
    const auto found = readDescription({reinterpret_cast<const char*>(data), size}, "/Object");
    if (!found || !found->interface) return 0;
    const auto again = readDescription(describeObject(*found->interface, {}), "/Object");
    if (!again || !again->interface ||
        again->interface->methods.size() != found->interface->methods.size()) {
        std::abort();
    }
    return 0;
}
