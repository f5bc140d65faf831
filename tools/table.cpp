#include "tools/table.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "foundation/character_tables.h"
#include "foundation/json.h"
#include "foundation/text.h"
#include "tools/import/record.h"

namespace corvy::tools {

namespace {

// Control characters could do things to a terminal.
std::u16string onOneLine(std::u16string_view text) {
    std::u16string line;
    for (const char16_t unit : trimWhite(text)) {
        const bool isSpace = isWhite(unit) || unit < u' ' || (unit >= 0x7F && unit < 0xA0);
        if (!isSpace) {
            line += unit;
        } else if (!line.ends_with(u' ')) {
            line += u' ';
        }
    }
    return line;
}

std::string shown(const PropertyList& value, std::size_t longest) {
    if (const std::u16string* text = value.string()) {
        if (longest == 0 || text->size() <= longest) return toUtf8(onOneLine(*text));
        return toUtf8(onOneLine(std::u16string_view(*text).substr(0, longest))) + "... (" +
               std::to_string(text->size()) + " characters)";
    }
    if (const Date* date = value.date()) {
        const auto seconds = static_cast<std::time_t>(std::floor(date->seconds));
        return timeText({.tv_sec = seconds, .tv_nsec = 0}).replace(19, 4, "");
    }
    if (const Bytes* bytes = value.bytes()) return std::to_string(bytes->size()) + " bytes";
    if (const Array* array = value.array()) {
        std::string list;
        for (const PropertyList& element : *array) {
            list += (list.empty() ? "" : ", ") + shown(element, longest);
        }
        return list;
    }
    return jsonOf(value, {.plainDictionaries = true});
}

}  // namespace

std::string tableOf(const Dictionary& attributes, const TableStyle& style) {
    std::vector<std::pair<std::string, const PropertyList*>> lines;
    std::size_t width = 0;
    for (const auto& [key, value] : attributes) {
        std::string name = toUtf8(onOneLine(key));
        if (name.starts_with(style.droppedPrefix) && name != style.droppedPrefix) {
            name.erase(0, style.droppedPrefix.size());
        }
        width = std::max(width, name.size());
        lines.emplace_back(std::move(name) + ':', &value);
    }
    std::string table;
    for (auto& [name, value] : lines) {
        name.resize(width + 2, ' ');
        table += name + shown(*value, style.longestValue) + '\n';
    }
    return table;
}

}  // namespace corvy::tools
