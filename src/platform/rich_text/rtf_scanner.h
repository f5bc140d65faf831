// The tokens of RTF. What breaks off at the end of the bytes is left out.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace corvy::platform {

struct RtfToken {
    enum class Kind : std::uint8_t {
        end,
        open,    // {
        close,   // }
        text,    // `text`: ASCII without line ends
        byte,    // `value`: of the text, in its encoding
        word,    // `text`, with its number in `value`
        symbol,  // `value`: the character behind a backslash
        binary,  // `text`: any bytes
    };
    Kind kind = Kind::end;
    bool hasValue = false;  // a number stands behind the word
    std::int32_t value = 0;
    std::string_view text{};
};

class RtfScanner {
public:
    explicit RtfScanner(std::string_view bytes)
        : at_(bytes.data()), end_(bytes.data() + bytes.size()) {}

    RtfToken next() {
        while (at_ != end_) {
            const char c = *at_;
            if (isText(c)) return text();
            ++at_;
            switch (c) {
                case '{': return {RtfToken::Kind::open};
                case '}': return {RtfToken::Kind::close};
                case '\\': return control();
                case '\r':
                case '\n':
                case '\0': break;
                default: return byteToken(static_cast<unsigned char>(c));
            }
        }
        return {};
    }

    // Goes to the brace that ends the present group, so that it is the next token.
    void skipGroup() {
        int depth = 0;
        while (at_ != end_) {
            switch (*at_) {
                case '{': ++depth; break;
                case '}':
                    if (depth-- == 0) return;
                    break;
                case '\\':
                    ++at_;
                    if (rest().starts_with("bin")) {
                        control();
                        continue;
                    }
                    if (at_ == end_) return;
                    break;
                default: break;
            }
            ++at_;
        }
    }

private:
    static constexpr std::size_t kLongestWord = 32;
    static constexpr std::int32_t kLargestNumber = 100'000'000;

    // Neither a delimiter nor a line end, and ASCII.
    static bool isText(char c) {
        static constexpr auto kText = [] {
            std::array<bool, 256> table{};
            for (int i = 1; i < 0x80; ++i) table[static_cast<std::size_t>(i)] = true;
            for (const char other : {'{', '}', '\\', '\r', '\n'}) {
                table[static_cast<unsigned char>(other)] = false;
            }
            return table;
        }();
        return kText[static_cast<unsigned char>(c)];
    }
    static bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
    static bool isDigit(char c) { return c >= '0' && c <= '9'; }
    static RtfToken byteToken(int byte) { return {RtfToken::Kind::byte, true, byte}; }

    std::string_view rest() const { return {at_, static_cast<std::size_t>(end_ - at_)}; }

    RtfToken text() {
        const char* const start = at_;
        while (at_ != end_ && isText(*at_)) ++at_;
        return {RtfToken::Kind::text, false, 0, {start, static_cast<std::size_t>(at_ - start)}};
    }

    RtfToken control() {
        if (at_ == end_) return {};
        if (isLetter(*at_)) return word();
        const char symbol = *at_++;
        if (symbol != '\'') return {RtfToken::Kind::symbol, true, symbol};
        if (end_ - at_ < 2) {
            at_ = end_;
            return {};
        }
        const int high = hexDigit(at_[0]), low = hexDigit(at_[1]);
        // What is no number is taken as text.
        if (high < 0 || low < 0) return {RtfToken::Kind::symbol, true, symbol};
        at_ += 2;
        return byteToken(high * 16 + low);
    }

    RtfToken word() {
        const char* const start = at_;
        while (at_ != end_ && isLetter(*at_)) ++at_;
        RtfToken token{
            RtfToken::Kind::word, false, 0,
            std::string_view(start, static_cast<std::size_t>(at_ - start)).substr(0, kLongestWord)};
        const bool negative = at_ != end_ && *at_ == '-' && end_ - at_ > 1 && isDigit(at_[1]);
        if (negative) ++at_;
        while (at_ != end_ && isDigit(*at_)) {
            token.hasValue = true;
            token.value = std::min(token.value * 10 + (*at_++ - '0'), kLargestNumber);
        }
        if (negative) token.value = -token.value;
        if (at_ != end_ && *at_ == ' ') ++at_;
        if (token.text == "bin") return binary(token.value);
        return token;
    }

    RtfToken binary(std::int32_t length) {
        const auto size = std::min(static_cast<std::size_t>(std::max(length, 0)), rest().size());
        const std::string_view bytes = rest().substr(0, size);
        at_ += size;
        return {RtfToken::Kind::binary, true, length, bytes};
    }

public:
    // The value of a hexadecimal digit, or -1.
    static int hexDigit(char c) {
        if (isDigit(c)) return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return -1;
    }

private:
    const char* at_;
    const char* end_;
};

}  // namespace corvy::platform
