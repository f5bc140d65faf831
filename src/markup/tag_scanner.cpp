#include "markup/tag_scanner.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <memory>

#include "foundation/system_log.h"
#include "markup/tag_scan.h"

namespace corvy {

namespace {

struct Free {
    void operator()(char16_t* buffer) const noexcept { std::free(buffer); }
};
using CharacterBuffer = std::unique_ptr<char16_t, Free>;

// A copy in whole memory pages; null when memory is short.
CharacterBuffer copyOf(std::u16string_view string) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t bytes = (string.size() * sizeof(char16_t) + page - 1) / page * page;
    CharacterBuffer buffer(static_cast<char16_t*>(std::aligned_alloc(page, bytes)));
    if (buffer) std::copy(string.begin(), string.end(), buffer.get());
    return buffer;
}

// The unit at `offset` of the range; none when it lies outside the characters.
std::optional<char16_t> unitAt(std::u16string_view characters, Range range, std::uint64_t offset) {
    if (range.location >= characters.size() || offset >= characters.size() - range.location) {
        return std::nullopt;
    }
    return characters[range.location + offset];
}

bool beginsWithMark(std::u16string_view string, Range range, char16_t mark) {
    return range.length >= 7 && unitAt(string, range, 1) == u'!' &&
           unitAt(string, range, 2) == mark;
}

Range wholeOf(std::u16string_view string) {
    return {0, string.size()};
}

}  // namespace

bool GetTagsOfString(std::u16string_view string, TagHandler handler, void* context,
                     bool copyCharacters) {
    if (string.empty()) return false;
    if (!copyCharacters) return scanTags(string, string, context, handler);
    const CharacterBuffer copy = copyOf(string);
    if (!copy) return false;
    return scanTags(string, {copy.get(), string.size()}, context, handler);
}

bool parseXmlWithHandler(std::u16string_view xml, TagHandler handler, void* context,
                         bool mutableString) {
    try {
        return GetTagsOfString(xml, handler, context, mutableString);
    } catch (const std::exception& exception) {
        logException(u"parseXmlWithHandler:context:mutable:", u"NSString",
                     describeException(exception));
        return false;
    }
}

bool isTagOpenCharacters(std::u16string_view characters, Range range) {
    if (range.length < 3) return false;
    const std::optional<char16_t> second = unitAt(characters, range, 1);
    return second && *second != u'/';
}

bool isTagClosedCharacters(std::u16string_view characters, Range range) {
    return range.length >= 4 && (unitAt(characters, range, 1) == u'/' ||
                                 unitAt(characters, range, range.length - 2) == u'/');
}

bool isTagOpen(std::u16string_view tag) {
    return isTagOpenCharacters(tag, wholeOf(tag));
}

bool isTagOpenInRange(std::u16string_view string, Range range) {
    return isTagOpenCharacters(string, range);
}

bool isTagClosed(std::u16string_view tag) {
    return isTagClosedCharacters(tag, wholeOf(tag));
}

bool isTagClosedInRange(std::u16string_view string, Range range) {
    return isTagClosedCharacters(string, range);
}

bool isMetaTag(std::u16string_view tag) {
    return isMetaTagInRange(tag, wholeOf(tag));
}

bool isMetaTagInRange(std::u16string_view string, Range range) {
    return beginsWithMark(string, range, u'[');
}

bool isRemarkTag(std::u16string_view tag) {
    return isRemarkTagInRange(tag, wholeOf(tag));
}

bool isRemarkTagInRange(std::u16string_view string, Range range) {
    return beginsWithMark(string, range, u'-');
}

std::optional<std::u16string> xmlTag(const Dictionary& parsedTag) {
    return stringOf(parsedTag, u"Tag");
}

std::u16string xmlContent(const Dictionary& parsedTag) {
    return stringOf(parsedTag, u"Content").value_or(std::u16string());
}

}  // namespace corvy
