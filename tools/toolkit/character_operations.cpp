#include <stdexcept>

#include "foundation/character_tables.h"
#include "foundation/string_compare.h"
#include "foundation/text_cleanup.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;

template <auto bitmap>
Bytes bytesOfBitmap() {
    return Bytes::copyOf({reinterpret_cast<const char*>(bitmap()), 8192});
}

// Little-endian units.
template <auto table>
Bytes bytesOfTable() {
    std::vector<std::byte> bytes;
    bytes.reserve(2 * 65536);
    for (std::size_t i = 0; i < 65536; ++i) {
        bytes.push_back(static_cast<std::byte>(table()[i] & 0xFF));
        bytes.push_back(static_cast<std::byte>(table()[i] >> 8));
    }
    return Bytes(std::move(bytes));
}

// "letters" or "alphanumerics"; null for any other name.
const std::uint8_t* classNamed(Text name) {
    if (name == u"letters") return alphaCharacterSetRep();
    if (name == u"alphanumerics") return alphaNumCharacterSetRep();
    return nullptr;
}

template <auto compare>
bool compareOver(Text a, Text b, Text className) {
    const std::uint8_t* rep = classNamed(className);
    if (!rep) throw std::invalid_argument("the class is letters or alphanumerics");
    return compare(a, b, rep);
}

constexpr Operation kOperations[] = {
    function<bytesOfBitmap<emptyCharacterSetRep>>("emptyCharacterSetRep"),
    function<bytesOfBitmap<spaceCharacterSetRep>>("spaceCharacterSetRep"),
    function<bytesOfBitmap<whiteCharacterSetRep>>("whiteCharacterSetRep"),
    function<bytesOfBitmap<alphaCharacterSetRep>>("alphaCharacterSetRep"),
    function<bytesOfBitmap<alphaNumCharacterSetRep>>("alphaNumCharacterSetRep"),
    function<bytesOfBitmap<digitCharacterSetRep>>("digitCharacterSetRep"),
    function<bytesOfBitmap<lowerCharacterSetRep>>("lowerCharacterSetRep"),
    function<bytesOfBitmap<upperCharacterSetRep>>("upperCharacterSetRep"),
    function<bytesOfTable<initLowerCharsTable>>("initLowerCharsTable"),
    function<bytesOfTable<initUpperCharsTable>>("initUpperCharsTable"),
    function<bytesOfTable<initUmlautsCharsTable>>("initUmlautsCharsTable"),
    function<bytesOfTable<initLowerUmlautsCharsTable>>("initLowerUmlautsCharsTable"),
    function<bytesOfTable<initUpperUmlautsCharsTable>>("initUpperUmlautsCharsTable"),
    function<firstAlphaCharacter>("firstAlphaCharacter"),
    function<lastAlphaCharacter>("lastAlphaCharacter"),
    function<toLower>("toLower"),
    function<toUpper>("toUpper"),
    function<toAscii>("toAscii"),
    function<toUpperAscii>("toUpperAscii"),
    function<toLowerAscii>("toLowerAscii"),
    function<umlautsToAscii>("umlautsToAscii"),
    function<umlautsToUpperAscii>("umlautsToUpperAscii"),
    function<umlautsToLowerAscii>("umlautsToLowerAscii"),
    method<fixedAndNormalizedString>("fixedAndNormalizedString"),
    function<compareOver<equalStringsNoCaseUsingCharacterSetRep>>(
        "equalStringsNoCaseUsingCharacterSetRep"),
    function<compareOver<hasPrefixNoCaseUsingCharacterSetRep>>(
        "hasPrefixNoCaseUsingCharacterSetRep"),
};

}  // namespace

std::span<const Operation> characterOperations() {
    return kOperations;
}

}  // namespace corvy::tools
