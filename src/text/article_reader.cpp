#include "text/article_reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/text.h"
#include "text/page_blocks.h"
#include "text/prose.h"

namespace corvy {

namespace {

// What is known of an element beyond its tag.
struct Part {
    std::uint32_t prose = 0;   // units of it inside, weighted
    std::uint32_t kept = 0;    // the same outside of parts that are left out
    std::uint32_t length = 0;  // of all text
    std::uint32_t linkLength = 0;
    std::uint32_t linkLines = 0;  // of all text, in blocks that are links
    std::uint32_t prosaic = 0;    // blocks of prose right in it
    bool left = false;            // it or one around it is left out
    std::uint32_t item = 0;       // the innermost item of a list in the main part; 0 outside
};

class Reader {
public:
    Reader(PageBlocks page) : page_(std::move(page)) {}

    std::optional<std::u16string> read(const ArticleTextOptions& options) {
        if (page_.blocks.empty()) return std::nullopt;
        findProse();
        leaveOut();
        const std::uint32_t main = findMain();
        choose(main);
        return write(options);
    }

private:
    const PageElement& elementOf(const PageBlock& block) const {
        return page_.elements[block.element];
    }

    // Prose is text in sentences, mostly not in links. Weighs it and adds it up by elements.
    void findProse() {
        parts_.resize(page_.elements.size());
        prose_.resize(page_.blocks.size());
        for (std::size_t i = 0; i < page_.blocks.size(); ++i) {
            const PageBlock& block = page_.blocks[i];
            Part& part = parts_[block.element];
            part.length += block.length;
            part.linkLength += block.linkLength;
            const ElementKind kind = elementOf(block).kind;
            if (block.linkLength * 2 > block.length) part.linkLines += block.length;
            if (kind == ElementKind::kHeading || kind == ElementKind::kCaption ||
                block.linkLength * 3 > block.length) {
                continue;
            }
            const Prose prose = proseOf(page_.textOf(block));
            if (!prose.isProse && kind != ElementKind::kCode) continue;
            prose_[i] = prose.weight - block.linkLength;
            part.prose += prose_[i];
            ++part.prosaic;
        }
        for (std::size_t i = parts_.size(); i-- > 1;) {
            Part& outer = parts_[page_.elements[i].parent];
            outer.prose += parts_[i].prose;
            outer.length += parts_[i].length;
            outer.linkLength += parts_[i].linkLength;
            outer.linkLines += parts_[i].linkLines;
        }
    }

    // Marks the elements that are around the content, unless they hold much of the prose.
    void leaveOut() {
        std::uint64_t all = parts_[0].prose;
        for (std::size_t i = 1; i < parts_.size();) {
            const PageElement& element = page_.elements[i];
            if (element.hint != Hint::kComments ||
                parts_[i].prose * std::uint64_t{10} >= parts_[0].prose * std::uint64_t{8}) {
                ++i;
                continue;
            }
            parts_[i].left = true;
            all -= parts_[i].prose;
            i = element.end;
        }
        for (std::uint32_t i = 1; i < parts_.size(); ++i) {
            const PageElement& element = page_.elements[i];
            Part& part = parts_[i];
            if (parts_[element.parent].left) {
                part.left = true;
                continue;
            }
            bool around = element.hint == Hint::kAround || element.kind == ElementKind::kChrome ||
                          element.kind == ElementKind::kForm ||
                          element.kind == ElementKind::kHeader ||
                          element.kind == ElementKind::kCaption;
            around = around || isTeaser(i);
            if (around) part.left = part.prose * std::uint64_t{10} < all * 4;
        }
        for (std::size_t i = 0; i < page_.blocks.size(); ++i) {
            const std::uint32_t element = page_.blocks[i].element;
            if (!parts_[element].left) parts_[element].kept += prose_[i];
        }
        for (std::size_t i = parts_.size(); i-- > 1;) {
            parts_[page_.elements[i].parent].kept += parts_[i].kept;
        }
        if (parts_[0].kept > 0) return;
        // Nothing is left: a page whose marks mean nothing.
        for (Part& part : parts_) {
            part.left = false;
            part.kept = part.prose;
        }
    }

    // A few lines of prose with links over or under them.
    bool isTeaser(std::uint32_t i) const {
        constexpr std::uint32_t kLongest = 500;
        const Part& part = parts_[i];
        const ElementKind kind = page_.elements[i].kind;
        return (kind == ElementKind::kGroup || kind == ElementKind::kItem ||
                kind == ElementKind::kArticle) &&
               part.length < kLongest && part.linkLines * 6 > part.length &&
               part.prose * std::uint64_t{4} < parts_[0].prose;
    }

    // The smallest element that holds most of the prose.
    std::uint32_t findMain() const {
        std::uint32_t main = 0;
        // An element that is named as the body of the article needs less of it.
        const std::uint64_t all = parts_[0].kept;
        std::uint64_t best = 0;
        for (std::uint32_t i = 1; i < parts_.size(); ++i) {
            if (page_.elements[i].hint != Hint::kBody || parts_[i].left) continue;
            if (parts_[i].kept > best && parts_[i].kept * std::uint64_t{4} >= all) {
                best = parts_[i].kept;
                main = i;
            }
        }
        for (;;) {
            std::uint32_t child = 0;
            for (std::uint32_t i = main + 1; i < page_.elements[main].end;
                 i = page_.elements[i].end) {
                if (parts_[i].kept > (child == 0 ? 0 : parts_[child].kept)) child = i;
            }
            if (child == 0 ||
                parts_[child].kept * std::uint64_t{100} < parts_[main].kept * std::uint64_t{75}) {
                return main;
            }
            if (page_.elements[child].kind == ElementKind::kParagraph) return main;
            main = child;
        }
    }

    // Leaves out what is a third or more of links, in the main part: rows of teasers.
    void leaveOutTeasers(std::uint32_t main) {
        for (std::uint32_t i = main + 1; i < page_.elements[main].end; ++i) {
            Part& part = parts_[i];
            if (parts_[page_.elements[i].parent].left && page_.elements[i].parent != main) {
                part.left = true;
            }
            const ElementKind kind = page_.elements[i].kind;
            part.item = kind == ElementKind::kItem ? i : parts_[page_.elements[i].parent].item;
            if (kind == ElementKind::kGroup || kind == ElementKind::kArticle) {
                part.left = part.left || (part.prosaic == 0 && part.linkLength * 3 > part.length &&
                                          part.kept * std::uint64_t{4} < parts_[main].kept);
            } else if (kind == ElementKind::kList) {
                part.left = part.left || part.linkLength * 2 > part.length;
            }
        }
    }

    // Which blocks of the main part are kept.
    void choose(std::uint32_t main) {
        const PageElement& element = page_.elements[main];
        chosen_.assign(page_.blocks.size(), false);
        leaveOutTeasers(main);
        std::size_t first = element.endBlock, last = element.firstBlock;
        for (std::size_t i = element.firstBlock; i < element.endBlock; ++i) {
            if (prose_[i] == 0 || parts_[page_.blocks[i].element].left) continue;
            first = std::min(first, i);
            last = i;
        }
        if (first > last) return;
        // Headings right in front of the first prose, and what ends its last list or element.
        while (first > element.firstBlock && isKeptHeading(page_.blocks[first - 1])) --first;
        const std::uint32_t lastElement = page_.blocks[last].element;
        const std::uint32_t lastOuter = page_.elements[lastElement].parent;
        while (last + 1 < element.endBlock) {
            const PageBlock& next = page_.blocks[last + 1];
            const bool sameList = parts_[lastElement].item != 0 && parts_[next.element].item != 0 &&
                                  page_.elements[next.element].parent == lastOuter;
            if (!(sameList || next.element == lastElement || isClosingLine(next, lastElement)) ||
                !belongs(next)) {
                break;
            }
            ++last;
        }
        const std::uint64_t all = parts_[main].kept;
        std::uint64_t seen = 0;
        const std::vector<std::uint64_t> sections = sectionHeadings(first, last);
        unsigned closedLevel = 0;  // of the heading of a section that is no part of the text
        for (std::size_t i = first; i <= last; ++i) {
            const PageBlock& block = page_.blocks[i];
            const PageElement& own = elementOf(block);
            if (parts_[block.element].left) continue;
            const std::u16string_view text = page_.textOf(block);
            if (own.kind == ElementKind::kHeading) {
                if (closedLevel == 0 || own.level <= closedLevel) {
                    closedLevel = seen * 3 > all && closesText(text) ? own.level : 0;
                }
                if (headsTeasers(text)) continue;
            }
            if (closedLevel != 0) continue;
            seen += prose_[i];
            const bool kept = prose_[i] != 0 || belongs(block) || isOneOfMany(sections, i, last);
            chosen_[i] = kept && !isBoilerplate(text);
        }
        dropShortTail(first, last);
        dropEmptyHeadings(first, last);
    }

    // Many blocks in a row that are not kept part the text into stretches, cells of tables apart.
    // What comes behind the longest stretch and is short next to it is not of the article.
    void dropShortTail(std::size_t first, std::size_t last) {
        constexpr unsigned kGap = 8;  // blocks
        struct Stretch {
            std::size_t first;
            std::uint64_t prose;
        };
        std::vector<Stretch> stretches = {{first, 0}};
        unsigned gap = 0;
        for (std::size_t i = first; i <= last; ++i) {
            if (!chosen_[i]) {
                gap += elementOf(page_.blocks[i]).kind == ElementKind::kCell ? 0 : 1;
                continue;
            }
            if (gap >= kGap) stretches.push_back({i, 0});
            stretches.back().prose += prose_[i];
            gap = 0;
        }
        const auto longest =
            std::max_element(stretches.begin(), stretches.end(),
                             [](const Stretch& a, const Stretch& b) { return a.prose < b.prose; });
        for (auto tail = longest + 1; tail != stretches.end(); ++tail) {
            if (tail->prose * 4 >= longest->prose) continue;
            const std::size_t end = tail + 1 == stretches.end() ? last + 1 : (tail + 1)->first;
            for (std::size_t i = tail->first; i < end; ++i) chosen_[i] = false;
        }
    }

    bool isKeptHeading(const PageBlock& block) const {
        return elementOf(block).kind == ElementKind::kHeading && !parts_[block.element].left &&
               block.linkLength * 2 <= block.length;
    }

    // A paragraph behind the last one of prose: "The end.", or a long one with many links.
    bool isClosingLine(const PageBlock& block, std::uint32_t lastElement) const {
        constexpr std::uint32_t kLong = 100;
        const PageElement& own = elementOf(block);
        const PageElement& before = page_.elements[lastElement];
        return own.kind == ElementKind::kParagraph && before.kind == ElementKind::kParagraph &&
               own.parent == before.parent && !parts_[block.element].left &&
               (block.length >= kLong ||
                (block.linkLength == 0 && endsAsSentence(page_.textOf(block))));
    }

    // The headings in front of prose beside them, each as its place: element around and level.
    std::vector<std::uint64_t> sectionHeadings(std::size_t first, std::size_t last) const {
        std::vector<std::uint64_t> places;
        for (std::size_t i = first; i <= last; ++i) {
            if (headsProse(i, last)) places.push_back(placeOf(i));
        }
        std::sort(places.begin(), places.end());
        return places;
    }

    std::uint64_t placeOf(std::size_t i) const {
        const PageElement& heading = elementOf(page_.blocks[i]);
        return std::uint64_t{heading.parent} << 8 | heading.level;
    }

    bool headsProse(std::size_t i, std::size_t last) const {
        const PageElement& heading = elementOf(page_.blocks[i]);
        if (heading.kind != ElementKind::kHeading || parts_[page_.blocks[i].element].left) {
            return false;
        }
        while (++i <= last && parts_[page_.blocks[i].element].left) {
        }
        return i <= last && prose_[i] != 0 && elementOf(page_.blocks[i]).parent == heading.parent;
    }

    // Lists of films or programs have headings that are links. A single one leads to another text.
    bool isOneOfMany(const std::vector<std::uint64_t>& sections, std::size_t i,
                     std::size_t last) const {
        constexpr std::ptrdiff_t kMany = 3;
        if (!headsProse(i, last)) return false;
        const auto [begin, end] = std::equal_range(sections.begin(), sections.end(), placeOf(i));
        return end - begin >= kMany;
    }

    // A heading stays when text follows before the next one of its level or above.
    void dropEmptyHeadings(std::size_t first, std::size_t last) {
        unsigned level = 7;  // headings from here on up have text
        bool hasText = false;
        for (std::size_t i = last + 1; i-- > first;) {
            if (!chosen_[i]) continue;
            const PageElement& element = elementOf(page_.blocks[i]);
            if (element.kind != ElementKind::kHeading) {
                hasText = true;
                level = 7;
                continue;
            }
            if (!hasText && element.level >= level) chosen_[i] = false;
            if (chosen_[i]) {
                level = element.level;
                hasText = false;
            }
        }
    }

    bool belongs(const PageBlock& block) const {
        const PageElement& element = elementOf(block);
        const std::u16string_view text = page_.textOf(block);
        const bool sentence = endsAsSentence(text);
        const std::uint32_t plain = block.length - block.linkLength;
        if (block.linkLength > plain && !(sentence && plain >= 30)) return false;
        switch (element.kind) {
            case ElementKind::kHeading:
            case ElementKind::kParagraph:
            case ElementKind::kQuote:
            case ElementKind::kCode:
            case ElementKind::kItem: return true;
            default:
                return parts_[block.element].prosaic > 0 ||
                       (sentence && block.length >= 15 && block.linkLength == 0);
        }
    }

    // The highest heading that the title in the head repeats, else the first heading in front of
    // the text, else the title in the head.
    std::u16string title() const {
        constexpr std::size_t kLeast = 8;
        std::u16string inHead = page_.title;
        inHead.resize(decodeReferences(inHead, inHead.data()));
        inHead = collapsed(inHead);
        const std::size_t start = static_cast<std::size_t>(
            std::find(chosen_.begin(), chosen_.end(), true) - chosen_.begin());
        std::u16string_view best, first;
        unsigned bestLevel = 4;
        for (std::size_t i = 0; i < page_.blocks.size(); ++i) {
            const PageElement& element = elementOf(page_.blocks[i]);
            if (element.kind != ElementKind::kHeading) continue;
            const std::u16string_view text = page_.textOf(page_.blocks[i]);
            if (element.level == 1 && i <= start) first = text;
            if (element.level < bestLevel && text.size() >= kLeast &&
                containsNoCase(inHead, text)) {
                best = text;
                bestLevel = element.level;
            }
        }
        if (best.empty()) best = first;
        return best.empty() ? withoutSite(inHead) : std::u16string(best);
    }

    std::optional<std::u16string> write(const ArticleTextOptions& options) const {
        const std::u16string title = this->title();
        std::u16string out;
        if (options.title) out = title;
        std::uint32_t lastItem = 0;
        bool any = false;
        for (std::size_t i = 0; i < page_.blocks.size(); ++i) {
            if (!chosen_[i]) continue;
            const PageBlock& block = page_.blocks[i];
            std::u16string_view text = page_.textOf(block);
            if (elementOf(block).kind == ElementKind::kHeading && text == title) continue;
            while (text.size() > 1 && text.back() <= u' ') text.remove_suffix(1);  // of code
            const std::uint32_t item = parts_[block.element].item;
            if (!out.empty()) out += item != 0 && lastItem != 0 ? u"\n" : u"\n\n";
            if (item != lastItem && item != 0) out += u"- ";
            out += text;
            lastItem = item;
            any = true;
        }
        if (!any) return std::nullopt;
        return out;
    }

    PageBlocks page_;
    std::vector<Part> parts_;           // of the elements
    std::vector<std::uint32_t> prose_;  // its weight, by blocks; 0 for what is none
    std::vector<bool> chosen_;          // blocks
};

}  // namespace

std::optional<std::u16string> articleText(std::u16string_view html,
                                          const ArticleTextOptions& options) {
    return Reader(blocksOfPage(html)).read(options);
}

}  // namespace corvy
