#include "tools/import/plain_text.h"

#include <unicode/ucnv.h>

#include <memory>
#include <optional>

#include "foundation/text.h"

namespace corvy::tools {

namespace {

// Empty when the converter is missing. In pieces, since the converter counts in 32 bits.
std::u16string decoded(std::string_view bytes, const char* charset) {
    struct Closer {
        void operator()(UConverter* converter) const { ::ucnv_close(converter); }
    };
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, Closer> converter(::ucnv_open(charset, &error));
    std::u16string text;
    if (U_FAILURE(error)) return text;
    text.reserve(bytes.size());
    const char* in = bytes.data();
    const char* const end = in + bytes.size();
    char16_t piece[8192];
    do {
        error = U_ZERO_ERROR;
        char16_t* out = piece;
        ::ucnv_toUnicode(converter.get(), &out, piece + std::size(piece), &in, end, nullptr, true,
                         &error);
        text.append(piece, out);
    } while (error == U_BUFFER_OVERFLOW_ERROR);
    return text;
}

}  // namespace

std::u16string plainText(std::string_view bytes) {
    using namespace std::literals;
    struct Mark {
        std::string_view bytes;
        const char* charset;
    };
    // UTF-32 first: its mark begins like that of UTF-16.
    static constexpr Mark kMarks[] = {{"\xFF\xFE\0\0"sv, "UTF-32LE"},
                                      {"\0\0\xFE\xFF"sv, "UTF-32BE"},
                                      {"\xFF\xFE"sv, "UTF-16LE"},
                                      {"\xFE\xFF"sv, "UTF-16BE"}};
    constexpr auto kUtf8Mark = "\xEF\xBB\xBF"sv;
    if (bytes.starts_with(kUtf8Mark)) return fromUtf8(bytes.substr(kUtf8Mark.size()));
    for (const Mark& mark : kMarks) {
        if (bytes.starts_with(mark.bytes)) {
            return decoded(bytes.substr(mark.bytes.size()), mark.charset);
        }
    }
    if (auto text = fromStrictUtf8(bytes)) return *std::move(text);
    return decoded(bytes, "windows-1252");
}

}  // namespace corvy::tools
