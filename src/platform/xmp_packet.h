// XMP packets: what documents and pictures say of themselves in RDF.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"

namespace corvy::platform {

// Of a packet, in bytes; a longer one says nothing.
inline constexpr std::size_t kMostXmpBytes = std::size_t{8} << 20;
inline constexpr std::size_t kMostXmpProperties = 4096;
inline constexpr std::size_t kMostXmpValues = 1000;  // of one property

// The properties of a packet that are texts or lists of texts, by their usual names, such as
// "dc:title". Prefixes other than the usual ones are not looked up.
class XmpPacket {
public:
    XmpPacket() = default;
    // Up to where the bytes stop being XML.
    explicit XmpPacket(std::span<const std::byte> bytes);

    bool empty() const { return properties_.empty(); }
    // Empty without the property; white space around the values is gone, and none is empty.
    const std::vector<std::u16string>& values(std::string_view name) const;
    // The first value; of a text in several languages, the one that is for all others.
    std::u16string text(std::string_view name) const;
    std::optional<double> number(std::string_view name) const;
    // A time without a zone is the machine's.
    std::optional<Date> date(std::string_view name) const;

private:
    std::map<std::string, std::vector<std::u16string>, std::less<>> properties_;
};

}  // namespace corvy::platform
