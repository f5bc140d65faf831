// Style sheet text as tokens, by the published syntax of CSS (css-syntax-3, section 4).
//
// Every bracket and function knows the token that closes it, so that whoever reads the list steps
// over a whole component value at a time and never searches for a brace.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace corvy::platform::css {

enum class TokenKind : std::uint8_t {
    ident,
    function,  // its parenthesis included; `match` is the closing one
    atKeyword,
    hash,
    string,
    badString,
    url,
    badUrl,
    delim,  // `text` is the one character
    number,
    percentage,
    dimension,
    whitespace,
    cdo,
    cdc,
    colon,
    semicolon,
    comma,
    openSquare,
    closeSquare,
    openParen,
    closeParen,
    openCurly,
    closeCurly,
    end,
};

struct Token {
    TokenKind kind = TokenKind::end;
    bool isIdentifier = false;  // of a hash: it can be an ID
    bool isInteger = false;     // of a number
    std::uint32_t start = 0;    // offset in the source
    // Of an opening bracket or a function: the index of the token that closes it, or that of the
    // end token when nothing does.
    std::uint32_t match = 0;
    double number = 0;
    // Names, strings and addresses with escapes resolved; of a dimension the unit.
    std::string_view text = {};

    bool opens() const {
        return kind == TokenKind::function || kind == TokenKind::openSquare ||
               kind == TokenKind::openParen || kind == TokenKind::openCurly;
    }
    bool isDelim(char c) const { return kind == TokenKind::delim && text[0] == c; }
};

// The tokens of one text. The last one is the end token. The source must outlive the list.
class TokenList {
public:
    explicit TokenList(std::string_view source);
    TokenList(TokenList&&) = default;
    TokenList& operator=(TokenList&&) = default;

    const Token& operator[](std::size_t index) const { return tokens_[index]; }
    // Without the end token.
    std::size_t size() const { return tokens_.size() - 1; }
    // The index behind the component value that begins at `index`.
    std::size_t next(std::size_t index) const {
        const Token& token = tokens_[index];
        return token.opens() ? std::min<std::size_t>(token.match + std::size_t{1}, size())
                             : index + 1;
    }
    // The text of the tokens from `begin` up to `end`.
    std::string_view sourceOf(std::size_t begin, std::size_t end) const {
        return source_.substr(tokens_[begin].start, tokens_[end].start - tokens_[begin].start);
    }

private:
    friend class Tokenizer;
    void matchBrackets();

    std::string_view source_;
    std::vector<Token> tokens_;
    std::deque<std::string> unescaped_;
};

// A stretch of tokens, walked by component values.
class TokenCursor {
public:
    TokenCursor(const TokenList& list, std::size_t begin, std::size_t end)
        : list_(&list), at_(begin), end_(end) {}
    explicit TokenCursor(const TokenList& list) : TokenCursor(list, 0, list.size()) {}

    bool atEnd() const { return at_ >= end_; }
    // The end token behind the last one.
    const Token& peek() const { return atEnd() ? (*list_)[list_->size()] : (*list_)[at_]; }
    void skip() { at_ = list_->next(at_); }
    void skipSpace() {
        while (!atEnd() && peek().kind == TokenKind::whitespace) ++at_;
    }
    // Takes the token and the white space behind it.
    const Token& take() {
        const Token& token = peek();
        if (!atEnd()) skip();
        skipSpace();
        return token;
    }
    // What lies within the brackets or the function that the next token opens.
    TokenCursor inside() const {
        return {*list_, at_ + 1, std::min<std::size_t>(peek().match, end_)};
    }
    // The stretch from here up to `other`, which stands further on in the same list.
    TokenCursor upTo(const TokenCursor& other) const { return {*list_, at_, other.at_}; }
    std::string_view source() const { return list_->sourceOf(at_, std::max(at_, end_)); }
    std::size_t position() const { return at_; }
    std::size_t end() const { return end_; }
    const TokenList& list() const { return *list_; }

private:
    const TokenList* list_;
    std::size_t at_;
    std::size_t end_;
};

// ASCII only: names of CSS are compared that way. `word` is in lower case.
bool equalsNoCase(std::string_view text, std::string_view word);
bool startsWithNoCase(std::string_view text, std::string_view word);
std::string lowered(std::string_view text);
constexpr char lowerOf(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}
constexpr bool isSpaceOf(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

}  // namespace corvy::platform::css
