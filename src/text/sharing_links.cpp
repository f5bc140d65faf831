#include "text/sharing_links.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>

namespace corvy {

namespace {

#include "text/sharing_links.inc"

static_assert(std::size(kServices) == 57 && std::ranges::is_sorted(kServices));
static_assert(std::size(kPathServices) == 5 && std::ranges::is_sorted(kPathServices));

constexpr std::size_t kLeastLength = 16;
constexpr std::size_t kLeastPathLength = 18;

// In lower case; what is not ASCII becomes a byte that no fragment holds.
std::string folded(std::u16string_view address) {
    std::string text(address.size(), '\0');
    std::transform(address.begin(), address.end(), text.begin(), [](char16_t c) {
        if (c >= u'A' && c <= u'Z') return static_cast<char>(c + 32);
        return c < 0x80 ? static_cast<char>(c) : '\x7F';
    });
    return text;
}

template <std::size_t n>
bool containsAny(std::string_view text, const std::string_view (&fragments)[n]) {
    return std::ranges::any_of(fragments, [text](std::string_view fragment) {
        return text.find(fragment) != std::string_view::npos;
    });
}

}  // namespace

bool stringURLIsBookmarklet(std::u16string_view address) {
    if (address.size() < kLeastLength) return false;
    const std::string text = folded(address);
    if (text.find('?') != std::string::npos && containsAny(text, kServices)) return true;
    return address.size() >= kLeastPathLength && containsAny(text, kPathServices);
}

}  // namespace corvy
