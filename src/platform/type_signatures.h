// What a file is by its first bytes, and whether they speak against what its name says.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace corvy::platform {

// How many first bytes are worth to be read.
inline constexpr std::size_t kSignatureHead = 4096;

// Identifiers are those of declared types.
struct FoundSignature {
    std::u16string_view type;       // as exactly as the bytes tell
    std::u16string_view container;  // the form that formats share, such as ZIP; else `type`
    bool isText = false;            // words of a text format rather than bytes that no text has
    bool isWeak = false;            // too short to be held against a name
};

// By the first bytes of a file, up to kSignatureHead.
std::optional<FoundSignature> signatureOf(std::span<const std::byte> head);

// Whether a file with this signature can be of the type that its name stands for. It cannot when
// files of that type begin in another way, or hold text and this one does not.
bool allowsType(const FoundSignature& signature, std::u16string_view type);

// Documents of the older Office programs are told apart by their directory of streams: where in the
// file it lies, and what it says.
std::optional<std::size_t> compoundDirectoryOffset(std::span<const std::byte> head);
inline constexpr std::size_t kCompoundDirectoryLength = 4096;
std::optional<std::u16string_view> typeOfCompoundDirectory(std::span<const std::byte> directory);

// Text in UTF-8 without control characters that no text has. A part of a longer text may end
// inside a character.
bool looksLikeText(std::span<const std::byte> bytes, bool isPart);

}  // namespace corvy::platform
