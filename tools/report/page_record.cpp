#include "tools/report/page_record.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <utility>

#include "foundation/json.h"
#include "foundation/text.h"
#include "tools/import/record.h"
#include "tools/import/record_folder.h"

namespace corvy::tools {

namespace {

// In UTF-16 code units.
constexpr std::size_t kSnippet = 400;
constexpr std::size_t kLongestString = 300;
// Of the properties and the metadata of a record together; a number counts as some units.
constexpr std::size_t kAttributes = 6000;
constexpr std::size_t kNumber = 8;
constexpr int kDeepest = 4;

// The first units, without half of a pair at the end.
std::u16string_view startOf(std::u16string_view text, std::size_t length) {
    if (text.size() <= length) return text;
    const bool isHalf = (text[length - 1] & 0xFC00) == 0xD800;
    return text.substr(0, isHalf ? length - 1 : length);
}

// Copies values as long as there is room for them.
class Shortener {
public:
    std::optional<PropertyList> shortened(const PropertyList& value, int depth = 0) {
        if (room_ == 0 || depth > kDeepest) return std::nullopt;
        if (const std::u16string* text = value.string()) return shortened(*text);
        if (const Array* array = value.array()) {
            Array out;
            for (const PropertyList& element : *array) {
                if (auto part = shortened(element, depth + 1)) out.push_back(*std::move(part));
            }
            return out;
        }
        if (const Dictionary* dictionary = value.dictionary()) {
            Dictionary out;
            for (const auto& [key, entry] : *dictionary) {
                if (auto part = shortened(entry, depth + 1)) {
                    take(key.size());
                    out.set(startOf(key, kLongestString), *std::move(part));
                }
            }
            return out;
        }
        take(kNumber);
        return value;
    }

private:
    PropertyList shortened(const std::u16string& text) {
        std::u16string out(startOf(text, std::min(kLongestString, room_)));
        take(out.size());
        if (out.size() < text.size()) out += u'…';
        return out;
    }
    void take(std::size_t units) { room_ -= std::min(room_, units); }

    std::size_t room_ = kAttributes;
};

// Runs of white space as one blank, but for the ends of lines.
std::u16string oneSpaced(std::u16string_view text) {
    std::u16string out;
    for (const char16_t unit : trimWhite(text)) {
        const bool isBlank = unit <= u' ' || unit == u'\u00A0';
        const bool isEnd = unit == u'\n' || unit == u'\r';
        const bool afterBlank = !out.empty() && (out.back() == u' ' || out.back() == u'\n');
        if (isBlank && afterBlank) {
            if (isEnd) out.back() = u'\n';
        } else {
            out += isEnd ? u'\n' : isBlank ? u' ' : unit;
        }
    }
    return out;
}

// The beginning of a text: enough for a snippet, even after its white space has gone.
std::u16string beginningOf(const Dictionary& text, const std::string& folder) {
    constexpr std::size_t kRead = 8 * kSnippet;
    const auto file = stringOf(text, u"file");
    if (!file || !isInside(*file)) {
        const std::u16string string = stringOf(text, u"string").value_or(u"");
        return std::u16string(startOf(string, kRead));
    }
    std::string bytes(kRead, '\0');
    std::ifstream stream(folder + "/" + toUtf8(*file), std::ios::binary);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    std::u16string beginning = fromUtf8(bytes);
    // A character that the cut went through.
    while (bytes.size() == kRead && beginning.ends_with(u'\uFFFD')) beginning.pop_back();
    return beginning;
}

void addText(const Dictionary& text, const std::string& folder, Dictionary& page) {
    const std::u16string beginning = oneSpaced(beginningOf(text, folder));
    if (!beginning.empty()) page.set(u"snippet", std::u16string(startOf(beginning, kSnippet)));
    const PropertyList* length = text.find(u"length");
    if (!length || !length->integer()) return;
    page.set(u"length", *length);
    if (*length->integer() > static_cast<std::int64_t>(kSnippet)) page.set(u"cut", true);
}

}  // namespace

std::string pageRecord(const Dictionary& record, const std::string& folder) {
    Dictionary page;
    for (const std::u16string_view key : {u"path", u"type", u"modified", u"kind", u"error"}) {
        if (auto value = stringOf(record, key)) page.set(key, *std::move(value));
    }
    for (const std::u16string_view key : {u"size", u"pages", u"duration", u"seconds"}) {
        const PropertyList* value = record.find(key);
        if (value && value->number()) page.set(key, *value);
    }
    if (std::u16string title = titleOf(record); !title.empty()) {
        page.set(u"title", std::u16string(startOf(title, kLongestString)));
    }
    if (const Dictionary* text = partOf(record, u"text")) addText(*text, folder, page);
    if (const Dictionary* thumbnail = partOf(record, u"thumbnail")) {
        const PropertyList *width = thumbnail->find(u"width"), *height = thumbnail->find(u"height");
        if (width && width->integer() && height && height->integer()) {
            page.set(u"thumbnail", Dictionary{{u"width", *width}, {u"height", *height}});
        }
    }
    Shortener shortener;
    for (const std::u16string_view key : {u"properties", u"metadata"}) {
        const PropertyList* attributes = record.find(key);
        if (!attributes || !attributes->dictionary()) continue;
        if (auto value = shortener.shortened(*attributes)) page.set(key, *std::move(value));
    }
    if (const std::string error = toUtf8(stringOf(record, u"error").value_or(u""));
        !error.empty()) {
        page.set(isRemark(error) ? u"remark" : u"failure", fromUtf8(explanationOfError(error)));
    }
    return scriptSafe(jsonOf(std::move(page), {.plainDictionaries = true}));
}

std::string scriptSafe(std::string json) {
    for (std::size_t at = 0; (at = json.find('<', at)) != std::string::npos;) {
        json.replace(at, 1, "\\u003c");
    }
    return json;
}

}  // namespace corvy::tools
