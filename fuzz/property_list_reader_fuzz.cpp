// Property lists of all three forms: what is read must be writable, and read back the same.
#include <span>

#include "fuzz/fuzz_text.h"
#include "platform/property_list_reader.h"
#include "platform/property_list_writer.h"

using namespace corvy;
using namespace corvy::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes file = Bytes::copyOf(std::as_bytes(std::span(data, size)));
    propertyListFormat(file);
    const auto first = readPropertyList(file);
    if (!first) return 0;
    const auto written = binaryPropertyList(*first);
    require(written.has_value());
    const auto second = readPropertyList(Bytes(*written));
    require(second.has_value());
    // Compared as written: a value that is no number is not equal to itself.
    require(binaryPropertyList(*second) == written);
    return 0;
}
