#include "foundation/resource_map.h"

#include <algorithm>
#include <memory>
#include <span>
#include <string_view>

#include "foundation/big_endian.h"

namespace corvy {

namespace {

// Sizes and places, in bytes.
constexpr std::size_t kHeader = 16;
constexpr std::size_t kReserved = 240;
constexpr std::size_t kDataStart = kHeader + kReserved;
constexpr std::size_t kMapHeader = 28;
constexpr std::size_t kMapAttributes = 22;
constexpr std::size_t kTypeListOffset = 24;
constexpr std::size_t kNameListOffset = 26;
constexpr std::size_t kTypeEntry = 8;
constexpr std::size_t kReference = 12;

constexpr std::uint64_t kNoName = 0xFFFF;
constexpr std::size_t kMostOffset16 = 0xFFFF;
constexpr std::size_t kMostData = 0xFFFFFF;
// Lists that lie upon each other could name far more resources than the format has room for.
constexpr std::size_t kMostResources = 0x10000;

using Span = std::span<const std::byte>;

std::optional<Span> within(Span bytes, std::uint64_t offset, std::uint64_t length) {
    if (offset > bytes.size() || length > bytes.size() - offset) return std::nullopt;
    return bytes.subspan(offset, length);
}

// Bytes behind a count of `width` bytes.
std::optional<Span> counted(Span bytes, std::uint64_t offset, std::size_t width) {
    if (!within(bytes, offset, width)) return std::nullopt;
    return within(bytes, offset + width, bigEndianAt(bytes, offset, width));
}

class MapReader {
public:
    explicit MapReader(const Bytes& fork)
        : fork_(std::make_shared<const Bytes>(fork)), bytes_(*fork_) {}

    std::optional<ResourceMap> read() {
        if (!within(bytes_, 0, kHeader)) return std::nullopt;
        const auto number = [this](std::size_t at) { return bigEndianAt(bytes_, at, 4); };
        const auto data = within(bytes_, number(0), number(8));
        const auto map = within(bytes_, number(4), number(12));
        if (!data || !map || map->size() < kMapHeader) return std::nullopt;
        data_ = *data;
        map_ = *map;
        result_.attributes = static_cast<std::uint16_t>(bigEndianAt(map_, kMapAttributes, 2));
        if (number(0) >= kDataStart && number(4) >= kDataStart) {
            result_.reserved = fork_->chars().substr(kHeader, kReserved);
        }
        return readTypes() ? std::optional(std::move(result_)) : std::nullopt;
    }

private:
    bool readTypes() {
        const std::uint64_t list = bigEndianAt(map_, kTypeListOffset, 2);
        if (!within(map_, list, 2)) return false;
        // One less than there are, so that 0xFFFF is none.
        const std::uint64_t count = (bigEndianAt(map_, list, 2) + 1) & 0xFFFF;
        const auto entries = within(map_, list + 2, count * kTypeEntry);
        if (!entries) return false;
        for (std::size_t at = 0; at < entries->size(); at += kTypeEntry) {
            const auto type = static_cast<ResourceType>(bigEndianAt(*entries, at, 4));
            const std::uint64_t length = (bigEndianAt(*entries, at + 4, 2) + 1) * kReference;
            const auto references = within(map_, list + bigEndianAt(*entries, at + 6, 2), length);
            if (!references || !readReferences(type, *references)) return false;
        }
        return true;
    }

    bool readReferences(ResourceType type, Span references) {
        const std::uint64_t names = bigEndianAt(map_, kNameListOffset, 2);
        for (std::size_t at = 0; at < references.size(); at += kReference) {
            if (result_.resources.size() == kMostResources) return false;
            Resource resource;
            resource.type = type;
            resource.id = static_cast<std::int16_t>(bigEndianAt(references, at, 2));
            const std::uint64_t nameOffset = bigEndianAt(references, at + 2, 2);
            if (nameOffset != kNoName) {
                const auto name = counted(map_, names + nameOffset, 1);
                if (!name) return false;
                resource.name.emplace(reinterpret_cast<const char*>(name->data()), name->size());
            }
            resource.attributes = static_cast<std::uint8_t>(bigEndianAt(references, at + 4, 1));
            const auto data = counted(data_, bigEndianAt(references, at + 5, 3), 4);
            if (!data) return false;
            resource.data = Bytes::sharing(*data, fork_);
            result_.resources.push_back(std::move(resource));
        }
        return true;
    }

    std::shared_ptr<const Bytes> fork_;
    Span bytes_;
    Span data_;
    Span map_;
    ResourceMap result_;
};

// The resources of one type, in their order.
struct TypeGroup {
    ResourceType type;
    std::vector<const Resource*> resources;
};

// Types in the order in which they first come.
std::vector<TypeGroup> groupsOf(const std::vector<Resource>& resources) {
    std::vector<TypeGroup> groups;
    for (const Resource& resource : resources) {
        if (groups.empty() || groups.back().type != resource.type) {
            const auto known = std::ranges::find(groups, resource.type, &TypeGroup::type);
            if (known != groups.end()) {
                known->resources.push_back(&resource);
                continue;
            }
            groups.push_back({resource.type, {}});
        }
        groups.back().resources.push_back(&resource);
    }
    return groups;
}

}  // namespace

std::optional<ResourceMap> ResourceMap::read(const Bytes& fork) {
    return MapReader(fork).read();
}

std::optional<std::string> ResourceMap::write() const {
    const std::size_t mostReferences = (kMostOffset16 - kMapHeader) / kReference;
    if (resources.size() > mostReferences) return std::nullopt;
    const std::vector<TypeGroup> groups = groupsOf(resources);
    std::string data;
    std::string types;
    std::string references;
    std::string names;
    const std::size_t typeList = 2 + groups.size() * kTypeEntry;
    appendBigEndian(types, groups.size() - 1, 2);
    for (const TypeGroup& group : groups) {
        appendBigEndian(types, group.type, 4);
        appendBigEndian(types, group.resources.size() - 1, 2);
        appendBigEndian(types, typeList + references.size(), 2);
        for (const Resource* resource : group.resources) {
            if (resource->data.size() > kMostData || data.size() > kMostData ||
                names.size() >= kNoName) {
                return std::nullopt;
            }
            appendBigEndian(references, static_cast<std::uint16_t>(resource->id), 2);
            appendBigEndian(references, resource->name ? names.size() : kNoName, 2);
            appendBigEndian(references, resource->attributes, 1);
            appendBigEndian(references, data.size(), 3);
            appendBigEndian(references, 0, 4);
            if (resource->name) {
                appendBigEndian(names, resource->name->size(), 1);
                names += *resource->name;
            }
            appendBigEndian(data, resource->data.size(), 4);
            data += resource->data.chars();
        }
    }
    const std::size_t nameList = kMapHeader + types.size() + references.size();
    const std::size_t mapLength = nameList + names.size();
    if (nameList > kMostOffset16 || data.size() > kMostData) return std::nullopt;

    std::string header;
    appendBigEndian(header, kDataStart, 4);
    appendBigEndian(header, kDataStart + data.size(), 4);
    appendBigEndian(header, data.size(), 4);
    appendBigEndian(header, mapLength, 4);
    std::string fork = header + reserved;
    fork.resize(kDataStart);
    fork += data;
    fork += header;
    appendBigEndian(fork, 0, kMapAttributes - kHeader);
    appendBigEndian(fork, attributes, 2);
    appendBigEndian(fork, kMapHeader, 2);
    appendBigEndian(fork, nameList, 2);
    return fork + types + references + names;
}

const Resource* ResourceMap::find(ResourceType type, std::int16_t id) const {
    const auto found = std::ranges::find_if(resources, [type, id](const Resource& resource) {
        return resource.type == type && resource.id == id;
    });
    return found == resources.end() ? nullptr : &*found;
}

}  // namespace corvy
