// Values on the wire: property lists to and from the bodies of D-Bus messages.
//
//     text                    s; ("utf-16le", units) when it has U+0000 or lone surrogates
//     bytes                   ay
//     large text or bytes     (sht): "utf-16le" or "bytes", sealed memory file, length in bytes
//     numbers, flags          i, x, d, b
//     date, address           ("date", seconds since 1970), ("url", text)
//     array, dictionary       av, a{sv}
//     null placeholder        ("null")
//
// An address or a dictionary whose text does not fit in an `s` is ("url", units) or
// ("dictionary", [key, value, ...]). Argument and result objects are wrapped in an `av` of none or
// one element: none is nil.
//
// The reader takes every other integer type and arrays of any element type as well.
#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/remote_interface.h"
#include "platform/messaging/bus.h"

namespace corvy::platform::wire {

// Text and bytes from this size on travel in memory files...
inline constexpr std::size_t kInlineLimit = std::size_t{16} << 20;
// ... and the largest others too until the rest of the message is within this.
inline constexpr std::size_t kInlineTotal = std::size_t{32} << 20;
inline constexpr std::size_t kMaxMemoryFiles = 16;
// All memory files of a message together, in bytes.
inline constexpr std::uint64_t kMaxMemoryFileBytes = std::uint64_t{2} << 30;
// Collections inside each other: what still fits in the nesting that D-Bus allows.
inline constexpr unsigned kMaxDepth = 20;
inline constexpr std::size_t kMaxValues = std::size_t{1} << 20;

// The values cannot be sent; the message is not to be used.
struct NotSendable : std::runtime_error {
    using std::runtime_error::runtime_error;
};
// The message is not what was agreed on, or breaks a bound.
struct Malformed : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// "av", "b" or "x".
const char* signatureOf(RemoteType type);

// As many values as types. Throws NotSendable.
void append(sd_bus_message* message, std::span<const RemoteType> types,
            std::span<const RemoteValue> values);

// The whole body. Throws Malformed.
std::vector<RemoteValue> read(sd_bus_message* message, std::span<const RemoteType> types);

// One value as a variant; for the properties. Text or keys that do not fit in an `s` lose the
// code units in question. Throws NotSendable.
void appendProperty(sd_bus_message* message, const PropertyList& value);
// The type inside that variant.
const char* propertySignature(const PropertyList& value);
// A body that is one a{sv}. Throws Malformed.
Dictionary readDictionary(sd_bus_message* message);

}  // namespace corvy::platform::wire
