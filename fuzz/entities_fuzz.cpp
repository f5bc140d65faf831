// Entities: decoding in place gives what decoding into another buffer gives, output is never ahead
// of input, and what the encoders write decodes to what it was.
#include <cstdint>
#include <string>

#include "fuzz/fuzz_text.h"
#include "markup/entities.h"

using corvy::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    const corvy::EntityOptions options{(data[0] & 1) != 0, (data[0] & 2) != 0, (data[0] & 4) != 0};
    const std::u16string text = corvy::fuzzText(data + 1, size - 1);

    // Units that lie in front of the output must be read before they are written over.
    std::u16string inPlace = text;
    std::u16string apart(text.size() + 1, u'\xFFFF');
    const std::size_t length = corvy::convertEntitiesToCharacters(inPlace, inPlace.data(), options);
    require(length <= text.size());
    require(corvy::convertEntitiesToCharacters(text, apart.data(), options) == length);
    require(apart[text.size()] == u'\xFFFF');
    require(apart.compare(0, length, inPlace, 0, length) == 0);
    const std::u16string decoded = corvy::stringByConvertingEntitiesToCharacters(text, options);
    require(decoded ==
            (length == text.size() || text.size() < 4 ? text : inPlace.substr(0, length)));

    inPlace = text;
    const std::size_t standard =
        corvy::convertStandardEntitiesToCharacters(inPlace, inPlace.data());
    require(standard <= text.size());
    require(corvy::convertStandardEntitiesToCharacters(text, apart.data()) == standard);
    require(apart.compare(0, standard, inPlace, 0, standard) == 0);

    const std::u16string escaped = corvy::stringByConvertingCharactersToStandardEntities(text);
    require(escaped.find_first_of(u"<>\"") == std::u16string::npos);
    // A ";" behind a reference turns the strict decoder away from it.
    if (text.find(u';') == std::u16string::npos && text.find(u'&') == std::u16string::npos) {
        require(corvy::stringByConvertingStandardEntitiesToCharacters(escaped) == text);
        const std::u16string ascii = corvy::stringByConvertingCharactersToEntities(text);
        for (const char16_t c : ascii) require(c < 0x80);
        require(corvy::stringByConvertingHighCharactersToEntities(text).size() >= text.size());
    }
    require(corvy::stringByConvertingCharactersToJSON(text).size() >= text.size());
    return 0;
}
