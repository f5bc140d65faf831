#include "platform/bundle.h"

#include <sys/stat.h>

#include <utility>

#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "platform/property_list_reader.h"

namespace corvy::platform {

namespace {

// As texts are read for truth values: "NO" and "0" are not, and neither is the empty text.
bool isTrueText(std::u16string_view text) {
    text = trimWhite(text);
    const std::size_t start = text.find_first_not_of(text.starts_with(u'-') ? u"-0" : u"+0");
    if (start == text.npos) return false;
    constexpr std::u16string_view kTrue = u"YyTt123456789";
    return kTrue.find(text[start]) != kTrue.npos;
}

}  // namespace

std::optional<Bundle> Bundle::open(std::u16string_view path) {
    const auto name = bytesOfPath(path);
    struct stat status {};
    if (!name || ::stat(name->c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        return std::nullopt;
    }
    Dictionary info;
    const std::u16string file = std::u16string(path) + u"/Contents/Info.plist";
    if (const auto content = contentsOfFile(file, {.most = kMaxBundleInfo})) {
        std::optional<PropertyList> list = readPropertyList(*content);
        if (list && list->dictionary()) info = std::move(*list->dictionary());
    }
    return Bundle(std::u16string(path), std::move(info));
}

bool Bundle::flag(std::u16string_view key) const {
    const PropertyList* value = info_.find(key);
    if (!value) return false;
    if (const auto boolean = value->boolean()) return *boolean;
    if (const auto number = value->number()) return *number != 0;
    return value->string() && isTrueText(*value->string());
}

std::optional<std::u16string> Bundle::executable() const {
    std::u16string_view own = lastPathComponent(path_);
    const std::u16string_view extension = pathExtension(own);
    if (!extension.empty()) own.remove_suffix(extension.size() + 1);
    const std::u16string name =
        stringOf(info_, u"CFBundleExecutable").value_or(std::u16string(own));
    if (name.empty() || name == u"." || name == u".." || name.find(u'/') != name.npos) {
        return std::nullopt;
    }
    return path_ + u"/Contents/Linux/" + name;
}

ExecutableCheck Bundle::preflight(const SharedLibraries& libraries) const {
    const auto path = executable();
    return path ? checkExecutable(*path, libraries) : ExecutableCheck{};
}

}  // namespace corvy::platform
