#include "foundation/string_compare.h"

#include <optional>

#include "foundation/character_tables.h"

namespace corvy {

namespace {

// The units of a text that are in the class, in upper case.
class Reduced {
public:
    Reduced(std::u16string_view text, const std::uint8_t* rep) : text_(text), rep_(rep) {}

    // None at the end.
    std::optional<char16_t> next() {
        while (index_ < text_.size()) {
            const char16_t unit = text_[index_++];
            if (isMember(rep_, unit)) return toUpper(unit);
        }
        return std::nullopt;
    }

private:
    std::u16string_view text_;
    const std::uint8_t* rep_;
    std::size_t index_ = 0;
};

}  // namespace

bool equalStringsNoCaseUsingCharacterSetRep(std::u16string_view a, std::u16string_view b,
                                            const std::uint8_t* characterSetRep) {
    Reduced left(a, characterSetRep), right(b, characterSetRep);
    for (;;) {
        const std::optional<char16_t> unit = left.next();
        if (unit != right.next()) return false;
        if (!unit) return true;
    }
}

bool hasPrefixNoCaseUsingCharacterSetRep(std::u16string_view text, std::u16string_view prefix,
                                         const std::uint8_t* characterSetRep) {
    Reduced left(text, characterSetRep), right(prefix, characterSetRep);
    while (const std::optional<char16_t> unit = right.next()) {
        if (left.next() != unit) return false;
    }
    return true;
}

}  // namespace corvy
