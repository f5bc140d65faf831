#include "platform/type_identifier.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "foundation/ascii_case.h"
#include "foundation/text.h"

namespace corvy::platform {

namespace {

// Words stand with one space between them.
struct DeclaredType {
    std::string_view identifier;
    std::string_view conformsTo;
    std::string_view extensions;
    std::string_view mimeTypes;
    std::string_view typeCodes;  // one after the other, without spaces between
};

constexpr DeclaredType kTypes[] = {
#include "platform/type_identifier_table.inc"
};
static_assert(std::ranges::is_sorted(kTypes, {}, &DeclaredType::identifier));

constexpr std::size_t kTypeCodeLength = 4;

// Takes the first word off; empty when there is none.
std::string_view nextWord(std::string_view& words) {
    const std::size_t end = std::min(words.find(' '), words.size());
    const std::string_view word = words.substr(0, end);
    words.remove_prefix(std::min(end + 1, words.size()));
    return word;
}

std::string_view nextTag(std::string_view& tags, TagClass tagClass) {
    if (tagClass != TagClass::typeCode) return nextWord(tags);
    const std::string_view code = tags.substr(0, kTypeCodeLength);
    tags.remove_prefix(code.size());
    return code;
}

std::string_view tagsOf(const DeclaredType& type, TagClass tagClass) {
    switch (tagClass) {
        case TagClass::filenameExtension: return type.extensions;
        case TagClass::mimeType: return type.mimeTypes;
        case TagClass::typeCode: break;
    }
    return type.typeCodes;
}

std::string lowerAscii(std::u16string_view text) {
    std::u16string lower(text);
    std::ranges::transform(lower, lower.begin(), asciiLower);
    return toUtf8(lower);
}

const DeclaredType* typeNamed(std::string_view identifier) {
    const auto* found = std::ranges::lower_bound(kTypes, identifier, {}, &DeclaredType::identifier);
    return found != std::end(kTypes) && found->identifier == identifier ? found : nullptr;
}

bool declaredConforms(const DeclaredType& type, std::string_view to) {
    if (type.identifier == to) return true;
    std::string_view parents = type.conformsTo;
    while (!parents.empty()) {
        const DeclaredType* parent = typeNamed(nextWord(parents));
        if (parent && declaredConforms(*parent, to)) return true;
    }
    return false;
}

using TagIndex = std::vector<std::pair<std::string_view, const DeclaredType*>>;

// Tags in order; types of the same tag in the order of the table.
TagIndex indexOf(TagClass tagClass) {
    TagIndex index;
    for (const DeclaredType& type : kTypes) {
        std::string_view tags = tagsOf(type, tagClass);
        while (!tags.empty()) index.emplace_back(nextTag(tags, tagClass), &type);
    }
    std::ranges::stable_sort(index, {}, &TagIndex::value_type::first);
    return index;
}

const TagIndex& tagIndex(TagClass tagClass) {
    static const std::array<TagIndex, 3> indices = {indexOf(TagClass::filenameExtension),
                                                    indexOf(TagClass::mimeType),
                                                    indexOf(TagClass::typeCode)};
    return indices[static_cast<std::size_t>(tagClass)];
}

std::string normalizedTag(TagClass tagClass, std::u16string_view tag) {
    return tagClass == TagClass::typeCode ? toUtf8(tag) : lowerAscii(tag);
}

const DeclaredType* typeWithTag(TagClass tagClass, std::string_view tag, ItemKind kind) {
    const TagIndex& index = tagIndex(tagClass);
    auto entry = std::ranges::lower_bound(index, tag, {}, &TagIndex::value_type::first);
    for (; entry != index.end() && entry->first == tag; ++entry) {
        const DeclaredType* type = entry->second;
        if (tagClass != TagClass::filenameExtension) return type;
        if (declaredConforms(*type, "public.directory") == (kind == ItemKind::folder)) return type;
    }
    return nullptr;
}

// A dynamic identifier is the prefix and, in base 32, a text such as "?0=6:1=xyz": keys and values,
// of which the usual ones stand as one character, their place in a list.
constexpr std::string_view kDynamicPrefix = "dyn.a";
constexpr std::string_view kAlphabet = "abcdefghkmnpqrstuvwxyz0123456789";
constexpr std::string_view kAbbreviations[] = {"UTTypeConformsTo",
                                               "public.filename-extension",
                                               "com.apple.ostype",
                                               "public.mime-type",
                                               "com.apple.nspboard-type",
                                               "public.url",
                                               "public.data",
                                               "public.text",
                                               "public.plain-text",
                                               "public.utf16-plain-text",
                                               "com.apple.traditional-mac-plain-text",
                                               "public.image",
                                               "public.video",
                                               "public.audio",
                                               "public.directory",
                                               "public.folder"};
constexpr std::string_view kDigits = "0123456789ABCDEF";
constexpr char kConformsKey = '0';

char keyOf(TagClass tagClass) {
    switch (tagClass) {
        case TagClass::filenameExtension: return '1';
        case TagClass::mimeType: return '3';
        case TagClass::typeCode: break;
    }
    return '2';
}

std::u16string encoded(std::string_view text) {
    std::u16string out(kDynamicPrefix.begin(), kDynamicPrefix.end());
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        bits = (bits << 8) | static_cast<unsigned char>(c);
        for (count += 8; count >= 5; count -= 5) {
            out += static_cast<char16_t>(kAlphabet[(bits >> (count - 5)) & 31]);
        }
    }
    if (count > 0) out += static_cast<char16_t>(kAlphabet[(bits << (5 - count)) & 31]);
    return out;
}

// The text of a dynamic identifier (in lower case); empty for one that holds none.
std::string decoded(std::string_view identifier) {
    if (!identifier.starts_with(kDynamicPrefix)) return {};
    std::string text;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : identifier.substr(kDynamicPrefix.size())) {
        const std::size_t value = kAlphabet.find(c);
        if (value == std::string_view::npos) return {};
        bits = (bits << 5) | static_cast<std::uint32_t>(value);
        count += 5;
        if (count < 8) continue;
        count -= 8;
        text += static_cast<char>((bits >> count) & 0xFF);
    }
    return text.starts_with('?') ? text.substr(1) : std::string();
}

// The value of a key, its escapes kept; none when the key is not there.
std::optional<std::string_view> valueOf(std::string_view text, char key) {
    std::size_t start = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] == '\\') {
            ++i;
        } else if (i == text.size() || text[i] == ':') {
            const std::string_view pair = text.substr(start, i - start);
            if (pair.size() >= 2 && pair[0] == key && pair[1] == '=') return pair.substr(2);
            start = i + 1;
        }
    }
    return std::nullopt;
}

constexpr bool isDelimiter(char c) {
    return c == '\\' || c == ':' || c == '=' || c == ',';
}

bool dynamicConforms(std::string_view identifier, std::string_view to) {
    const std::string text = decoded(identifier);
    const auto list = valueOf(text, kConformsKey);
    if (!list) return false;
    std::string_view rest = *list;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(','), rest.size());
        std::string_view parent = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const std::size_t place = parent.size() == 1 ? kDigits.find(parent[0]) : kDigits.npos;
        if (place != kDigits.npos) parent = kAbbreviations[place];
        const DeclaredType* type = typeNamed(parent);
        if (type && declaredConforms(*type, to)) return true;
    }
    return false;
}

std::u16string wide(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

}  // namespace

std::optional<std::u16string> declaredTypeForTag(TagClass tagClass, std::u16string_view tag,
                                                 ItemKind kind) {
    const DeclaredType* type = typeWithTag(tagClass, normalizedTag(tagClass, tag), kind);
    if (!type) return std::nullopt;
    return wide(type->identifier);
}

std::u16string dynamicTypeForTag(TagClass tagClass, std::u16string_view tag, ItemKind kind) {
    std::string text = "?0=";
    text += kind == ItemKind::folder ? 'E' : '6';
    text += ':';
    text += keyOf(tagClass);
    text += '=';
    for (const char c : normalizedTag(tagClass, tag)) {
        if (isDelimiter(c)) text += '\\';
        text += c;
    }
    return encoded(text);
}

std::u16string typeForTag(TagClass tagClass, std::u16string_view tag, ItemKind kind) {
    auto declared = declaredTypeForTag(tagClass, tag, kind);
    return declared ? *std::move(declared) : dynamicTypeForTag(tagClass, tag, kind);
}

std::optional<std::u16string> preferredTag(std::u16string_view identifier, TagClass tagClass) {
    const std::string name = lowerAscii(identifier);
    if (const DeclaredType* type = typeNamed(name)) {
        std::string_view tags = tagsOf(*type, tagClass);
        if (tags.empty()) return std::nullopt;
        return wide(nextTag(tags, tagClass));
    }
    const std::string text = decoded(name);
    const auto value = valueOf(text, keyOf(tagClass));
    if (!value) return std::nullopt;
    std::string tag;
    for (std::size_t i = 0; i < value->size(); ++i) {
        if ((*value)[i] == '\\' && i + 1 < value->size()) ++i;
        tag += (*value)[i];
    }
    return fromUtf8(tag);
}

bool conformsTo(std::u16string_view identifier, std::u16string_view to) {
    const std::string name = lowerAscii(identifier);
    const std::string wanted = lowerAscii(to);
    if (name == wanted) return true;
    const DeclaredType* type = typeNamed(name);
    return type ? declaredConforms(*type, wanted) : dynamicConforms(name, wanted);
}

}  // namespace corvy::platform
