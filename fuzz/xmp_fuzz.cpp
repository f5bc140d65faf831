// Packets of XMP.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/xmp_packet.h"

using corvy::platform::XmpPacket;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const XmpPacket packet(std::as_bytes(std::span(data, size)));
    for (const char* name : {"dc:title", "dc:creator", "xmp:Rating", "rdf:about"}) {
        const auto& values = packet.values(name);
        if (values.size() > corvy::platform::kMostXmpValues) std::abort();
        std::size_t length = 0;
        for (const auto& value : values) {
            if (value.empty()) std::abort();
            length += value.size();
        }
        if (length > size) std::abort();
        packet.number(name);
        packet.date(name);
    }
    return 0;
}
