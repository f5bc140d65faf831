// Flat RTFD, as it travels, and the package on disk.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvy::tools {

struct RtfdEntry {
    std::string name;           // of a file inside the package
    std::string_view contents;  // inside the flat bytes
};

// The regular files of the flat form, TXT.rtf among them, without the reserved names. None for
// bytes that are no flat RTFD, break off, or have no TXT.rtf.
std::optional<std::vector<RtfdEntry>> entriesOfFlatRtfd(std::string_view flat);

// Makes the folder and the files in it; files of the same names are replaced. The error number, 0
// when all is written.
int writeRtfdPackage(const std::string& path, const std::vector<RtfdEntry>& entries);

}  // namespace corvy::tools
