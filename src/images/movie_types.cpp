#include "images/movie_types.h"

#include <algorithm>
#include <iterator>

#include "foundation/text.h"
#include "platform/movie_formats.h"

namespace corvy {

namespace {

constexpr std::u16string_view kMoreTypes[] = {
#include "images/movie_types.inc"
};
static_assert(std::size(kMoreTypes) == 113);

void addUnlessPresent(std::vector<std::u16string>& types, std::u16string type) {
    if (std::ranges::find(types, type) == types.end()) types.push_back(std::move(type));
}

std::vector<std::u16string> madeTypes() {
    constexpr std::size_t kTypeCode = 4;
    std::vector<std::u16string> types;
    for (const platform::MovieFormatEntry& format : platform::kMovieFormats) {
        std::u16string_view rest = format.extensions;
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find(u' '), rest.size());
            addUnlessPresent(types, std::u16string(rest.substr(0, end)));
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        for (std::size_t i = 0; i < format.typeCodes.size(); i += kTypeCode) {
            const std::u16string code(format.typeCodes.substr(i, kTypeCode));
            addUnlessPresent(types, u"'" + code + u"'");
        }
    }
    for (const std::u16string_view type : kMoreTypes) addUnlessPresent(types, std::u16string(type));
    return types;
}

}  // namespace

const std::vector<std::u16string>& QuickTimeFileTypes() {
    static const std::vector<std::u16string> types = madeTypes();
    return types;
}

bool isQuickTimeExtension(OptionalText extension, OptionalText type) {
    return std::ranges::any_of(QuickTimeFileTypes(), [&](const std::u16string& known) {
        return (extension && equalNoCase(known, *extension)) || (type && known == *type);
    });
}

bool isQuickTimeFile(OptionalText path) {
    return path && isQuickTimeExtension(pathExtension(*path), classicFileType(*path));
}

}  // namespace corvy
