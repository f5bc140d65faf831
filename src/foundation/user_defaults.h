// The user's defaults: read only, from the group [defaults] of
// $XDG_CONFIG_HOME/corvystack/defaults.conf (or ~/.config/...), a key file of "key=value" lines
// with the escapes \s \n \t \r \\.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace corvy {

class UserDefaults {
public:
    // The store of this process, read on first use.
    static UserDefaults& standard();
    // A store of the given file; a missing or unreadable one is empty.
    explicit UserDefaults(const std::string& file);

    std::optional<std::u16string> stringForKey(std::u16string_view key) const;
    // Sets or (none) removes a value for this process only.
    void setForProcess(std::u16string_view key, std::optional<std::u16string> value);

    // kept: writes nothing and always answers YES, so that the service never persists preferences.
    bool synchronize() { return true; }

private:
    std::map<std::u16string, std::u16string, std::less<>> values_;
};

}  // namespace corvy
