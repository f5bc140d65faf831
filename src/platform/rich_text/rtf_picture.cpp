#include "platform/rich_text/rtf_picture.h"

#include <algorithm>
#include <utility>

#include "platform/rich_text/rtf_scanner.h"
#include "platform/rich_text/rtf_state.h"

namespace corvy::platform {

namespace {

constexpr std::int32_t kLargest = 1'000'000;  // twips

}  // namespace

void RtfPicture::apply(RtfWord word, std::int32_t value) {
    const std::int32_t bounded = std::clamp(value, 0, kLargest);
    switch (word) {
        case RtfWord::picwgoal: width_ = bounded; break;
        case RtfWord::pichgoal: height_ = bounded; break;
        case RtfWord::picscalex: percentX_ = bounded; break;
        case RtfWord::picscaley: percentY_ = bounded; break;
        default: format_ = word; break;
    }
}

void RtfPicture::addDigits(std::string_view digits) {
    for (const char c : digits) {
        const int digit = RtfScanner::hexDigit(c);
        if (digit < 0) continue;
        if (high_ < 0) {
            high_ = digit;
        } else {
            bytes_.push_back(static_cast<std::byte>(std::exchange(high_, -1) * 16 + digit));
        }
    }
}

void RtfPicture::addBytes(std::string_view bytes) {
    const auto* const first = reinterpret_cast<const std::byte*>(bytes.data());
    bytes_.insert(bytes_.end(), first, first + bytes.size());
}

Size RtfPicture::size() const {
    if (width_ == 0 || height_ == 0) return {};
    return {width_ / kTwipsPerPoint * percentX_ / 100, height_ / kTwipsPerPoint * percentY_ / 100};
}

std::optional<FileNode> RtfPicture::takeFile() {
    if (bytes_.empty()) return std::nullopt;
    FileNode file;
    switch (format_) {
        case RtfWord::pngblip: file.name = u"image.png"; break;
        case RtfWord::jpegblip: file.name = u"image.jpg"; break;
        default: return std::nullopt;
    }
    file.contents = Bytes(std::move(bytes_));
    return file;
}

}  // namespace corvy::platform
