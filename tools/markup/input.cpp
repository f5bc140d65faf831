#include "tools/markup/input.h"

#include <algorithm>
#include <string_view>

#include "foundation/text.h"
#include "markup/markup_decoding.h"
#include "tools/command.h"
#include "tools/files.h"

namespace corvy::tools {

namespace {

// Not so with only ASCII, which other encodings write themselves in as well.
std::optional<std::u16string> textIfSurelyUtf8(std::string_view bytes) {
    const auto isHigh = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
    if (std::none_of(bytes.begin(), bytes.end(), isHigh)) return std::nullopt;
    return fromStrictUtf8(bytes);
}

}  // namespace

std::optional<std::u16string> readMarkup(const MarkupInput& input) {
    const FileContents contents = readFile(input.file);
    if (contents.error != 0) {
        complain(input.file + ": " + reasonOf(contents.error));
        return std::nullopt;
    }
    if (input.plain) return fromUtf8(contents.bytes.chars());
    if (input.recogniseUtf8 && input.charset.empty()) {
        if (auto text = textIfSurelyUtf8(contents.bytes.chars())) return text;
    }
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
