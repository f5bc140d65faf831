#include "platform/html_import/css_tokens.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "foundation/utf8.h"

namespace corvy::platform::css {

namespace {

constexpr bool isDigitOf(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isHexOf(char c) {
    return isDigitOf(c) || (lowerOf(c) >= 'a' && lowerOf(c) <= 'f');
}
// A zero byte stands for U+FFFD, which may begin a name.
constexpr bool isNameStart(char c) {
    return (lowerOf(c) >= 'a' && lowerOf(c) <= 'z') || c == '_' || (c & 0x80) != 0 || c == '\0';
}
constexpr bool isName(char c) {
    return isNameStart(c) || isDigitOf(c) || c == '-';
}
constexpr bool isNewline(char c) {
    return c == '\n' || c == '\r' || c == '\f';
}

}  // namespace

class Tokenizer {
public:
    explicit Tokenizer(TokenList& list) : list_(list), source_(list.source_) {}

    void run() {
        list_.tokens_.reserve(source_.size() / 4 + 1);
        for (;;) {
            skipComments();
            Token token;
            token.start = static_cast<std::uint32_t>(at_);
            if (at_ >= source_.size()) {
                list_.tokens_.push_back(token);
                return;
            }
            read(token);
            list_.tokens_.push_back(token);
        }
    }

private:
    // The character `ahead` of the next one; a line feed behind the end, which no token contains.
    char peek(std::size_t ahead = 0) const {
        return at_ + ahead < source_.size() ? source_[at_ + ahead] : '\n';
    }
    bool hasMore(std::size_t ahead = 0) const { return at_ + ahead < source_.size(); }

    void skipComments() {
        while (peek() == '/' && peek(1) == '*') {
            const std::size_t end = source_.find("*/", at_ + 2);
            at_ = end == std::string_view::npos ? source_.size() : end + 2;
        }
    }

    bool startsEscape(std::size_t ahead) const {
        return hasMore(ahead) && peek(ahead) == '\\' &&
               (!hasMore(ahead + 1) || !isNewline(peek(ahead + 1)));
    }
    bool startsIdentifier(std::size_t ahead = 0) const {
        if (!hasMore(ahead)) return false;
        if (peek(ahead) == '-') {
            return hasMore(ahead + 1) && (isNameStart(peek(ahead + 1)) || peek(ahead + 1) == '-' ||
                                          startsEscape(ahead + 1));
        }
        return isNameStart(peek(ahead)) || startsEscape(ahead);
    }
    bool startsNumber() const {
        const std::size_t sign = peek() == '+' || peek() == '-' ? 1 : 0;
        return isDigitOf(peek(sign)) || (peek(sign) == '.' && isDigitOf(peek(sign + 1)));
    }

    void read(Token& token) {
        const char c = peek();
        if (isSpaceOf(c)) {
            while (hasMore() && isSpaceOf(peek())) ++at_;
            token.kind = TokenKind::whitespace;
        } else if (c == '"' || c == '\'') {
            readString(token);
        } else if (c == '#' && hasMore(1) && (isName(peek(1)) || startsEscape(1))) {
            ++at_;
            token.kind = TokenKind::hash;
            token.isIdentifier = startsIdentifier();
            token.text = readName();
        } else if (startsNumber()) {
            readNumber(token);
        } else if (c == '-' && peek(1) == '-' && peek(2) == '>') {
            at_ += 3;
            token.kind = TokenKind::cdc;
        } else if (startsIdentifier()) {
            readIdentifier(token);
        } else if (source_.substr(at_).starts_with("<!--")) {
            at_ += 4;
            token.kind = TokenKind::cdo;
        } else if (c == '@' && startsIdentifier(1)) {
            ++at_;
            token.kind = TokenKind::atKeyword;
            token.text = readName();
        } else {
            token.kind = kindOfSign(c);
            token.text = source_.substr(at_++, 1);
        }
    }

    static TokenKind kindOfSign(char c) {
        switch (c) {
            case ':': return TokenKind::colon;
            case ';': return TokenKind::semicolon;
            case ',': return TokenKind::comma;
            case '[': return TokenKind::openSquare;
            case ']': return TokenKind::closeSquare;
            case '(': return TokenKind::openParen;
            case ')': return TokenKind::closeParen;
            case '{': return TokenKind::openCurly;
            case '}': return TokenKind::closeCurly;
            default: return TokenKind::delim;
        }
    }

    // The backslash is still there.
    void readEscape(std::string& out) {
        ++at_;
        if (!hasMore()) {
            out += "\xEF\xBF\xBD";
            return;
        }
        if (!isHexOf(peek())) {
            out += source_[at_++];
            return;
        }
        char32_t character = 0;
        for (int digits = 0; digits < 6 && hasMore() && isHexOf(peek()); ++digits, ++at_) {
            const char c = lowerOf(peek());
            character =
                character * 16 + static_cast<char32_t>(isDigitOf(c) ? c - '0' : c - 'a' + 10);
        }
        if (hasMore() && peek() == '\r' && peek(1) == '\n') ++at_;
        if (hasMore() && isSpaceOf(peek())) ++at_;
        const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
        if (character == 0 || isSurrogate || character > 0x10FFFF) character = 0xFFFD;
        char bytes[4];
        out.append(bytes, encodeUtf8Character(character, bytes));
    }

    std::string_view readName() {
        const std::size_t start = at_;
        while (hasMore() && isName(peek())) ++at_;
        if (!startsEscape(0)) return source_.substr(start, at_ - start);
        std::string& name = list_.unescaped_.emplace_back(source_.substr(start, at_ - start));
        while (hasMore()) {
            if (isName(peek())) {
                name += source_[at_++];
            } else if (startsEscape(0)) {
                readEscape(name);
            } else {
                break;
            }
        }
        return name;
    }

    void readString(Token& token) {
        const char quote = source_[at_++];
        const std::size_t start = at_;
        token.kind = TokenKind::string;
        while (hasMore() && peek() != quote && peek() != '\\' && !isNewline(peek())) ++at_;
        token.text = source_.substr(start, at_ - start);
        if (hasMore() && peek() == '\\') {
            std::string& text = list_.unescaped_.emplace_back(token.text);
            while (hasMore() && peek() != quote && !isNewline(peek())) {
                if (peek() != '\\') {
                    text += source_[at_++];
                } else if (!hasMore(1)) {
                    ++at_;
                } else if (isNewline(peek(1))) {
                    at_ += peek(1) == '\r' && peek(2) == '\n' ? 3 : 2;
                } else {
                    readEscape(text);
                }
            }
            token.text = text;
        }
        if (!hasMore()) return;
        if (peek() == quote) {
            ++at_;
        } else {
            token.kind = TokenKind::badString;
        }
    }

    void readNumber(Token& token) {
        const std::size_t start = at_;
        token.isInteger = true;
        if (peek() == '+' || peek() == '-') ++at_;
        while (hasMore() && isDigitOf(peek())) ++at_;
        if (peek() == '.' && isDigitOf(peek(1))) {
            token.isInteger = false;
            ++at_;
            while (hasMore() && isDigitOf(peek())) ++at_;
        }
        const bool hasSign = peek(1) == '+' || peek(1) == '-';
        if (lowerOf(peek()) == 'e' && isDigitOf(peek(hasSign ? 2 : 1))) {
            token.isInteger = false;
            at_ += hasSign ? 2 : 1;
            while (hasMore() && isDigitOf(peek())) ++at_;
        }
        const std::size_t plus = source_[start] == '+' ? 1 : 0;
        const char* first = source_.data() + start + plus;
        if (std::from_chars(first, source_.data() + at_, token.number).ec != std::errc()) {
            token.number = 0;
        }
        // Far beyond any length, and small enough to be multiplied.
        token.number = std::clamp(token.number, -1e9, 1e9);
        if (startsIdentifier()) {
            token.kind = TokenKind::dimension;
            token.text = readName();
        } else if (hasMore() && peek() == '%') {
            ++at_;
            token.kind = TokenKind::percentage;
        } else {
            token.kind = TokenKind::number;
        }
    }

    void readIdentifier(Token& token) {
        token.kind = TokenKind::ident;
        token.text = readName();
        if (!hasMore() || peek() != '(') return;
        ++at_;
        token.kind = TokenKind::function;
        if (!equalsNoCase(token.text, "url")) return;
        // A quoted address makes it a function like others.
        std::size_t ahead = 0;
        while (hasMore(ahead) && isSpaceOf(peek(ahead))) ++ahead;
        if (hasMore(ahead) && (peek(ahead) == '"' || peek(ahead) == '\'')) return;
        at_ += ahead;
        readUrl(token);
    }

    void readUrl(Token& token) {
        token.kind = TokenKind::url;
        std::string* escaped = nullptr;
        const std::size_t start = at_;
        std::size_t end = at_;
        for (;;) {
            if (!hasMore()) break;
            const char c = peek();
            if (c == ')' || isSpaceOf(c)) break;
            if (c == '"' || c == '\'' || c == '(' || (c == '\\' && !startsEscape(0))) {
                return readRestOfBadUrl(token);
            }
            if (c == '\\') {
                if (!escaped) {
                    escaped = &list_.unescaped_.emplace_back(source_.substr(start, at_ - start));
                }
                readEscape(*escaped);
            } else {
                if (escaped) *escaped += c;
                ++at_;
            }
            end = at_;
        }
        token.text = escaped ? std::string_view(*escaped) : source_.substr(start, end - start);
        while (hasMore() && isSpaceOf(peek())) ++at_;
        if (!hasMore()) return;
        if (peek() != ')') return readRestOfBadUrl(token);
        ++at_;
    }

    void readRestOfBadUrl(Token& token) {
        token.kind = TokenKind::badUrl;
        while (hasMore()) {
            if (peek() == ')') {
                ++at_;
                return;
            }
            at_ += startsEscape(0) && hasMore(1) ? 2 : 1;
        }
    }

    TokenList& list_;
    std::string_view source_;
    std::size_t at_ = 0;
};

TokenList::TokenList(std::string_view source)
    : source_(source.substr(0, std::numeric_limits<std::uint32_t>::max())) {
    Tokenizer(*this).run();
    matchBrackets();
}

void TokenList::matchBrackets() {
    const auto closingOf = [this](std::uint32_t index) {
        switch (tokens_[index].kind) {
            case TokenKind::openSquare: return TokenKind::closeSquare;
            case TokenKind::openCurly: return TokenKind::closeCurly;
            default: return TokenKind::closeParen;
        }
    };
    std::vector<std::uint32_t> open;
    for (std::uint32_t i = 0; i < size(); ++i) {
        if (tokens_[i].opens()) {
            tokens_[i].match = static_cast<std::uint32_t>(size());
            open.push_back(i);
        } else if (!open.empty() && tokens_[i].kind == closingOf(open.back())) {
            tokens_[open.back()].match = i;
            open.pop_back();
        }
    }
}

bool equalsNoCase(std::string_view text, std::string_view word) {
    return text.size() == word.size() && startsWithNoCase(text, word);
}

bool startsWithNoCase(std::string_view text, std::string_view word) {
    return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(),
                                                    [](char a, char b) { return a == lowerOf(b); });
}

std::string lowered(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), lowerOf);
    return out;
}

}  // namespace corvy::platform::css
