// Property lists as bytes, between processes of one build on one machine.
//
// Every value comes back as it was: kinds, bits of numbers, lone surrogates, order of keys. Large
// byte values and strings travel beside the tree in sealed memory files, in the order in which the
// tree names them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "foundation/descriptor.h"
#include "foundation/property_list.h"

namespace corvy::platform {

// The bounds of both directions. What is beyond them is not coded, and not taken either.
inline constexpr std::size_t kMaxCodedDepth = 200;
inline constexpr std::size_t kMaxCodedValues = std::size_t{1} << 21;  // keys count as well
inline constexpr std::size_t kMaxCodedSize = std::size_t{1} << 30;    // bytes of the tree
inline constexpr std::size_t kMaxCodedFiles = 64;
// Values of this many bytes and more lie in files, as long as there are not too many of them. Here
// a file starts to beat the copies into and out of a socket and a fresh heap.
inline constexpr std::size_t kFileFrom = std::size_t{64} << 10;

struct CodedPropertyList {
    std::vector<std::byte> tree;
    std::vector<Descriptor> files;
};

// None beyond the bounds, or when memory files cannot be made. Bytes that lie in a sealed memory
// file already hand that on, whatever their size.
std::optional<CodedPropertyList> codedPropertyList(const PropertyList& value);

struct DecodedPropertyList {
    PropertyList value;
    std::size_t values = 0;     // how many there were in the tree, keys counted
    std::size_t fileBytes = 0;  // how many lay in files
};

// None for anything that does not code exactly one value with exactly these files. Needs no memory
// but what the tree and the files back; takes the files over in every case.
std::optional<DecodedPropertyList> decodedPropertyList(std::span<const std::byte> tree,
                                                       std::vector<Descriptor> files = {});

}  // namespace corvy::platform
