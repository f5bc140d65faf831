#include "foundation/resource_fork.h"

#include <algorithm>
#include <utility>

#include "foundation/big_endian.h"
#include "foundation/character_tables.h"
#include "foundation/converters.h"
#include "foundation/text.h"

namespace corvy {

namespace {

constexpr std::size_t kTypeLength = 4;

bool isSuccess(ResourceError error) {
    return error == ResourceError::none || error == ResourceError::duplicateFileName;
}

std::u16string textOf(std::string_view macRoman) {
    const auto decoded =
        tryToCreateStringWithEncoding(std::as_bytes(std::span(macRoman)), Encoding::kMacRoman);
    return decoded ? decoded->text : std::u16string();
}

// One character for each of the text, so that the two units of a pair give one.
std::string lossyAscii(std::u16string_view text) {
    std::string ascii;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t plain = text[i] < 0x80 ? text[i] : umlautsToAscii(text[i]);
        ascii.push_back(plain < 0x80 ? static_cast<char>(plain) : '?');
        const bool isPair =
            (text[i] & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
        if (isPair) ++i;
    }
    return ascii;
}

// False when the resource is protected.
bool removeFrom(ResourceMap& map, ResourceType type, std::int16_t id) {
    const auto isMeant = [type, id](const Resource& resource) {
        return resource.type == type && resource.id == id;
    };
    const bool isProtected =
        std::ranges::any_of(map.resources, [isMeant](const Resource& resource) {
            return isMeant(resource) && (resource.attributes & Resource::kProtected) != 0;
        });
    if (!isProtected) std::erase_if(map.resources, isMeant);
    return !isProtected;
}

}  // namespace

std::optional<ResourceType> resourceTypeOfString(std::u16string_view text) {
    if (text.size() != kTypeLength) return std::nullopt;
    const auto bytes = dataUsingEncoding(text, Encoding::kMacRoman);
    // What the encoding lacks becomes longer.
    if (!bytes || bytes->size() != kTypeLength) return std::nullopt;
    const auto number = bigEndianAt(std::as_bytes(std::span(*bytes)), 0, kTypeLength);
    return static_cast<ResourceType>(number);
}

std::u16string stringOfResourceType(ResourceType type) {
    std::string bytes;
    appendBigEndian(bytes, type, kTypeLength);
    return textOf(bytes);
}

std::u16string nameOfResource(const Resource& resource) {
    return resource.name ? textOf(*resource.name) : std::u16string();
}

std::optional<ResourceFork> ResourceFork::opened(const std::string& path,
                                                 ResourceFile::Access access) {
    std::optional<ResourceFile> file;
    if (!isSuccess(ResourceFile::open(path, access, file)) || !file) return std::nullopt;
    return ResourceFork(std::move(*file));
}

std::optional<ResourceFork> ResourceFork::resourceForkForReadingAtPath(std::u16string_view path) {
    const auto bytes = bytesOfPath(path);
    return bytes ? opened(*bytes, ResourceFile::Access::read) : std::nullopt;
}

std::optional<ResourceFork> ResourceFork::resourceForkForWritingAtPath(std::u16string_view path) {
    constexpr std::size_t kLongestName = 255;  // code units
    const std::u16string_view name = lastPathComponent(path);
    const auto bytes = bytesOfPath(path);
    if (!bytes || name.empty() || name.size() > kLongestName) return std::nullopt;
    if (!isSuccess(ResourceFile::create(*bytes))) return std::nullopt;
    return opened(*bytes, ResourceFile::Access::write);
}

std::optional<Bytes> ResourceFork::dataForType(ResourceType type, std::int16_t id) const {
    const Resource* resource = file_.map().find(type, id);
    return resource ? std::optional(resource->data) : std::nullopt;
}

bool ResourceFork::addData(const std::optional<Bytes>& data, ResourceType type, std::int16_t id) {
    if (!data) return false;
    ResourceMap map = file_.map();
    if (!removeFrom(map, type, id)) return false;
    map.resources.push_back(
        {.type = type, .id = id, .attributes = 0, .name = std::nullopt, .data = *data});
    return file_.replace(std::move(map)) == ResourceError::none;
}

bool ResourceFork::addString(std::u16string_view text, ResourceType type, std::int16_t id) {
    constexpr std::size_t kLongest = 255;  // code units
    if (text.size() > kLongest) return false;
    // kept: the count is that of the code units, also where fewer characters come out of them.
    std::string pascal;
    appendBigEndian(pascal, text.size(), 1);
    return addData(Bytes::copyOf(pascal + lossyAscii(text)), type, id);
}

bool ResourceFork::removeType(ResourceType type, std::int16_t id) {
    if (!file_.map().find(type, id)) return true;
    ResourceMap map = file_.map();
    return removeFrom(map, type, id) && file_.replace(std::move(map)) == ResourceError::none;
}

}  // namespace corvy
