#include "tools/markup/input.h"

#include "foundation/text.h"
#include "markup/markup_decoding.h"
#include "tools/command.h"
#include "tools/files.h"

namespace corvy::tools {

std::optional<std::u16string> readMarkup(const MarkupInput& input) {
    const FileContents contents = readFile(input.file);
    if (contents.error != 0) {
        complain(input.file + ": " + reasonOf(contents.error));
        return std::nullopt;
    }
    if (input.plain) return fromUtf8(contents.bytes.chars());
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
