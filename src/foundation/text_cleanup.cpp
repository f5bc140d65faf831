#include "foundation/text_cleanup.h"

#include <unicode/unorm2.h>

#include <cassert>
#include <cstdint>
#include <limits>

namespace corvy {

namespace {

// Every character below composes with nothing before it, and is composed already.
constexpr char16_t kFirstThatMayCompose = 0x300;
// The longest that composition makes of one unit, in units.
constexpr std::size_t kMostGrowth = 3;

// Subtraction folds each range into one comparison, so that the scan is done many units at a time.
constexpr bool isReplaced(char16_t unit) {
    return unit == 0 || static_cast<char16_t>(unit - 0xD800) <= 0xDFFF - 0xD800 ||
           static_cast<char16_t>(unit - 0xF400) <= 0xF8FF - 0xF400;
}

struct Findings {
    bool replaced = false;
    bool mayCompose = false;
};

Findings look(std::u16string_view text) {
    unsigned replaced = 0;
    unsigned mayCompose = 0;
    for (const char16_t unit : text) {
        replaced |= static_cast<unsigned>(isReplaced(unit));
        mayCompose |= static_cast<unsigned>(unit >= kFirstThatMayCompose);
    }
    return {replaced != 0, mayCompose != 0};
}

void compose(std::u16string& text) {
    assert(text.size() <= std::numeric_limits<std::int32_t>::max() / (kMostGrowth + 1));
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* form = unorm2_getNFCInstance(&status);
    const auto length = static_cast<std::int32_t>(text.size());
    const std::int32_t composed = unorm2_spanQuickCheckYes(form, text.data(), length, &status);
    if (U_FAILURE(status) || composed == length) return;

    const auto start = static_cast<std::size_t>(composed);
    const std::u16string rest = text.substr(start);
    text.resize(start + rest.size() * kMostGrowth);
    const std::int32_t after = unorm2_normalizeSecondAndAppend(
        form, text.data(), composed, static_cast<std::int32_t>(text.size()), rest.data(),
        static_cast<std::int32_t>(rest.size()), &status);
    if (U_SUCCESS(status)) {
        text.resize(static_cast<std::size_t>(after));
    } else {
        text.replace(start, std::u16string::npos, rest);
    }
}

}  // namespace

void fixAndNormalizeString(std::u16string& text) {
    const Findings found = look(text);
    if (found.replaced) {
        for (char16_t& unit : text) {
            if (isReplaced(unit)) unit = u' ';
        }
    }
    if (found.mayCompose) compose(text);
}

std::u16string fixedAndNormalizedString(std::u16string_view text) {
    std::u16string fixed(text);
    fixAndNormalizeString(fixed);
    return fixed;
}

}  // namespace corvy
