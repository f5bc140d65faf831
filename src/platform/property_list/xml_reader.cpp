#include <algorithm>
#include <charconv>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "foundation/json.h"
#include "foundation/text.h"
#include "foundation/utf8.h"
#include "platform/property_list/readers.h"
#include "platform/property_list_reader.h"

namespace corvy::platform {

namespace {

// All of the text as a number.
template <typename Number, typename... Base>
bool readWhole(std::string_view text, Number& number, Base... base) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base...);
    return error == std::errc() && stop == end;
}

bool readInteger(std::string_view text, PropertyList& value) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal) text.remove_prefix(2);
    std::uint64_t magnitude = 0;
    if (!readWhole(text, magnitude, hexadecimal ? 16 : 10)) return false;
    value = wideInteger(magnitude, negative);
    return true;
}

bool readReal(std::string_view text, PropertyList& value) {
    if (text.starts_with('+')) text.remove_prefix(1);
    double number = 0;
    if (!readWhole(text, number)) return false;
    value = number;
    return true;
}

// Such as "2026-11-21T07:40:28Z".
bool readDate(std::string_view text, PropertyList& value) {
    constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    // Years may have more digits than four.
    if (text.size() < kForm.size() || text.size() > kForm.size() + 4) return false;
    const std::size_t yearLength = text.size() - kForm.size() + 4;
    std::int64_t fields[6] = {};
    if (!readWhole(text.substr(0, yearLength), fields[0])) return false;
    for (std::size_t i = 0; i < 6; ++i) {
        const std::size_t at = yearLength + 3 * i;
        if (text[at] != "--T::Z"[i]) return false;
        if (i < 5 && !readWhole(text.substr(at + 1, 2), fields[i + 1])) return false;
    }
    const auto& [year, month, day, hour, minute, second] = fields;
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60 ||
        hour < 0 || minute < 0 || second < 0) {
        return false;
    }
    // Days from the first of March of a year that 400 divides, so that leap days come last.
    const std::int64_t march = (negative ? -year : year) - (month <= 2 ? 1 : 0);
    const std::int64_t era = (march >= 0 ? march : march - 399) / 400;
    const std::int64_t yearOfEra = march - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    const std::int64_t days = era * 146097 + dayOfEra - 719468;
    value = Date{static_cast<double>(((days * 24 + hour) * 60 + minute) * 60 + second)};
    return true;
}

// Every function is false when the list is malformed.
class XmlReader {
public:
    explicit XmlReader(std::string_view text) : rest_(text) {}

    std::optional<PropertyList> read() {
        Tag tag;
        PropertyList root;
        if (!nextTag(tag)) return std::nullopt;
        const bool isWrapped = tag.name == "plist";
        if (isWrapped && (tag.isClosing || tag.isEmpty || !nextTag(tag))) return std::nullopt;
        if (!readValue(tag, 0, root)) return std::nullopt;
        if (isWrapped && (!nextTag(tag) || !tag.isClosing || tag.name != "plist")) {
            return std::nullopt;
        }
        return root;
    }

private:
    struct Tag {
        std::string_view name;
        bool isClosing = false;
        bool isEmpty = false;
    };

    bool skipPast(std::string_view end) {
        const std::size_t at = rest_.find(end);
        if (at == std::string_view::npos) return false;
        rest_.remove_prefix(at + end.size());
        return true;
    }

    // A declaration, with what stands in its brackets.
    bool skipDeclaration() {
        char quote = 0;
        int brackets = 0;
        for (std::size_t i = 0; i < rest_.size(); ++i) {
            const char c = rest_[i];
            if (quote != 0) {
                if (c == quote) quote = 0;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '[') {
                ++brackets;
            } else if (c == ']') {
                --brackets;
            } else if (c == '>' && brackets <= 0) {
                rest_.remove_prefix(i + 1);
                return true;
            }
        }
        return false;
    }

    // The tag behind white space, comments and instructions, but no other text.
    bool nextTag(Tag& tag) {
        while (true) {
            while (!rest_.empty() && isPropertyListSpace(rest_.front())) rest_.remove_prefix(1);
            if (!rest_.starts_with('<')) return false;
            if (rest_.starts_with("<?")) {
                if (!skipPast("?>")) return false;
            } else if (rest_.starts_with("<!--")) {
                rest_.remove_prefix(4);
                if (!skipPast("-->")) return false;
            } else if (rest_.starts_with("<!")) {
                if (!skipDeclaration()) return false;
            } else {
                return takeTag(tag);
            }
        }
    }

    bool takeTag(Tag& tag) {
        rest_.remove_prefix(1);
        tag.isClosing = rest_.starts_with('/');
        if (tag.isClosing) rest_.remove_prefix(1);
        std::size_t end = 0;
        while (end < rest_.size() && rest_[end] >= 'a' && rest_[end] <= 'z') ++end;
        tag.name = rest_.substr(0, end);
        // Attributes say nothing; a quoted one may hold ">".
        char quote = 0;
        for (; end < rest_.size(); ++end) {
            const char c = rest_[end];
            if (quote != 0) {
                if (c == quote) quote = 0;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                tag.isEmpty = end > 0 && rest_[end - 1] == '/';
                rest_.remove_prefix(end + 1);
                return !tag.name.empty();
            }
        }
        return false;
    }

    bool takeEnd(const Tag& tag) {
        Tag end;
        return takeTag(end) && end.isClosing && end.name == tag.name;
    }

    // The text up to the end of the element: a view of the list where it stands there as it is.
    bool takeContent(const Tag& tag, std::string_view& content) {
        content = {};
        if (tag.isEmpty) return true;
        content_.clear();
        while (true) {
            const std::size_t length = rest_.find('<');
            if (length == std::string_view::npos) return false;
            const std::string_view text = rest_.substr(0, length);
            rest_.remove_prefix(length);
            const bool isLast = rest_.starts_with("</");
            if (isLast && content_.empty() && text.find('&') == std::string_view::npos) {
                content = text;
                return takeEnd(tag);
            }
            if (!appendText(text)) return false;
            if (rest_.starts_with("<![CDATA[")) {
                rest_.remove_prefix(9);
                const std::string_view section = rest_;
                if (!skipPast("]]>")) return false;
                content_ += section.substr(0, section.size() - rest_.size() - 3);
            } else if (rest_.starts_with("<!--")) {
                rest_.remove_prefix(4);
                if (!skipPast("-->")) return false;
            } else {
                content = content_;
                return takeEnd(tag);
            }
        }
    }

    // To content_, with its references resolved.
    bool appendText(std::string_view text) {
        while (true) {
            const std::size_t length = std::min(text.find('&'), text.size());
            content_ += text.substr(0, length);
            text.remove_prefix(length);
            if (text.empty()) return true;
            if (!appendReference(text)) return false;
        }
    }

    bool appendReference(std::string_view& text) {
        constexpr std::size_t kLongest = 12;
        const std::size_t end = text.substr(0, kLongest).find(';');
        if (end == std::string_view::npos) return false;
        std::string_view name = text.substr(1, end - 1);
        text.remove_prefix(end + 1);
        for (const auto& [known, character] :
             {std::pair("lt", '<'), {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}}) {
            if (name == known) {
                content_ += character;
                return true;
            }
        }
        if (!name.starts_with('#')) return false;
        const bool hexadecimal = name.starts_with("#x") || name.starts_with("#X");
        name.remove_prefix(hexadecimal ? 2 : 1);
        std::uint32_t number = 0;
        if (!readWhole(name, number, hexadecimal ? 16 : 10)) return false;
        const bool isCharacter = number <= 0x10FFFF && (number < 0xD800 || number > 0xDFFF);
        char encoded[4];
        content_.append(encoded, encodeUtf8Character(isCharacter ? number : 0xFFFD, encoded));
        return true;
    }

    bool count() { return ++values_ <= kMaxPropertyListValues; }

    bool readValue(const Tag& tag, std::size_t depth, PropertyList& value) {
        if (tag.isClosing || !count()) return false;
        if (tag.name == "array") return readArray(tag, depth, value);
        if (tag.name == "dict") return readDictionary(tag, depth, value);
        const std::string_view name = tag.name;
        std::string_view content;
        if (!takeContent(tag, content)) return false;
        if (name == "string") {
            value = fromUtf8(content);
            return true;
        }
        if (name == "data") {
            auto bytes = bytesOfBase64(content);
            if (!bytes) return false;
            const auto owner = std::make_shared<const std::string>(*std::move(bytes));
            value = Bytes::sharing(std::as_bytes(std::span(*owner)), owner);
            return true;
        }
        const std::string_view word = trimBytes(content, isPropertyListSpace);
        if (name == "integer") return readInteger(word, value);
        if (name == "real") return readReal(word, value);
        if (name == "date") return readDate(word, value);
        value = name == "true";
        return word.empty() && (name == "true" || name == "false");
    }

    bool readArray(const Tag& tag, std::size_t depth, PropertyList& value) {
        if (depth >= kMaxPropertyListDepth) return false;
        Array array;
        for (Tag next; !tag.isEmpty;) {
            if (!nextTag(next)) return false;
            if (next.isClosing) {
                if (next.name != "array") return false;
                break;
            }
            if (!readValue(next, depth + 1, array.emplace_back())) return false;
        }
        value = std::move(array);
        return true;
    }

    bool readDictionary(const Tag& tag, std::size_t depth, PropertyList& value) {
        if (depth >= kMaxPropertyListDepth) return false;
        Dictionary dictionary;
        std::string_view content;
        for (Tag next; !tag.isEmpty;) {
            if (!nextTag(next)) return false;
            if (next.isClosing) {
                if (next.name != "dict") return false;
                break;
            }
            if (next.name != "key" || !count() || !takeContent(next, content)) return false;
            const std::u16string key = fromUtf8(content);
            PropertyList entry;
            if (!nextTag(next) || !readValue(next, depth + 1, entry)) return false;
            dictionary.set(key, std::move(entry));
        }
        value = std::move(dictionary);
        return true;
    }

    std::string_view rest_;
    std::string content_;  // of the last element whose text is not to be seen in the list
    std::size_t values_ = 0;
};

}  // namespace

std::optional<PropertyList> readXmlPropertyList(std::string_view text) {
    return XmlReader(text).read();
}

}  // namespace corvy::platform
