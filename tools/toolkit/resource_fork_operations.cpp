#include "foundation/resource_fork.h"

#include <utility>

#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;

struct Address {
    ResourceType type;
    std::int16_t id;
};

// None when no resource can have the type and the number.
std::optional<Address> addressOf(Text type, std::int64_t id) {
    const auto code = resourceTypeOfString(type);
    if (!code || !std::in_range<std::int16_t>(id)) return std::nullopt;
    return Address{*code, static_cast<std::int16_t>(id)};
}

std::optional<Bytes> dataForType(Text path, Text type, std::int64_t id) {
    const auto address = addressOf(type, id);
    const auto fork = ResourceFork::resourceForkForReadingAtPath(path);
    return address && fork ? fork->dataForType(address->type, address->id) : std::nullopt;
}

bool addData(Text path, const std::optional<Bytes>& data, Text type, std::int64_t id) {
    const auto address = addressOf(type, id);
    if (!data || !address) return false;
    auto fork = ResourceFork::resourceForkForWritingAtPath(path);
    return fork && fork->addData(data, address->type, address->id);
}

bool addString(Text path, Text text, Text type, std::int64_t id) {
    const auto address = addressOf(type, id);
    if (!address) return false;
    auto fork = ResourceFork::resourceForkForWritingAtPath(path);
    return fork && fork->addString(text, address->type, address->id);
}

bool removeType(Text path, Text type, std::int64_t id) {
    const auto address = addressOf(type, id);
    if (!address) return false;
    auto fork = ResourceFork::resourceForkForWritingAtPath(path);
    return fork && fork->removeType(address->type, address->id);
}

constexpr Operation kOperations[] = {
    function<dataForType>("resourceFork.dataForType:ID:"),
    function<addData>("resourceFork.addData:type:ID:"),
    function<addString>("resourceFork.addString:type:ID:"),
    function<removeType>("resourceFork.removeType:ID:"),
};

}  // namespace

std::span<const Operation> resourceForkOperations() {
    return kOperations;
}

}  // namespace corvy::tools
