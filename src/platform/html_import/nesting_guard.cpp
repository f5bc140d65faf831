#include "platform/html_import/nesting_guard.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "platform/html_import/css_tokens.h"

namespace corvy::platform {

namespace {

using css::equalsNoCase;
using css::isSpaceOf;
using css::lowered;
using css::lowerOf;

constexpr std::size_t kMostElements = 2'000'000;

template <std::size_t n>
bool isOneOf(const std::string_view (&names)[n], std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

constexpr std::string_view kVoid[] = {
    "area",  "base",  "basefont", "bgsound", "br",   "col",   "embed",  "frame", "hr", "img",
    "image", "input", "keygen",   "link",    "meta", "param", "source", "track", "wbr"};
// Their content is text up to their end tag.
constexpr std::string_view kRaw[] = {"iframe", "noembed",  "noframes", "script",
                                     "style",  "textarea", "title",    "xmp"};
constexpr std::string_view kFormatting[] = {"a",    "b", "big",   "code",   "em",     "font", "i",
                                            "nobr", "s", "small", "strike", "strong", "tt",   "u"};
// What a start tag ends, unless one of the last names lies in between.
struct Ending {
    std::string_view name;
    std::array<std::string_view, 8> ends;
    std::array<std::string_view, 4> barriers;
};
constexpr Ending kEndings[] = {
    {"li", {"li"}, {"ul", "ol", "menu", "dir"}},
    {"dt", {"dt", "dd"}, {"dl"}},
    {"dd", {"dt", "dd"}, {"dl"}},
    {"option", {"option"}, {"select", "datalist"}},
    {"optgroup", {"option", "optgroup"}, {"select"}},
    {"td", {"td", "th"}, {"table", "tr"}},
    {"th", {"td", "th"}, {"table", "tr"}},
    {"tr", {"td", "th", "tr"}, {"table"}},
    {"tbody", {"td", "th", "tr", "tbody", "thead", "tfoot", "caption"}, {"table"}},
    {"thead", {"td", "th", "tr", "tbody", "thead", "tfoot", "caption"}, {"table"}},
    {"tfoot", {"td", "th", "tr", "tbody", "thead", "tfoot", "caption"}, {"table"}},
};
// Start tags of these end a paragraph.
constexpr std::string_view kBlocks[] = {
    "address",  "article", "aside",  "blockquote", "center", "details", "dir", "div", "dl",
    "fieldset", "figure",  "footer", "form",       "h1",     "h2",      "h3",  "h4",  "h5",
    "h6",       "header",  "hr",     "main",       "menu",   "nav",     "ol",  "p",   "pre",
    "section",  "table",   "ul",     "li",         "dd",     "dt"};

class Guard {
public:
    explicit Guard(std::string_view html) : html_(html) {}

    std::optional<std::string> run() {
        while (at_ < html_.size()) {
            const std::size_t open = html_.find('<', at_);
            if (open == std::string_view::npos || open + 1 >= html_.size()) break;
            at_ = open;
            readMarkup();
        }
        if (kept_ == 0) return std::nullopt;
        out_ += html_.substr(kept_);
        return std::move(out_);
    }

private:
    // Leaves out what lies between.
    void drop(std::size_t begin, std::size_t end) {
        out_ += html_.substr(kept_, begin - kept_);
        kept_ = end;
    }

    static bool isLetter(char c) { return lowerOf(c) >= 'a' && lowerOf(c) <= 'z'; }

    void readMarkup() {
        const char next = html_[at_ + 1];
        if (isLetter(next)) return readTag(false);
        if (next == '/' && at_ + 2 < html_.size() && isLetter(html_[at_ + 2])) {
            return readTag(true);
        }
        if (html_.substr(at_).starts_with("<!--")) {
            // From the last of the opening dashes on, so that "<!-->" is whole.
            const std::size_t end = html_.find("-->", at_ + 2);
            at_ = end == std::string_view::npos ? html_.size() : end + 3;
        } else if (next == '!' || next == '?' || next == '/') {
            at_ = std::min(html_.find('>', at_), html_.size() - 1) + 1;
        } else {
            ++at_;
        }
    }

    void readTag(bool isEnd) {
        const std::size_t start = at_;
        at_ += isEnd ? 2 : 1;
        const std::size_t nameStart = at_;
        while (at_ < html_.size() && !isSpaceOf(html_[at_]) && html_[at_] != '/' &&
               html_[at_] != '>') {
            ++at_;
        }
        const std::string name =
            lowered(html_.substr(nameStart, std::min<std::size_t>(at_ - nameStart, kLongest)));
        readAttributes();
        if (isEnd) {
            endElement(name, start);
        } else {
            startElement(name, start);
        }
    }

    static bool isValueQuote(char c) { return c == '"' || c == '\''; }

    // Up to behind the ">" of the tag, or to the end.
    void readAttributes() {
        std::size_t attributes = 0;
        std::size_t excess = 0;
        while (at_ < html_.size() && html_[at_] != '>') {
            if (isSpaceOf(html_[at_]) || html_[at_] == '/') {
                ++at_;
                continue;
            }
            if (++attributes > kMostAttributes && excess == 0) excess = at_;
            readAttribute();
        }
        if (excess != 0) drop(excess, at_);
        if (at_ < html_.size()) ++at_;
    }

    void readAttribute() {
        const auto more = [this] { return at_ < html_.size() && html_[at_] != '>'; };
        if (html_[at_] == '=') ++at_;
        while (more() && html_[at_] != '=' && html_[at_] != '/' && !isSpaceOf(html_[at_])) ++at_;
        std::size_t ahead = at_;
        while (ahead < html_.size() && isSpaceOf(html_[ahead])) ++ahead;
        if (ahead >= html_.size() || html_[ahead] != '=') return;
        at_ = ahead + 1;
        while (at_ < html_.size() && isSpaceOf(html_[at_])) ++at_;
        if (more() && isValueQuote(html_[at_])) {
            at_ = std::min(html_.find(html_[at_], at_ + 1), html_.size() - 1) + 1;
        } else {
            while (more() && !isSpaceOf(html_[at_])) ++at_;
        }
    }

    void startElement(const std::string& name, std::size_t start) {
        if (isOneOf(kRaw, name)) return skipRaw(name);
        if (name == "plaintext") {
            at_ = html_.size();
            return;
        }
        if (isOneOf(kVoid, name)) {
            if (!afford()) drop(start, at_);
            return;
        }
        endWhatItEnds(name);
        if (open_.size() >= kDeepestElement || !afford()) {
            ++dropped_[name];
            drop(start, at_);
            return;
        }
        open_.push_back(name);
        ++counts_[name];
        if (isOneOf(kFormatting, name)) ++formatting_;
    }

    // Each element costs one, and one for each formatting that may be opened again in it.
    bool afford() {
        const std::size_t cost = 1 + std::min<std::size_t>(formatting_, kDeepestElement);
        if (cost > budget_) return false;
        budget_ -= cost;
        return true;
    }

    void endElement(const std::string& name, std::size_t start) {
        if (const auto dropped = dropped_.find(name);
            dropped != dropped_.end() && dropped->second > 0) {
            --dropped->second;
            drop(start, at_);
            return;
        }
        if (isOneOf(kFormatting, name) && formatting_ > 0) --formatting_;
        if (const auto count = counts_.find(name); count == counts_.end() || count->second == 0) {
            return;
        }
        while (open_.back() != name) pop();
        pop();
    }

    void pop() {
        --counts_[open_.back()];
        open_.pop_back();
    }

    void endWhatItEnds(const std::string& name) {
        if (isOneOf(kBlocks, name))
            endUpTo(std::array<std::string_view, 1>{"p"}, kParagraphBarriers);
        for (const Ending& ending : kEndings) {
            if (ending.name == name) endUpTo(ending.ends, ending.barriers);
        }
    }

    template <typename Names, typename Barriers>
    void endUpTo(const Names& names, const Barriers& barriers) {
        const auto isIn = [](const auto& list, const std::string& name) {
            return std::find(list.begin(), list.end(), name) != list.end();
        };
        std::size_t keep = open_.size();
        for (std::size_t i = open_.size(); i-- > 0 && !isIn(barriers, open_[i]);) {
            if (isIn(names, open_[i])) keep = i;
        }
        while (open_.size() > keep) pop();
    }

    // Behind the end tag of an element whose content is text.
    void skipRaw(const std::string& name) {
        while (at_ < html_.size()) {
            const std::size_t close = html_.find("</", at_);
            if (close == std::string_view::npos) break;
            at_ = close + 2;
            if (equalsNoCase(html_.substr(at_, name.size()), name)) {
                at_ = std::min(html_.find('>', at_), html_.size() - 1) + 1;
                return;
            }
        }
        at_ = html_.size();
    }

    static constexpr std::size_t kLongest = 32;  // of the names that tell elements apart
    static constexpr std::array<std::string_view, 5> kParagraphBarriers = {"button", "td", "th",
                                                                           "table", "caption"};

    std::string_view html_;
    std::size_t at_ = 0;
    std::size_t kept_ = 0;  // up to here all is in `out_`, or left out
    std::string out_;
    std::vector<std::string> open_;
    std::unordered_map<std::string, std::size_t> counts_;
    std::unordered_map<std::string, std::size_t> dropped_;
    std::size_t formatting_ = 0;  // start tags without their end tags
    std::size_t budget_ = kMostElements;
};

}  // namespace

std::optional<std::string> withoutExcess(std::string_view html) {
    return Guard(html).run();
}

}  // namespace corvy::platform
