#include "text/page_blocks.h"

#include <algorithm>
#include <array>

#include "foundation/character_tables.h"
#include "foundation/find_unit.h"
#include "foundation/latin_controls.h"
#include "markup/tag_scan.h"
#include "text/element_hints.h"
#include "text/prose.h"

namespace corvy {

namespace {

// A name as a number: its first eight letters in lower case, which tell all names of HTML apart.
constexpr std::uint64_t keyOf(std::string_view name) {
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(name.size(), 8); ++i) {
        key |= static_cast<std::uint64_t>(static_cast<unsigned char>(name[i])) << (8 * i);
    }
    return key;
}

std::uint64_t keyOf(std::u16string_view name) {
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(name.size(), 8); ++i) {
        const char16_t c = name[i];
        const char16_t lower = c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
        key |= static_cast<std::uint64_t>(lower < 0x80 ? lower : 0xFF) << (8 * i);
    }
    return key;
}

enum class Markup : std::uint8_t {
    kInline,  // and all unknown names
    kElement,
    kLink,
    kBreak,  // br
    kRule,   // hr
    kTitle,
    kSpan,  // inline markup that can hide its text
    kMath,
    kAnnotation,  // of a formula: its source beside it
};

struct Name {
    Markup markup = Markup::kInline;
    ElementKind kind = ElementKind::kGroup;
    std::uint8_t level = 0;
};

constexpr Name element(ElementKind kind) {
    return {Markup::kElement, kind, 0};
}

Name nameOf(std::uint64_t key) {
    using K = ElementKind;
    switch (key) {
        case keyOf("a"): return {Markup::kLink, K::kGroup, 0};
        case keyOf("br"): return {Markup::kBreak, K::kGroup, 0};
        case keyOf("hr"): return {Markup::kRule, K::kGroup, 0};
        case keyOf("title"): return {Markup::kTitle, K::kSilent, 0};
        case keyOf("h1"):
        case keyOf("h2"):
        case keyOf("h3"):
        case keyOf("h4"):
        case keyOf("h5"):
        case keyOf("h6"):
            return {Markup::kElement, K::kHeading, static_cast<std::uint8_t>((key >> 8) - '0')};
        case keyOf("i"):
        case keyOf("span"): return {Markup::kSpan, K::kGroup, 0};
        case keyOf("math"): return {Markup::kMath, K::kGroup, 0};
        case keyOf("annotati"): return {Markup::kAnnotation, K::kGroup, 0};
        case keyOf("p"): return element(K::kParagraph);
        case keyOf("li"):
        case keyOf("dt"):
        case keyOf("dd"): return element(K::kItem);
        case keyOf("ul"):
        case keyOf("ol"):
        case keyOf("dl"): return element(K::kList);
        case keyOf("menu"):
        case keyOf("nav"):
        case keyOf("aside"):
        case keyOf("dialog"):
        case keyOf("footer"): return element(K::kChrome);
        case keyOf("header"):
        case keyOf("hgroup"): return element(K::kHeader);
        case keyOf("article"):
        case keyOf("main"): return element(K::kArticle);
        case keyOf("blockquo"): return element(K::kQuote);
        case keyOf("pre"):
        case keyOf("listing"):
        case keyOf("xmp"): return element(K::kCode);
        case keyOf("table"): return element(K::kTable);
        case keyOf("td"):
        case keyOf("th"): return element(K::kCell);
        case keyOf("caption"):
        case keyOf("figcapti"): return element(K::kCaption);
        case keyOf("form"):
        case keyOf("fieldset"): return element(K::kForm);
        case keyOf("button"):
        case keyOf("select"):
        case keyOf("datalist"):
        case keyOf("textarea"):
        case keyOf("noscript"):
        case keyOf("noframes"):
        case keyOf("template"):
        case keyOf("iframe"):
        case keyOf("object"):
        case keyOf("applet"):
        case keyOf("audio"):
        case keyOf("video"):
        case keyOf("canvas"):
        case keyOf("map"):
        case keyOf("svg"): return {Markup::kElement, K::kSilent, 0};
        case keyOf("div"):
        case keyOf("section"):
        case keyOf("body"):
        case keyOf("center"):
        case keyOf("figure"):
        case keyOf("address"):
        case keyOf("details"):
        case keyOf("summary"):
        case keyOf("tbody"):
        case keyOf("thead"):
        case keyOf("tfoot"):
        case keyOf("tr"): return element(K::kGroup);
        default: return {};
    }
}

// Soft hyphens and the like, which would part words.
bool isInvisible(char16_t c) {
    return c == 0xAD || c == 0x200B || c == 0xFEFF;
}

class PageReader {
public:
    explicit PageReader(std::u16string_view html) {
        // White space shrinks and references do not grow.
        page_.text = std::make_unique_for_overwrite<char16_t[]>(html.size() + 1);
        page_.elements.reserve(256 + html.size() / 512);
        page_.blocks.reserve(256 + html.size() / 512);
        page_.elements.emplace_back();
        open_.push_back({0, 0, false});
    }

    void read(const TagCall& call) {
        if (call.tagLocation > call.textLocation) readText(call.text());
        if (call.tagKind == TagKindEnd) return finish();
        if (call.tagKind != TagKindElement || call.nameLength == 0) return;
        const std::uint64_t key = keyOf(call.name());
        Name name = nameOf(key);
        const bool starts = call.characters[call.tagLocation + 1] != u'/';
        // The elements that pages define for themselves are mostly blocks.
        if (name.markup == Markup::kInline && call.name().find(u'-') < call.nameLength &&
            !isInLine(key, starts)) {
            name = element(ElementKind::kGroup);
        }
        switch (name.markup) {
            case Markup::kInline: return;
            case Markup::kSpan:
                if (call.tag().ends_with(u"/>")) return;
                return readUnseen(key, starts,
                                  call.tagLength > call.nameLength + 8 && hidesText(call.tag()));
            // The formula is the text of a hidden part, whose picture stands beside it.
            case Markup::kMath: unseen_ = 0; return;
            case Markup::kAnnotation: return readUnseen(key, starts, true);
            case Markup::kLink: inLink_ = starts && !isOwnAddress(call); return;
            case Markup::kBreak: return breakLine();
            case Markup::kRule: return endBlock();
            case Markup::kTitle:
                inTitle_ = starts && page_.title.empty() && !open_.back().silent;
                return;
            case Markup::kElement: break;
        }
        endBlock();
        inTitle_ = false;
        unseen_ = 0;
        if (starts) {
            start(key, name, call);
        } else {
            end(key);
        }
    }

    PageBlocks take() { return std::move(page_); }

private:
    // An element that is not yet closed.
    struct Open {
        std::uint64_t key;
        std::uint32_t element;
        bool silent;  // it or one around it is
        bool code = false;
    };

    // A heading that links to itself is no link.
    bool isOwnAddress(const TagCall& call) const {
        return page_.elements[open_.back().element].kind == ElementKind::kHeading &&
               findUnit(call.tag(), u'#') < call.tagLength;
    }

    // An element of the page's own inside a paragraph or a heading does not part its text.
    bool isInLine(std::uint64_t key, bool starts) const {
        const ElementKind kind = page_.elements[open_.back().element].kind;
        if (kind != ElementKind::kParagraph && kind != ElementKind::kHeading) return false;
        return starts || std::none_of(open_.begin(), open_.end(),
                                      [key](const Open& open) { return open.key == key; });
    }

    // Counts the elements of one name from the one on that hides its text.
    void readUnseen(std::uint64_t key, bool starts, bool hides) {
        if (unseen_ != 0 ? key != unseenKey_ : !(starts && hides)) return;
        unseenKey_ = key;
        unseen_ += starts ? 1 : -1;
    }

    static constexpr std::size_t kDeepest = 500;
    static constexpr std::size_t kLongestTitle = 1000;

    void readText(std::u16string_view text) {
        if (inTitle_) {
            page_.title += text.substr(0, kLongestTitle - page_.title.size());
            return;
        }
        if (open_.back().silent || unseen_ != 0) return;
        if (open_.back().code) return readCode(decoded(text));
        const std::size_t reference = readWords(text, true);
        if (reference < text.size()) readWords(decoded(text.substr(reference)), false);
    }

    std::u16string_view decoded(std::u16string_view text) {
        if (findUnit(text, u'&') == text.size()) return text;
        decoded_.resize(std::max(decoded_.size(), text.size()));
        const std::size_t length = decodeReferences(text, decoded_.data());
        return std::u16string_view(decoded_).substr(0, length);
    }

    // Adds the text, or what is in front of its first "&", and gives how much of it that is.
    std::size_t readWords(std::u16string_view text, bool stopsAtReference) {
        char16_t* const begin = page_.text.get() + length_;
        char16_t* out = begin;
        char16_t pending = pending_;
        std::size_t i = 0;
        for (; i < text.size(); ++i) {
            const char16_t c = text[i];
            if (c > u'&' && c < 0x7F && pending == 0) [[likely]] {
                *out++ = c;
                continue;
            }
            if (c == u'&' && stopsAtReference) break;
            if (c <= u' ' || c == 0xA0 || (c >= 0x2000 && isWhite(c))) {
                if (pending == 0) pending = u' ';
                continue;
            }
            if (isInvisible(c)) continue;
            if (pending != 0 && (out != begin || inBlock_)) *out++ = pending;
            pending = 0;
            *out++ = readableUnit(c);
        }
        pending_ = pending;
        add(static_cast<std::size_t>(out - begin));
        return i;
    }

    void readCode(std::u16string_view text) {
        if (!inBlock_) {
            // The first line break belongs to the tag.
            while (!text.empty() && (text[0] == u'\n' || text[0] == u'\r')) text.remove_prefix(1);
        }
        char16_t* const begin = page_.text.get() + length_;
        char16_t* const end = std::remove(
            begin, std::transform(text.begin(), text.end(), begin, readableUnit), u'\r');
        pending_ = 0;
        add(static_cast<std::size_t>(end - begin));
    }

    // Takes units that have been written behind the text into the block.
    void add(std::size_t count) {
        if (count == 0) return;
        if (!inBlock_) {
            page_.blocks.push_back({open_.back().element, length_, 0, 0});
            inBlock_ = true;
        }
        PageBlock& block = page_.blocks.back();
        block.length += static_cast<std::uint32_t>(count);
        if (inLink_) block.linkLength += static_cast<std::uint32_t>(count);
        length_ += static_cast<std::uint32_t>(count);
    }

    void endBlock() {
        inBlock_ = false;
        pending_ = 0;
    }

    // The second of two breaks ends a paragraph.
    void breakLine() {
        if (!inBlock_) return;
        if (open_.back().code) {
            page_.text[length_] = u'\n';
            add(1);
        } else if (pending_ == u'\n') {
            endBlock();
        } else {
            pending_ = u'\n';
        }
    }

    void start(std::uint64_t key, const Name& name, const TagCall& call) {
        closeImplied(key);
        if (open_.size() >= kDeepest) return;
        const auto index = static_cast<std::uint32_t>(page_.elements.size());
        const Open& outer = open_.back();
        PageElement element;
        element.parent = outer.element;
        element.kind = name.kind;
        element.level = name.level;
        element.firstBlock = static_cast<std::uint32_t>(page_.blocks.size());
        // Without room for an attribute there is none.
        if (call.tagLength > call.nameLength + 6) element.hint = hintOfTag(call.tag());
        page_.elements.push_back(element);
        open_.push_back({key, index, outer.silent || name.kind == ElementKind::kSilent,
                         outer.code || name.kind == ElementKind::kCode});
    }

    // Closes what a start tag of this name ends without saying so.
    void closeImplied(std::uint64_t key) {
        if (open_.back().key == keyOf("p")) pop();
        const auto closeUpTo = [this](std::initializer_list<std::uint64_t> closed,
                                      std::initializer_list<std::uint64_t> borders) {
            for (std::size_t i = open_.size(); i-- > 1;) {
                const std::uint64_t k = open_[i].key;
                if (std::find(borders.begin(), borders.end(), k) != borders.end()) return;
                if (std::find(closed.begin(), closed.end(), k) == closed.end()) continue;
                while (open_.size() > i) pop();
                return;
            }
        };
        switch (key) {
            case keyOf("li"):
                closeUpTo({keyOf("li")}, {keyOf("ul"), keyOf("ol"), keyOf("menu"), keyOf("td")});
                break;
            case keyOf("dt"):
            case keyOf("dd"): closeUpTo({keyOf("dt"), keyOf("dd")}, {keyOf("dl")}); break;
            case keyOf("td"):
            case keyOf("th"):
                closeUpTo({keyOf("td"), keyOf("th")}, {keyOf("tr"), keyOf("table")});
                break;
            case keyOf("tr"): closeUpTo({keyOf("tr")}, {keyOf("table")}); break;
            default: break;
        }
    }

    // An end tag closes the nearest element of its name, though not one around a table cell.
    void end(std::uint64_t key) {
        const bool leavesCells = key == keyOf("table") || key == keyOf("tr") ||
                                 key == keyOf("tbody") || key == keyOf("thead") ||
                                 key == keyOf("body");
        for (std::size_t i = open_.size(); i-- > 1;) {
            if (open_[i].key == key) {
                while (open_.size() > i) pop();
                return;
            }
            if (!leavesCells && (open_[i].key == keyOf("td") || open_[i].key == keyOf("th")))
                return;
        }
    }

    void pop() {
        PageElement& element = page_.elements[open_.back().element];
        element.end = static_cast<std::uint32_t>(page_.elements.size());
        element.endBlock = static_cast<std::uint32_t>(page_.blocks.size());
        open_.pop_back();
    }

    void finish() {
        while (!open_.empty()) pop();
    }

    PageBlocks page_;
    std::vector<Open> open_;
    std::u16string decoded_;
    std::uint32_t length_ = 0;  // of the text
    bool inBlock_ = false;
    char16_t pending_ = 0;  // blank or line feed in front of the next text of the block
    bool inLink_ = false;
    bool inTitle_ = false;
    std::uint64_t unseenKey_ = 0;
    int unseen_ = 0;  // depth inside inline markup that hides its text
};

}  // namespace

PageBlocks blocksOfPage(std::u16string_view html) {
    constexpr std::size_t kLongest = std::size_t{1} << 31;
    html = html.substr(0, kLongest);
    PageReader reader(html);
    if (!scanTags(html, [&reader](const TagCall& call) {
            reader.read(call);
            return false;
        })) {
        return {};
    }
    return reader.take();
}

}  // namespace corvy
