#include "tools/markup/input.h"

#include <algorithm>
#include <string_view>

#include "foundation/text.h"
#include "markup/markup_decoding.h"
#include "tools/command.h"
#include "tools/files.h"

namespace corvy::tools {

namespace {

// Well-formed, and not only ASCII, which other encodings write themselves in as well.
bool isSurelyUtf8(std::string_view bytes) {
    const auto isHigh = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
    return std::any_of(bytes.begin(), bytes.end(), isHigh) && fromStrictUtf8(bytes);
}

}  // namespace

std::optional<std::u16string> readMarkup(const MarkupInput& input) {
    const FileContents contents = readFile(input.file);
    if (contents.error != 0) {
        complain(input.file + ": " + reasonOf(contents.error));
        return std::nullopt;
    }
    const bool isUtf8 = input.plain || (input.recogniseUtf8 && input.charset.empty() &&
                                        isSurelyUtf8(contents.bytes.chars()));
    if (isUtf8) return fromUtf8(contents.bytes.chars());
    const std::u16string charset = fromUtf8(input.charset);
    MarkupDataOptions options;
    if (!charset.empty()) options.encodingName = charset;
    auto text = stringWithMarkupData(contents.bytes, options);
    if (!text) complain(input.file + ": not text in any encoding that fits");
    return text;
}

int printFound(const std::optional<std::u16string>& found) {
    if (!found || found->empty()) return kFailed;
    print(toUtf8(*found) + "\n");
    return kDone;
}

}  // namespace corvy::tools
