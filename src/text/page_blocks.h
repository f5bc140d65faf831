// A page as the reader mode looks at it: its blocks of text in order, and the elements that they
// stand in. One scan of the tags builds both; there are no nodes for inline markup.
//
// Elements lie in an array in the order of their start tags, so that whatever an element holds, its
// elements and its blocks, is one run of each array.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace corvy {

// What the name of an element says of its text.
enum class ElementKind : std::uint8_t {
    kGroup,    // div, section, table rows: nothing
    kArticle,  // article, main
    kParagraph,
    kHeading,
    kList,
    kItem,  // of a list
    kQuote,
    kCode,  // white space counts
    kTable,
    kCell,
    kCaption,
    kForm,
    kHeader,
    kChrome,  // nav, footer, aside: around the content
    kSilent,  // its text is not for reading: buttons, scripting fallbacks
};

// What class, id and other attributes say.
enum class Hint : std::uint8_t {
    kNone,
    kBody,      // the text of an article
    kAround,    // menus, sharing, related pages, advertising, dates, hidden parts
    kComments,  // readers' comments
};

struct PageElement {
    std::uint32_t parent = 0;  // index; that of the first element is its own
    std::uint32_t end = 0;     // behind the last element inside
    std::uint32_t firstBlock = 0;
    std::uint32_t endBlock = 0;
    ElementKind kind = ElementKind::kGroup;
    std::uint8_t level = 0;  // of a heading, 1 to 6
    Hint hint = Hint::kNone;
};

// Text that no markup parts but single line breaks. Lengths count UTF-16 code units.
struct PageBlock {
    std::uint32_t element = 0;  // the innermost
    std::uint32_t start = 0;    // in the text
    std::uint32_t length = 0;
    std::uint32_t linkLength = 0;  // of it in links
};

struct PageBlocks {
    std::vector<PageElement> elements;  // the first stands for the page
    std::vector<PageBlock> blocks;
    std::unique_ptr<char16_t[]> text;  // as it is read: references decoded, single blanks
    std::u16string title;              // of the head, at most 1000 units

    std::u16string_view textOf(const PageBlock& block) const {
        return {text.get() + block.start, block.length};
    }
};

// Linear in the page. Elements nested deeper than 500 count as part of those around them. Of a page
// of more than 2^31 units only the beginning counts.
PageBlocks blocksOfPage(std::u16string_view html);

}  // namespace corvy
