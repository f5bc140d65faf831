#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/property_list/readers.h"
#include "platform/property_list_reader.h"

namespace corvy::platform {

namespace {

constexpr char16_t kNextStep[] = {
#include "platform/property_list/next_step.inc"
};
static_assert(std::size(kNextStep) == 128);

// Characters of strings that stand without quotes.
bool isWordCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           (c != '\0' && std::string_view("_$/:.-+").find(c) != std::string_view::npos);
}

int digitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 99;
}

// Every function is false when the list is malformed.
class TextReader {
public:
    explicit TextReader(std::string_view text) : rest_(text) {}

    std::optional<PropertyList> read() {
        PropertyList root;
        if (!skipSpace()) return std::nullopt;
        const std::string_view start = rest_;
        if (readValue(0, root) && skipSpace() && rest_.empty()) return root;
        // Files of strings are dictionaries without their braces.
        if (!start.starts_with('"') && !startsWithWord(start)) return std::nullopt;
        rest_ = start;
        values_ = 1;
        Dictionary dictionary;
        if (!readEntries(0, dictionary) || !rest_.empty()) return std::nullopt;
        return dictionary;
    }

private:
    static bool startsWithWord(std::string_view text) {
        return !text.empty() && isWordCharacter(text.front());
    }

    // White space and comments.
    bool skipSpace() {
        while (!rest_.empty()) {
            if (isPropertyListSpace(rest_.front())) {
                rest_.remove_prefix(1);
            } else if (rest_.starts_with("//")) {
                rest_.remove_prefix(std::min(rest_.find_first_of("\r\n"), rest_.size()));
            } else if (rest_.starts_with("/*")) {
                const std::size_t end = rest_.find("*/", 2);
                if (end == std::string_view::npos) return false;
                rest_.remove_prefix(end + 2);
            } else {
                return true;
            }
        }
        return true;
    }

    bool takeCharacter(char c) {
        if (!rest_.starts_with(c)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    bool count() { return ++values_ <= kMaxPropertyListValues; }

    bool readValue(std::size_t depth, PropertyList& value) {
        if (!count() || !skipSpace()) return false;
        if (takeCharacter('{')) {
            Dictionary dictionary;
            if (depth >= kMaxPropertyListDepth || !readEntries(depth, dictionary)) return false;
            value = std::move(dictionary);
            return takeCharacter('}');
        }
        if (takeCharacter('(')) return readArray(depth, value);
        if (takeCharacter('<')) return readBytes(value);
        std::u16string text;
        if (!readText(text)) return false;
        value = std::move(text);
        return true;
    }

    // "key = value;" as often as there is one.
    bool readEntries(std::size_t depth, Dictionary& dictionary) {
        std::u16string key;
        while (skipSpace() && !rest_.empty() && rest_.front() != '}') {
            PropertyList entry;
            if (!count() || !readText(key) || !skipSpace() || !takeCharacter('=') ||
                !readValue(depth + 1, entry) || !skipSpace()) {
                return false;
            }
            dictionary.set(key, std::move(entry));
            // The last one may do without.
            if (!takeCharacter(';') && !rest_.starts_with('}')) return false;
        }
        return rest_.empty() || rest_.front() == '}';
    }

    bool readArray(std::size_t depth, PropertyList& value) {
        if (depth >= kMaxPropertyListDepth) return false;
        Array array;
        while (skipSpace() && !takeCharacter(')')) {
            if (!readValue(depth + 1, array.emplace_back()) || !skipSpace()) return false;
            if (!takeCharacter(',') && !rest_.starts_with(')')) return false;
        }
        value = std::move(array);
        return true;
    }

    bool readBytes(PropertyList& value) {
        std::vector<std::byte> bytes;
        while (true) {
            while (!rest_.empty() && isPropertyListSpace(rest_.front())) rest_.remove_prefix(1);
            if (takeCharacter('>')) break;
            if (rest_.size() < 2) return false;
            const int high = digitValue(rest_[0]), low = digitValue(rest_[1]);
            if (high > 15 || low > 15) return false;
            bytes.push_back(static_cast<std::byte>(high * 16 + low));
            rest_.remove_prefix(2);
        }
        value = Bytes(std::move(bytes));
        return true;
    }

    bool readText(std::u16string& text) {
        text.clear();
        if (takeCharacter('"')) return readQuoted('"', text);
        if (takeCharacter('\'')) return readQuoted('\'', text);
        std::size_t length = 0;
        while (length < rest_.size() && isWordCharacter(rest_[length])) ++length;
        text = fromUtf8(rest_.substr(0, length));
        rest_.remove_prefix(length);
        return length > 0;
    }

    bool readQuoted(char quote, std::u16string& text) {
        const char ends[] = {quote, '\\'};
        while (true) {
            const std::size_t length = rest_.find_first_of(std::string_view(ends, 2));
            if (length == std::string_view::npos) return false;
            text += fromUtf8(rest_.substr(0, length));
            rest_.remove_prefix(length);
            if (takeCharacter(quote)) return true;
            rest_.remove_prefix(1);
            if (!readEscape(text)) return false;
        }
    }

    // Up to `most` digits; how many there were.
    std::size_t takeDigits(std::size_t most, int base, unsigned& number) {
        std::size_t length = 0;
        number = 0;
        while (length < most && length < rest_.size() && digitValue(rest_[length]) < base) {
            number = number * static_cast<unsigned>(base) +
                     static_cast<unsigned>(digitValue(rest_[length++]));
        }
        rest_.remove_prefix(length);
        return length;
    }

    // What follows a backslash: units by their number, bytes of the NEXTSTEP character set by
    // theirs, and letters for control characters. All else stands for itself.
    bool readEscape(std::u16string& text) {
        unsigned number = 0;
        if (takeDigits(3, 8, number) > 0) {
            number &= 0xFF;
            text += number < 0x80 ? static_cast<char16_t>(number) : kNextStep[number - 0x80];
            return true;
        }
        if (rest_.empty()) return false;
        const char c = rest_.front();
        if (c == 'U' || c == 'u') {
            rest_.remove_prefix(1);
            if (takeDigits(4, 16, number) == 0) return false;
            text += static_cast<char16_t>(number);
            return true;
        }
        constexpr std::string_view kLetters = "abfnrtv", kControls = "\a\b\f\n\r\t\v";
        const std::size_t letter = kLetters.find(c);
        if (letter != std::string_view::npos) {
            text += static_cast<char16_t>(kControls[letter]);
            rest_.remove_prefix(1);
        } else if (c == '\\' || c == '"' || c == '\'' || c == '\n') {
            text += static_cast<char16_t>(c);
            rest_.remove_prefix(1);
        }
        return true;
    }

    std::string_view rest_;
    std::size_t values_ = 0;
};

}  // namespace

std::optional<PropertyList> readTextPropertyList(std::string_view text) {
    return TextReader(text).read();
}

}  // namespace corvy::platform
