#include "tools/markup/input.h"

#include <algorithm>
#include <string_view>

#include "foundation/text.h"
#include "markup/markup_decoding.h"
#include "tools/command.h"
#include "tools/files.h"

namespace corvy::tools {

std::optional<std::u16string> textOfSavedPage(std::span<const std::byte> page) {
    const std::string_view chars(reinterpret_cast<const char*>(page.data()), page.size());
    if (auto text = stringWithMarkedUtf16(page)) return text;
    // Only ASCII is no sign of UTF-8: other sets write themselves in it as well.
    const auto isHigh = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
    if (std::any_of(chars.begin(), chars.end(), isHigh)) {
        if (auto text = fromStrictUtf8(chars)) return text;
    }
    return stringWithMarkupData(page);
}

std::optional<std::u16string> readMarkup(const MarkupInput& input) {
    const FileContents contents = readFile(input.file);
    if (contents.error != 0) {
        complain(input.file + ": " + reasonOf(contents.error));
        return std::nullopt;
    }
    if (input.plain) return fromUtf8(contents.bytes.chars());
    std::optional<std::u16string> text;
    if (!input.charset.empty()) {
        const std::u16string charset = fromUtf8(input.charset);
        text = stringWithMarkupData(contents.bytes, {.encodingName = charset});
    } else {
        text = input.isSavedPage ? textOfSavedPage(contents.bytes)
                                 : stringWithMarkupData(contents.bytes);
    }
    if (!text) complain(input.file + ": not text in any encoding that fits");
    return text;
}

int printFound(const std::optional<std::u16string>& found) {
    if (!found || found->empty()) return kFailed;
    print(toUtf8(*found) + "\n");
    return kDone;
}

}  // namespace corvy::tools
