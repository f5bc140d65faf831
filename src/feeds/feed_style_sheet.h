// The style sheet of feed pages: a file that the user names in the default
// `linkableFeedStyleSheet`.
#pragma once

#include <string>
#include <string_view>

namespace corvy {

enum class FeedStyleSheet {
    none,
    linked,   // by the address of the file
    inlined,  // its content, when it can be read as UTF-8
};

// Appends what the head of a page needs; nothing when the user names no style sheet.
void appendFeedStyleSheet(std::u16string& page, FeedStyleSheet form);

// The page with its linked style sheet, which has to be named "....feeds.stylesheet.css", replaced
// by the content of the one that the user names now, or removed when there is none. The page itself
// when it links none.
// kept: one character behind the link goes as well; it is the line feed that was put there.
std::u16string stringByReplacingLinkedStyleSheet(std::u16string_view page);

}  // namespace corvy
