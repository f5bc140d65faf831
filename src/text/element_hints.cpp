#include "text/element_hints.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace corvy {

namespace {

// A word as a number: its first eight letters in lower case.
struct WordKey {
    std::uint64_t letters = 0;
    unsigned length = 0;  // of the whole word

    constexpr void add(char16_t c) {
        if (length < 8) letters |= static_cast<std::uint64_t>(c & 0xFF) << (8 * length);
        ++length;
    }
};

constexpr char16_t lowered(char16_t c) {
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
}

constexpr WordKey keyOf(std::string_view word) {
    WordKey key;
    for (const char c : word) key.add(static_cast<char16_t>(c));
    return key;
}

enum class Meaning : std::uint8_t {
    kNothing,
    kSubject,  // article, post: with kText behind it, the body of an article
    kText,     // body, content
    kWhole,    // both in one word
    kAround,
    kComments,
    kState,  // open, closed: a setting of the page, not a part of it
    kPost,   // a whole article, whose further words are its properties
};

struct Entry {
    std::string_view word;  // "*" at its end: also as the beginning of a word
    Meaning meaning;
};

#include "text/element_words.inc"

struct Word {
    std::uint64_t letters;
    std::uint64_t mask;
    unsigned length;  // 0 for the beginning of a word
    Meaning meaning;
};

constexpr auto kWords = [] {
    std::array<Word, std::size(kEntries)> words{};
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::string_view text = kEntries[i].word;
        const bool isStem = text.ends_with('*');
        if (isStem) text.remove_suffix(1);
        const WordKey key = keyOf(text);
        const std::uint64_t mask = !isStem || text.size() >= 8
                                       ? ~std::uint64_t{0}
                                       : (std::uint64_t{1} << (8 * text.size())) - 1;
        words[i] = {key.letters, mask, isStem ? 0 : key.length, kEntries[i].meaning};
    }
    return words;
}();

// Where the entries of each letter begin.
constexpr auto kStarts = [] {
    std::array<std::uint16_t, 27> starts{};
    for (std::size_t letter = 0; letter < starts.size(); ++letter) {
        std::size_t i = 0;
        while (i < std::size(kEntries) &&
               static_cast<std::size_t>(kEntries[i].word[0] - 'a') < letter) {
            ++i;
        }
        starts[letter] = static_cast<std::uint16_t>(i);
    }
    return starts;
}();

static_assert(std::is_sorted(std::begin(kEntries), std::end(kEntries),
                             [](const Entry& a, const Entry& b) { return a.word < b.word; }));

Meaning meaningOf(const WordKey& key) {
    const std::uint64_t first = (key.letters & 0xFF) - 'a';
    if (first >= 26) return Meaning::kNothing;
    for (std::size_t i = kStarts[first]; i < kStarts[first + 1]; ++i) {
        const Word& word = kWords[i];
        if ((key.letters & word.mask) == word.letters &&
            (word.length == 0 || word.length == key.length)) {
            return word.meaning;
        }
    }
    return Meaning::kNothing;
}

constexpr bool isLetter(char16_t c) {
    return (c | 0x20U) - u'a' < 26U;
}

constexpr bool isCapital(char16_t c) {
    return c >= u'A' && c <= u'Z';
}

constexpr bool isBlank(char16_t c) {
    return c <= 0x20;
}

// Goes through the words of a class or id, token by token: "post-content", "articleBody".
class NameReader {
public:
    void read(std::u16string_view value) {
        WordKey key;
        bool wasSmall = false;
        for (const char16_t c : value) {
            const bool joins = isLetter(c) && !(wasSmall && isCapital(c));
            if (!joins) {
                endWord(key);
                if (isBlank(c)) endToken();
            }
            if (isLetter(c)) key.add(lowered(c));
            wasSmall = isLetter(c) && !isCapital(c);
        }
        endWord(key);
        endToken();
    }

    Hint hint() const { return post_ ? Hint::kNone : hint_; }

private:
    void endWord(WordKey& key) {
        if (key.length == 0) return;
        switch (meaningOf(key)) {
            case Meaning::kNothing: break;
            case Meaning::kSubject: subject_ = true; break;
            case Meaning::kText: body_ = body_ || subject_; break;
            case Meaning::kWhole: body_ = true; break;
            case Meaning::kAround: around_ = true; break;
            case Meaning::kComments: comments_ = true; break;
            case Meaning::kState: state_ = true; break;
            case Meaning::kPost: post_ = true; break;
        }
        key = {};
    }

    // What is around the content says so more clearly than what is content.
    void endToken() {
        Hint hint = Hint::kNone;
        if (!state_) {
            hint = comments_ ? Hint::kComments
                   : around_ ? Hint::kAround
                   : body_   ? Hint::kBody
                             : Hint::kNone;
        }
        hint_ = std::max(hint_, hint);
        subject_ = body_ = around_ = comments_ = state_ = false;
    }

    Hint hint_ = Hint::kNone;
    bool post_ = false;
    bool subject_ = false, body_ = false, around_ = false, comments_ = false, state_ = false;
};

bool equalsAscii(std::u16string_view text, std::string_view lower) {
    return text.size() == lower.size() &&
           std::equal(text.begin(), text.end(), lower.begin(),
                      [](char16_t a, char b) { return lowered(a) == static_cast<char16_t>(b); });
}

// "display: none" with or without blanks.
bool hides(std::u16string_view style) {
    constexpr std::string_view kWanted = "display:none";
    std::size_t matched = 0;
    for (const char16_t c : style) {
        if (isBlank(c)) continue;
        matched = lowered(c) == static_cast<char16_t>(kWanted[matched]) ? matched + 1
                  : lowered(c) == u'd'                                  ? 1
                                                                        : 0;
        if (matched == kWanted.size()) return true;
    }
    return false;
}

Hint hintOfRole(std::u16string_view role) {
    for (const std::string_view around :
         {"navigation", "complementary", "banner", "contentinfo", "search", "dialog", "menu",
          "toolbar", "alert", "alertdialog", "menubar", "note"}) {
        if (equalsAscii(role, around)) return Hint::kAround;
    }
    return Hint::kNone;
}

bool isHiding(std::u16string_view name, std::u16string_view value) {
    switch (name.size()) {
        case 5: return equalsAscii(name, "style") && hides(value);
        case 6: return equalsAscii(name, "hidden");
        case 11: return equalsAscii(name, "aria-hidden") && equalsAscii(value, "true");
        default: return false;
    }
}

Hint hintOfAttribute(std::u16string_view name, std::u16string_view value) {
    switch (name.size()) {
        case 4:
            if (equalsAscii(name, "role")) return hintOfRole(value);
            break;
        case 8:
            if (equalsAscii(name, "itemprop")) {
                if (equalsAscii(value, "articlebody")) return Hint::kBody;
                if (equalsAscii(value, "comment")) return Hint::kComments;
            }
            break;
        default: return isHiding(name, value) ? Hint::kAround : Hint::kNone;
    }
    return Hint::kNone;
}

// Calls `read` with the name and the value of each attribute; the value is empty without one.
template <typename Read>
void readAttributes(std::u16string_view tag, const Read& read) {
    const std::size_t end = tag.size() - (tag.ends_with(u'>') ? 1 : 0);
    std::size_t i = 1;
    while (i < end && !isBlank(tag[i]) && tag[i] != u'/') ++i;
    while (i < end) {
        while (i < end && (isBlank(tag[i]) || tag[i] == u'/')) ++i;
        const std::size_t nameStart = i;
        while (i < end && !isBlank(tag[i]) && tag[i] != u'=') ++i;
        const std::u16string_view name = tag.substr(nameStart, i - nameStart);
        while (i < end && isBlank(tag[i])) ++i;
        std::u16string_view value;
        if (i < end && tag[i] == u'=') {
            ++i;
            while (i < end && isBlank(tag[i])) ++i;
            if (i < end && (tag[i] == u'"' || tag[i] == u'\'')) {
                const std::size_t close = std::min(tag.find(tag[i], i + 1), end);
                value = tag.substr(i + 1, close - i - 1);
                i = close + 1;
            } else {
                const std::size_t start = i;
                while (i < end && !isBlank(tag[i])) ++i;
                value = tag.substr(start, i - start);
            }
        }
        read(name, value);
    }
}

}  // namespace

Hint hintOfTag(std::u16string_view tag) {
    Hint hint = Hint::kNone;
    NameReader names;
    // The ids of single paragraphs are often made by a machine.
    const bool countsIds = tag.size() < 3 || lowered(tag[1]) != u'p' || !isBlank(tag[2]);
    readAttributes(tag, [&](std::u16string_view name, std::u16string_view value) {
        if (equalsAscii(name, "class") || (countsIds && equalsAscii(name, "id"))) {
            names.read(value);
        } else {
            hint = std::max(hint, hintOfAttribute(name, value));
        }
    });
    return std::max(hint, names.hint());
}

bool hidesText(std::u16string_view tag) {
    bool hides = false;
    readAttributes(tag, [&hides](std::u16string_view name, std::u16string_view value) {
        hides = hides || isHiding(name, value);
    });
    return hides;
}

}  // namespace corvy
