// Reader mode: the main text of a page, without what is around it.
//
// One scan notes the page's blocks of text and the elements they stand in (page_blocks.h). The main
// part is the smallest element that holds most of the prose: text in sentences, mostly outside of
// links, in no part that is named or marked as menu, comment, advertising and the like. Of its
// blocks those are kept that are prose or stand among prose.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvy {

struct ArticleTextOptions {
    bool title = true;  // begin with the title of the page, when it has one
};

// Plain text: paragraphs, headings and code parted by empty lines, items of lists each on a line of
// their own behind "- ". Entities are decoded. None when the page holds no readable prose.
std::optional<std::u16string> articleText(std::u16string_view html,
                                          const ArticleTextOptions& options = {});

}  // namespace corvy
