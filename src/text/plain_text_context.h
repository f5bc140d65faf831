// What the handlers of the HTML-to-text conversion know during one scan.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/character_tables.h"

namespace corvy {

// Directives for search indexers, as bits.
inline constexpr std::uint64_t kIndexDirective = 1;
inline constexpr std::uint64_t kSnippetDirective = 2;
inline constexpr std::uint64_t kAnchorDirective = 4;
inline constexpr std::uint64_t kAllDirectives = 7;

// A body depth that no closing tag brings down to 0.
inline constexpr std::int64_t kWholeDocument = (std::int64_t{1} << 62) - 1;

// Lives on the caller's stack for one conversion. The flags are set and cleared by single tags, not
// by nesting: the inner of two nested elements ends what the outer one began.
struct PlainTextContext {
    char16_t* outputStart = nullptr;
    char16_t* output = nullptr;                    // where the next unit is written
    char16_t* lineStart = nullptr;                 // behind the last line break written
    std::u16string_view bodyBackgroundColor = {};  // into the page; empty is none
    bool entities = false;
    bool inMarquee = false;
    bool inTextarea = false;
    bool inFrameFallback = false;  // `noframes` or `iframe`
    bool inNoscript = false;
    bool stdEntities = false;
    bool nonUmlauted = false;
    bool lineHasText = false;  // text was written since the last line break or cell
    bool reformat = false;
    bool collapseWhite = true;  // false only inside `pre` and `plaintext`
    bool pendingSpace = false;  // a space is owed before the next text
    bool sawBodyContent = false;
    bool inJunkFont = false;
    bool inFeedDate = false;
    bool hidden = false;  // in a hidden `div`, or in an `option`
    bool removeJunk = false;
    bool didRemoveJunk = false;
    bool googleTags = false;
    bool imageAlts = false;
    std::int64_t bodyDepth = kWholeDocument;
    std::int64_t linkDepth = 0;  // of links and headings
    std::uint64_t indexMask = kAllDirectives;

    bool hasOutput() const { return output != outputStart; }
    // Something is written, and it does not end in white space.
    bool endsInText() const { return hasOutput() && !isWhite(output[-1]); }
    void write(char16_t unit) { *output++ = unit; }
};

// The room that the output takes at most, in units, for a page of `size` units. A tag with a name
// takes at least three units and writes at most two; a run of text grows by two units at most, and
// only the first one has no tag in front of it, which does not grow. The rest is for the
// references of a run, which are decoded two units behind the output (kDecodingGap).
constexpr std::size_t plainTextCapacity(std::size_t size) {
    return 2 * size + 2;
}

}  // namespace corvy
