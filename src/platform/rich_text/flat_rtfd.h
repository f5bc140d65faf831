// RTFD in its flat form: an RTF document and its attachments as one run of bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvy::platform {

// A file of the document. The RTF itself always has the name "TXT.rtf".
struct RtfdFile {
    std::string name;  // UTF-8
    std::string contents;
};

// Now, in seconds since 1970-01-01T00:00:00Z.
std::uint32_t currentTime();

// The flat form of a document: its RTF, then its attachments in the given order. All files get
// `modificationTime`.
std::string flatRtfdOf(std::string_view rtf, const std::vector<RtfdFile>& attachments = {},
                       std::uint32_t modificationTime = currentTime());

}  // namespace corvy::platform
