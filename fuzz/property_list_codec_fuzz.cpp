// The coding of property lists between processes: what decodes must code again and come back the
// same. The first byte says how many memory files come along, each of 64 bytes.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "platform/property_list_codec.h"
#include "platform/sealed_memory.h"

using namespace corvy::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    std::vector<corvy::Descriptor> files;
    const std::array<std::byte, 64> content{};
    for (int i = 0; i < data[0] % 4; ++i) files.push_back(sealedMemoryOf(content));
    const auto tree = std::as_bytes(std::span(data + 1, size - 1));

    const auto first = decodedPropertyList(tree, std::move(files));
    if (!first) return 0;
    auto coded = codedPropertyList(first->value);
    if (!coded) std::abort();
    const auto second = decodedPropertyList(coded->tree, std::move(coded->files));
    if (!second || second->values != first->values) std::abort();
    // Compared as coded: a value that is no number is not equal to itself.
    const auto again = codedPropertyList(second->value);
    if (!again || again->tree != coded->tree) std::abort();
    return 0;
}
