// Sealed memory files: bytes that travel to another process by descriptor instead of by copy.
//
// A file is written once and then sealed, so that nobody can change or shorten it under a reader
// that has it mapped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "foundation/bytes.h"
#include "foundation/descriptor.h"

namespace corvy::platform {

// From this size on, bytes that were mapped keep their descriptor open and name it. Smaller ones
// close it, so that a sender of many files cannot use up the descriptors of the receiver.
inline constexpr std::size_t kDescriptorKeptFrom = std::size_t{16} << 20;

// Copies the bytes into a new file; none when memory or descriptors have run out.
Descriptor sealedMemoryOf(std::span<const std::byte> bytes);

// The first `length` bytes of a file that another process sent, without a copy. None when it is
// no memory file, may still shrink or be written to, or is shorter: reading its mapping could
// fault, or give other bytes each time.
std::optional<Bytes> bytesOfSealedMemory(Descriptor file, std::uint64_t length);

}  // namespace corvy::platform
