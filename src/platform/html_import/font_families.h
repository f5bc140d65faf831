// Lists of font families, kept once.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/html_import/computed_style.h"

namespace corvy::platform::css {

class FontFamilies {
public:
    FontFamilies();

    // Of a list as it stands in a sheet.
    FontFamily add(std::string_view list);
    // The generic family `monospace` and nothing else, which has a default size of its own.
    bool isMonospaceAlone(FontFamily family) const {
        return families_[family.index].monospaceAlone;
    }
    // In the order of preference, as they are written.
    const std::vector<std::string>& names(FontFamily family) const {
        return families_[family.index].names;
    }
    std::size_t size() const { return families_.size(); }

private:
    struct Entry {
        std::vector<std::string> names;
        bool monospaceAlone = false;
    };
    std::deque<Entry> families_;
    std::unordered_map<std::string, std::uint32_t> indices_;
};

}  // namespace corvy::platform::css
