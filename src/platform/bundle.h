// Bundles: folders whose Contents/Info.plist says what they are made of. Nothing of them is loaded
// here.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"
#include "platform/executable_check.h"

namespace corvy::platform {

// Bytes of an Info.plist.
inline constexpr std::size_t kMaxBundleInfo = std::size_t{4} << 20;

class Bundle {
public:
    // None when there is no folder at the path. A bundle without an Info.plist that can be read
    // has an empty info.
    static std::optional<Bundle> open(std::u16string_view path);

    const std::u16string& path() const { return path_; }
    const Dictionary& info() const { return info_; }
    // The value of an info key as a truth value: a boolean, a number that is not 0, or a text that
    // begins with Y, T or a digit from 1 to 9, in any case, behind blanks, a sign and zeros.
    bool flag(std::u16string_view key) const;

    // Where the executable has to be: in Contents/Linux, by the key CFBundleExecutable, else by the
    // bundle's own name. None for a name that is no name of a file.
    std::optional<std::u16string> executable() const;
    // Whether the executable can be loaded into a process like this one, as far as can be told
    // without doing so.
    ExecutableCheck preflight(const SharedLibraries& libraries) const;

private:
    Bundle(std::u16string path, Dictionary info) : path_(std::move(path)), info_(std::move(info)) {}

    std::u16string path_;
    Dictionary info_;
};

}  // namespace corvy::platform
