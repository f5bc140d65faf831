// Character references: into characters, and back.
//
// The decoders are lenient where web pages need it (a missing ";" is accepted) and deliberately
// limited elsewhere: names of up to six characters, numbers of 16 bits. Every unit is handled by
// itself; a character outside the Basic Multilingual Plane becomes two references. What is not a
// reference is copied as it is; no operation fails.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvy {

// Switches of the full decoder; the defaults decode everything.
struct EntityOptions {
    bool markup = true;                // also references for " & < >, named or numeric
    bool onlyNumericEntities = false;  // of the named ones only those for ' and U+00A0
    bool nonUmlauted = false;          // letters without accents, decoded or not
};

// kept: texts of fewer than 4 units stay as they are, and so does a text of which no reference was
// decoded, even when `nonUmlauted` would have changed it.
std::u16string stringByConvertingEntitiesToCharacters(std::u16string_view text,
                                                      const EntityOptions& options = {});
std::u16string stringByConvertingEntitiesToCharactersNonUmlauted(std::u16string_view text,
                                                                 bool nonUmlauted);
// Only &quot; &amp; &lt; &gt;, with their ";". Texts of fewer than 4 units stay as they are.
std::u16string stringByConvertingStandardEntitiesToCharacters(std::u16string_view text);

// The two decoders on buffers, without the exceptions for short and unchanged texts. They return
// the number of units written, at most source.size(). `destination` may be where the source is, or
// before it: output never runs ahead of input.
std::size_t convertEntitiesToCharacters(std::u16string_view source, char16_t* destination,
                                        const EntityOptions& options = {});
std::size_t convertStandardEntitiesToCharacters(std::u16string_view source, char16_t* destination);

// ASCII text: named references where there is a name, else decimal ones. The characters of markup
// stay as they are.
std::u16string stringByConvertingCharactersToEntities(std::u16string_view text);
// Every unit above U+007F as a decimal reference.
std::u16string stringByConvertingHighCharactersToEntities(std::u16string_view text);
// " & < > as references, nothing else.
std::u16string stringByConvertingCharactersToStandardEntities(std::u16string_view text);
// The text as it stands between the quotation marks of a JSON string.
// kept: control characters without a letter of their own are copied.
std::u16string stringByConvertingCharactersToJSON(std::u16string_view text);

}  // namespace corvy
