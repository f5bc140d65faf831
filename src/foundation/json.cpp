#include "foundation/json.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "foundation/text.h"

namespace corvy {

namespace {

constexpr int kDeepest = 200;  // levels of nesting that are read
constexpr std::string_view kHex = "0123456789abcdef";

void appendEscape(std::string& out, char16_t unit) {
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) out += kHex[unit >> shift & 0xF];
}

// Whether the unit is written as it is (as part of a run of UTF-8).
bool isPlain(std::u16string_view text, std::size_t& i) {
    const char16_t unit = text[i];
    if (unit < 0x20 || unit == u'"' || unit == u'\\' || unit == 0x7F) return false;
    if (unit < 0xD800 || unit > 0xDFFF) return true;
    if (unit < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
        ++i;
        return true;
    }
    return false;
}

void appendString(std::string& out, std::u16string_view text) {
    out += '"';
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t at = i;
        if (isPlain(text, i)) continue;
        out += toUtf8(text.substr(start, at - start));
        start = at + 1;
        switch (text[at]) {
            case u'"': out += "\\\""; break;
            case u'\\': out += "\\\\"; break;
            case u'\n': out += "\\n"; break;
            case u'\r': out += "\\r"; break;
            case u'\t': out += "\\t"; break;
            default: appendEscape(out, text[at]);
        }
    }
    out += toUtf8(text.substr(start));
    out += '"';
}

class Writer {
public:
    explicit Writer(const JsonStyle& style) : style_(style) {}

    void write(const PropertyList& value) {
        value.visit([this](const auto& held) { writeValue(held); });
    }
    std::string take() { return std::move(out_); }

private:
    void writeValue(Null) { out_ += "null"; }
    void writeValue(bool value) { out_ += value ? "true" : "false"; }
    void writeValue(const std::u16string& value) { appendString(out_, value); }
    void writeValue(const Bytes& value) {
        if (style_.bytesForm) {
            out_ += style_.bytesForm(key_, value);
            return;
        }
        out_ += "{\"bytes\": \"" + base64Of(value.chars()) + "\"}";
    }
    void writeValue(Date value) {
        out_ += "{\"date\": ";
        writeValue(value.seconds);
        out_ += '}';
    }
    void writeValue(const Url& value) {
        out_ += "{\"url\": ";
        appendString(out_, value.absoluteString);
        out_ += '}';
    }
    template <typename Number>
    requires std::is_arithmetic_v<Number>
    void writeValue(Number value) {
        if constexpr (std::is_floating_point_v<Number>) {
            if (!std::isfinite(value)) {
                out_ += "null";
                return;
            }
        }
        char buffer[64];
        out_.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
    }
    void writeValue(const Array& array) {
        out_ += '[';
        ++depth_;
        bool first = true;
        for (const PropertyList& element : array) {
            separate(first);
            write(element);
        }
        --depth_;
        if (!array.empty()) breakLine();
        out_ += ']';
    }
    void writeValue(const Dictionary& dictionary) {
        if (!style_.plainDictionaries) out_ += "{\"dict\": ";
        out_ += '{';
        ++depth_;
        bool first = true;
        for (const auto& [key, value] : dictionary) {
            separate(first);
            appendString(out_, key);
            out_ += ": ";
            key_ = key;
            write(value);
        }
        --depth_;
        if (!dictionary.empty()) breakLine();
        out_ += '}';
        if (!style_.plainDictionaries) out_ += '}';
    }

    void separate(bool& first) {
        if (!first) out_ += style_.pretty ? "," : ", ";
        first = false;
        breakLine();
    }
    void breakLine() {
        if (!style_.pretty) return;
        out_ += '\n';
        out_.append(static_cast<std::size_t>(depth_) * 2, ' ');
    }

    JsonStyle style_;
    int depth_ = 0;
    std::u16string_view key_;  // the last one written
    std::string out_;
};

class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    std::optional<PropertyList> document() {
        PropertyList value;
        if (!readValue(value, 0)) return std::nullopt;
        skipBlanks();
        if (!rest_.empty()) return std::nullopt;
        return value;
    }

private:
    void skipBlanks() {
        const std::size_t i = rest_.find_first_not_of(" \t\r\n");
        rest_.remove_prefix(i == std::string_view::npos ? rest_.size() : i);
    }
    bool take(std::string_view token) {
        if (!rest_.starts_with(token)) return false;
        rest_.remove_prefix(token.size());
        return true;
    }

    bool readValue(PropertyList& value, int depth) {
        skipBlanks();
        if (rest_.empty() || depth > kDeepest) return false;
        switch (rest_.front()) {
            case '{': return readObject(value, depth);
            case '[': return readArray(value, depth);
            case '"': {
                std::u16string text;
                if (!readString(text)) return false;
                value = std::move(text);
                return true;
            }
            case 't': value = true; return take("true");
            case 'f': value = false; return take("false");
            case 'n': value = Null(); return take("null");
            default: return readNumber(value);
        }
    }

    bool readObject(PropertyList& value, int depth) {
        take("{");
        Dictionary dictionary;
        skipBlanks();
        if (!take("}")) {
            do {
                std::u16string key;
                PropertyList entry;
                skipBlanks();
                if (!readString(key)) return false;
                skipBlanks();
                if (!take(":") || !readValue(entry, depth + 1)) return false;
                dictionary.set(key, std::move(entry));
                skipBlanks();
            } while (take(","));
            if (!take("}")) return false;
        }
        value = std::move(dictionary);
        return true;
    }

    bool readArray(PropertyList& value, int depth) {
        take("[");
        Array array;
        skipBlanks();
        if (!take("]")) {
            do {
                if (!readValue(array.emplace_back(), depth + 1)) return false;
                skipBlanks();
            } while (take(","));
            if (!take("]")) return false;
        }
        value = std::move(array);
        return true;
    }

    bool readString(std::u16string& text) {
        if (!take("\"")) return false;
        while (true) {
            std::size_t plain = 0;
            while (plain < rest_.size() && rest_[plain] != '"' && rest_[plain] != '\\' &&
                   static_cast<unsigned char>(rest_[plain]) >= 0x20) {
                ++plain;
            }
            const auto run = fromStrictUtf8(rest_.substr(0, plain));
            if (!run || plain == rest_.size()) return false;
            text += *run;
            rest_.remove_prefix(plain);
            if (take("\"")) return true;
            if (!take("\\") || !readEscape(text)) return false;
        }
    }

    bool readEscape(std::u16string& text) {
        if (rest_.empty()) return false;
        const char letter = rest_.front();
        rest_.remove_prefix(1);
        switch (letter) {
            case '"': text += u'"'; return true;
            case '\\': text += u'\\'; return true;
            case '/': text += u'/'; return true;
            case 'b': text += u'\b'; return true;
            case 'f': text += u'\f'; return true;
            case 'n': text += u'\n'; return true;
            case 'r': text += u'\r'; return true;
            case 't': text += u'\t'; return true;
            case 'u': break;
            default: return false;
        }
        std::uint16_t unit = 0;
        if (rest_.size() < 4) return false;
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + 4, unit, 16);
        if (error != std::errc() || end != rest_.data() + 4) return false;
        text += static_cast<char16_t>(unit);
        rest_.remove_prefix(4);
        return true;
    }

    bool readNumber(PropertyList& value) {
        const std::size_t length =
            std::min(rest_.find_first_not_of("+-0123456789.eE"), rest_.size());
        const std::string_view token = rest_.substr(0, length);
        const std::string_view digits = token.substr(token.starts_with('-') ? 1 : 0);
        // What JSON forbids and the number readers below would accept.
        if (digits.empty() || digits.front() < '0' || digits.front() > '9') return false;
        if (digits.size() > 1 && digits[0] == '0' && digits[1] >= '0' && digits[1] <= '9') {
            return false;
        }
        if (const std::size_t dot = digits.find('.');
            dot != std::string_view::npos &&
            (dot + 1 == digits.size() || digits[dot + 1] < '0' || digits[dot + 1] > '9')) {
            return false;
        }
        const char* end = token.data() + token.size();
        std::int64_t whole = 0;
        double real = 0;
        if (const auto r = std::from_chars(token.data(), end, whole);
            r.ec == std::errc() && r.ptr == end) {
            value = whole;
        } else if (const auto d = std::from_chars(token.data(), end, real);
                   d.ec == std::errc() && d.ptr == end) {
            value = real;
        } else {
            return false;
        }
        rest_.remove_prefix(length);
        return true;
    }

    std::string_view rest_;
};

constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<int, 256> kBase64Values = [] {
    std::array<int, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < kBase64.size(); ++i) {
        values[static_cast<unsigned char>(kBase64[i])] = static_cast<int>(i);
    }
    return values;
}();

}  // namespace

std::string jsonOf(const PropertyList& value, const JsonStyle& style) {
    Writer writer(style);
    writer.write(value);
    return writer.take();
}

std::string jsonString(std::u16string_view text) {
    std::string out;
    appendString(out, text);
    return out;
}

std::optional<PropertyList> propertyListOfJson(std::string_view json) {
    return Reader(json).document();
}

std::string base64Of(std::string_view bytes) {
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            group = group << 8 | (j < count ? static_cast<unsigned char>(bytes[i + j]) : 0);
        }
        for (std::size_t j = 0; j < 4; ++j) {
            out += j <= count ? kBase64[group >> (18 - 6 * j) & 0x3F] : '=';
        }
    }
    return out;
}

std::optional<std::string> bytesOfBase64(std::string_view text) {
    std::string out(text.size() / 4 * 3 + 3, '\0');
    char* to = out.data();
    std::uint32_t group = 0;
    int digits = 0, padding = 0;
    const auto valueAt = [text](std::size_t i) {
        return kBase64Values[static_cast<unsigned char>(text[i])];
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        // Whole groups, up to the next white space.
        for (; digits == 0 && padding == 0 && i + 4 <= text.size(); i += 4) {
            const int a = valueAt(i), b = valueAt(i + 1), c = valueAt(i + 2), d = valueAt(i + 3);
            if ((a | b | c | d) < 0) break;
            *to++ = static_cast<char>(a << 2 | b >> 4);
            *to++ = static_cast<char>(b << 4 | c >> 2);
            *to++ = static_cast<char>(c << 6 | d);
        }
        if (i == text.size()) break;
        const char c = text[i];
        if (c == ' ' || c == '\n' || c == '\r' || c == '\t') continue;
        if (c == '=') {
            ++padding;
            continue;
        }
        const int value = valueAt(i);
        if (value < 0 || padding) return std::nullopt;
        group = group << 6 | static_cast<std::uint32_t>(value);
        if (++digits == 4) {
            for (int shift = 16; shift >= 0; shift -= 8) *to++ = static_cast<char>(group >> shift);
            group = 0, digits = 0;
        }
    }
    if (digits == 1 || (padding && digits + padding != 4)) return std::nullopt;
    if (digits == 0 && padding) return std::nullopt;
    if (digits == 2) *to++ = static_cast<char>(group >> 4);
    if (digits == 3) *to++ = static_cast<char>(group >> 10), *to++ = static_cast<char>(group >> 2);
    out.resize(static_cast<std::size_t>(to - out.data()));
    return out;
}

}  // namespace corvy
