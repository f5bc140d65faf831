#include "foundation/bytes.h"

#include <utility>

namespace corvy {

Bytes::Bytes(std::vector<std::byte> buffer) {
    auto storage = std::make_shared<const std::vector<std::byte>>(std::move(buffer));
    view_ = *storage;
    owner_ = std::move(storage);
}

Bytes Bytes::copyOf(std::span<const std::byte> bytes) {
    return Bytes(std::vector<std::byte>(bytes.begin(), bytes.end()));
}

Bytes Bytes::copyOf(std::string_view bytes) {
    return copyOf(std::as_bytes(std::span(bytes)));
}

Bytes Bytes::sharing(std::span<const std::byte> bytes, std::shared_ptr<const void> owner,
                     int descriptor) {
    Bytes result;
    result.view_ = bytes;
    result.owner_ = std::move(owner);
    result.descriptor_ = descriptor;
    return result;
}

std::string_view Bytes::chars() const {
    return {reinterpret_cast<const char*>(view_.data()), view_.size()};
}

}  // namespace corvy
