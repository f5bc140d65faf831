// Pictures inside RTF text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "foundation/size_string.h"
#include "platform/rich_text/file_node.h"
#include "platform/rich_text/rtf_words.h"

namespace corvy::platform {

class RtfPicture {
public:
    void apply(RtfWord word, std::int32_t value);
    void addDigits(std::string_view digits);
    void addBytes(std::string_view bytes);

    // As it is shown, in points; zero when it is not told.
    Size size() const;
    // "image.png" or "image.jpg"; none for the formats that only Windows or the old Mac drew, and
    // when there are no bytes.
    std::optional<FileNode> takeFile();

private:
    RtfWord format_ = RtfWord::unknown;
    std::int32_t width_ = 0;  // twips
    std::int32_t height_ = 0;
    std::int32_t percentX_ = 100;
    std::int32_t percentY_ = 100;
    std::vector<std::byte> bytes_;
    int high_ = -1;  // a digit that waits for the next
};

}  // namespace corvy::platform
