// The one parser of HTML and XML: a single forward pass that tells a handler of every tag and of
// the plain text in front of it.
//
// It builds no tree, checks nothing and never fails on bad markup. Quotes count only inside values
// (after a "="); comments end with "-->", "--!>" or, when opened by "<!-" alone, "->"; the body of
// a `script` or `style` element belongs to its tag; an unterminated tag is text. Its time is linear
// in the length of any input.
//
// kept: a `script` or `style` element whose closing text has no ">" is reported one unit longer
// than it is, and the next text run starts past the end. TagCall's views are cut to what is there.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"
#include "foundation/range.h"
#include "markup/tag_call.h"

namespace corvy {

// Told of each tag in the order of the text, then once with TagKindEnd. True stops the scan at
// once; the answers to an unterminated comment or section and to TagKindEnd do not count. A handler
// may start another scan.
using TagHandler = bool (*)(const TagCall& call);

// Scans `string`, passing `context` on. True when the scan ran, also when the handler stopped it;
// false, without any call, when the string is empty or memory for the copy is short.
// `copyCharacters`: scan a private copy, for a string that the handler changes meanwhile. Without
// it `string` must stay as it is during the scan.
bool GetTagsOfString(std::u16string_view string, TagHandler handler, void* context,
                     bool copyCharacters = false);

// The same; a standard exception that escapes the handler is logged and gives false. Other
// exceptions pass through.
bool parseXmlWithHandler(std::u16string_view xml, TagHandler handler, void* context,
                         bool mutableString = false);

// The string in the form that is scanned without a copy, which our strings have already.
inline std::u16string_view optimizedXml(std::u16string_view xml) {
    return xml;
}

// Tests on one whole tag, "<" to ">". A unit that lies outside `characters` is nothing: it is
// neither "/" nor anything else.

// Not an end tag: at least 3 units, no "/" after the "<". "<br/>" is open.
bool isTagOpenCharacters(std::u16string_view characters, Range range);
// An end tag or an empty-element tag: at least 4 units, "/" after the "<" or before the ">".
// kept: the least lengths 3 and 4 differ, so "</>" is neither, and "<br/>" is both.
bool isTagClosedCharacters(std::u16string_view characters, Range range);

bool isTagOpen(std::u16string_view tag);
bool isTagOpenInRange(std::u16string_view string, Range range);
bool isTagClosed(std::u16string_view tag);
bool isTagClosedInRange(std::u16string_view string, Range range);
// At least 7 units that begin with "?![", whatever the first one is.
bool isMetaTag(std::u16string_view tag);
bool isMetaTagInRange(std::u16string_view string, Range range);
// At least 7 units that begin with "?!-".
bool isRemarkTag(std::u16string_view tag);
bool isRemarkTagInRange(std::u16string_view string, Range range);

// The parts of a parsed tag: "Tag" (none when it is missing) and "Content" (empty).
std::optional<std::u16string> xmlTag(const Dictionary& parsedTag);
std::u16string xmlContent(const Dictionary& parsedTag);

}  // namespace corvy
