#include "foundation/user_defaults.h"

#include <cstdlib>
#include <fstream>
#include <utility>

#include "foundation/text.h"

namespace corvy {

namespace {

constexpr std::size_t kMostBytes = 1 << 20;  // of the file; what lies behind is not read

std::string defaultsFile() {
    const char* config = std::getenv("XDG_CONFIG_HOME");
    // A relative folder in the variable counts as unset.
    if (config && config[0] == '/') return std::string(config) + "/corvystack/defaults.conf";
    const char* home = std::getenv("HOME");
    return std::string(home ? home : "") + "/.config/corvystack/defaults.conf";
}

std::string_view trimmed(std::string_view text) {
    return trimBytes(text, [](char c) { return c == ' ' || c == '\t' || c == '\r'; });
}

std::string unescaped(std::string_view value) {
    std::string out;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            out += value[i];
            continue;
        }
        switch (value[++i]) {
            case 's': out += ' '; break;
            case 'n': out += '\n'; break;
            case 't': out += '\t'; break;
            case 'r': out += '\r'; break;
            case '\\': out += '\\'; break;
            default: out += '\\', out += value[i];
        }
    }
    return out;
}

}  // namespace

UserDefaults& UserDefaults::standard() {
    static UserDefaults store(defaultsFile());
    return store;
}

UserDefaults::UserDefaults(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string content(kMostBytes, '\0');
    stream.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(stream.gcount()));

    bool inGroup = false;
    std::string_view rest = content;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        const std::string_view line = trimmed(rest.substr(0, end));
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            inGroup = line == "[defaults]";
            continue;
        }
        const std::size_t equals = line.find('=');
        if (!inGroup || equals == std::string_view::npos) continue;
        values_[fromUtf8(trimmed(line.substr(0, equals)))] =
            fromUtf8(unescaped(trimmed(line.substr(equals + 1))));
    }
}

std::optional<std::u16string> UserDefaults::stringForKey(std::u16string_view key) const {
    const auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

void UserDefaults::setForProcess(std::u16string_view key, std::optional<std::u16string> value) {
    if (value) {
        values_.insert_or_assign(std::u16string(key), std::move(*value));
    } else if (const auto found = values_.find(key); found != values_.end()) {
        values_.erase(found);
    }
}

}  // namespace corvy
