#include "foundation/file_contents.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <ios>
#include <system_error>

#include "foundation/text.h"

namespace corvy {

std::optional<std::string> contentsOfFile(std::u16string_view path) {
    const std::optional<std::string> name = bytesOfPath(path);
    std::error_code error;
    if (!name || !std::filesystem::is_regular_file(*name, error)) return std::nullopt;
    const std::uintmax_t size = std::filesystem::file_size(*name, error);
    std::ifstream file(*name, std::ios::binary);
    if (!file || error) return std::nullopt;
    std::string content(size, '\0');
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(file.gcount()));
    if (file.bad()) return std::nullopt;
    return content;
}

}  // namespace corvy
