// Single resources in the resource fork of a file (resource_file.h says where that lies).
//
// A fork opened for writing is the only such one until it is destroyed. Nothing is logged.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytes.h"
#include "foundation/resource_file.h"

namespace corvy {

// The type of four characters of the Mac Roman set, such as "STR#"; none for another text.
std::optional<ResourceType> resourceTypeOfString(std::u16string_view text);
std::u16string stringOfResourceType(ResourceType type);
// Empty for a resource without a name.
std::u16string nameOfResource(const Resource& resource);

class ResourceFork {
public:
    // None when the file is not there, or has no fork that can be read.
    static std::optional<ResourceFork> resourceForkForReadingAtPath(std::u16string_view path);
    // Makes the file and the fork where they are missing; the folder must exist. None when that
    // fails, when the name has 256 code units or more, and when the fork is open for writing.
    static std::optional<ResourceFork> resourceForkForWritingAtPath(std::u16string_view path);

    const std::vector<Resource>& resources() const { return file_.map().resources; }
    // The bytes of a resource; none when there is no such one.
    std::optional<Bytes> dataForType(ResourceType type, std::int16_t id) const;

    // Adds or replaces a resource, on disk at once; it has neither name nor attributes. False for
    // no data, for forks open for reading, for a protected resource, and when the fork becomes
    // larger than its format allows or cannot be written; nothing has changed then.
    bool addData(const std::optional<Bytes>& data, ResourceType type, std::int16_t id);
    // Adds the text as a count of one byte and its ASCII characters: letters without their accents,
    // "?" for each other character. False for more than 255 code units.
    bool addString(std::u16string_view text, ResourceType type, std::int16_t id);
    // True when there is no such resource any more, on disk too.
    bool removeType(ResourceType type, std::int16_t id);

private:
    explicit ResourceFork(ResourceFile file) : file_(std::move(file)) {}
    static std::optional<ResourceFork> opened(const std::string& path, ResourceFile::Access access);

    ResourceFile file_;
};

}  // namespace corvy
