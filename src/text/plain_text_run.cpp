#include "text/plain_text_run.h"

#include <algorithm>
#include <cstring>

#include "foundation/find_unit.h"
#include "foundation/text.h"
#include "markup/entities.h"

namespace corvy {

namespace {

constexpr std::size_t kLeastDecoded = 4;  // units of a run that is worth decoding
// References are decoded this far behind the output, so that the space owed and the unit by which
// white space at the end can grow never overtake what is still to be read.
constexpr std::size_t kDecodingGap = 2;

constexpr std::size_t kLongestRun = 10000;      // units; longer ones are junk
constexpr std::size_t kLongestLinkText = 3500;  // the same for links and headings
constexpr std::ptrdiff_t kLongestLine = 20000;  // the same for lines

constexpr std::size_t kLeastProse = 100;     // units, and letters and digits among them
constexpr std::size_t kLeastSeparators = 5;  // runs of anything else between these
constexpr std::size_t kLeastPerSeparator = 6;

// The run with its references decoded, either itself or behind the output.
std::u16string_view decodedRun(const PlainTextContext& page, std::u16string_view run) {
    if (run.size() < kLeastDecoded || !(page.entities || page.stdEntities)) return run;
    const bool folds = page.entities && page.nonUmlauted;
    if (!folds && findUnit(run, u'&') == run.size()) return run;
    char16_t* const decoded = page.output + kDecodingGap;
    if (!page.entities) return {decoded, convertStandardEntitiesToCharacters(run, decoded)};
    return {decoded,
            convertEntitiesToCharacters(
                run, decoded, {.markup = page.stdEntities, .nonUmlauted = page.nonUmlauted})};
}

constexpr std::size_t kBlock = 8;  // units; the loops over them become vector operations

constexpr std::uint16_t maskOf(bool holds) {
    return static_cast<std::uint16_t>(-holds);
}

// Whether the block is white space of the kinds that indent markup.
bool isIndentation(const char16_t* units) {
    std::uint16_t other = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        const char16_t c = units[i];
        other |= maskOf(c != u' ') & maskOf(c != u'\n') & maskOf(c != u'\t') & maskOf(c != u'\r');
    }
    return other == 0;
}

// trimWhite for runs that often are a line feed and much indentation.
std::u16string_view trimmed(std::u16string_view run) {
    while (run.size() >= kBlock && isIndentation(run.data())) run.remove_prefix(kBlock);
    return trimWhite(run);
}

// Whether the block can be copied as it is: no white space in it but single spaces. Looks at one
// unit more. False also for blocks with other units of the ranges in which white space lies.
bool isPlainBlock(const char16_t* units) {
    std::uint16_t odd = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        const std::uint16_t c = units[i], next = units[i + 1];
        odd |= maskOf(c < 0x20);
        odd |= maskOf(static_cast<std::uint16_t>(c - 0x7F) <= 0xA0 - 0x7F);
        odd |= maskOf(static_cast<std::uint16_t>(c - 0x1680) <= 0x205F - 0x1680);
        odd |= maskOf(c == 0x3000);
        odd |= maskOf(c >= 0xFEFF);
        odd |= maskOf(c == u' ') & maskOf(next == u' ');
    }
    return odd == 0;
}

// Copies the text, which does not end in white space, with each run of white units as one space.
// `out` may lie in front of the text in the same buffer.
char16_t* copyCollapsed(std::u16string_view text, char16_t* out) {
    const char16_t* in = text.data();
    const char16_t* const end = in + text.size();
    bool behindWhite = false;
    while (in < end) {
        while (end - in > static_cast<std::ptrdiff_t>(kBlock) && !(behindWhite && isWhite(*in)) &&
               isPlainBlock(in)) {
            std::memmove(out, in, kBlock * sizeof(char16_t));
            behindWhite = in[kBlock - 1] == u' ';
            in += kBlock;
            out += kBlock;
        }
        const char16_t* const stop = in + std::min<std::ptrdiff_t>(kBlock, end - in);
        for (; in < stop; ++in) {
            const char16_t unit = *in;
            if (!isWhite(unit)) {
                *out++ = unit;
                behindWhite = false;
            } else if (!behindWhite) {
                *out++ = u' ';
                behindWhite = true;
            }
        }
    }
    return out;
}

// Throws the current line away when it has grown too long to be of use.
bool dropOverlongLine(PlainTextContext& page) {
    if (!page.removeJunk || page.output - page.lineStart <= kLongestLine) return false;
    page.didRemoveJunk = true;
    page.output = page.lineStart;
    return true;
}

void endLine(PlainTextContext& page, int lineFeeds) {
    if (dropOverlongLine(page)) return;
    while (lineFeeds-- > 0) page.write(u'\n');
    page.lineStart = page.output;
}

// The number of line breaks at `i`, which is moved behind them. A CR and LF are one.
std::size_t skipLineBreaks(std::u16string_view run, std::size_t& i) {
    std::size_t count = 0;
    for (; i < run.size() && isLineBreak(run[i]); ++i, ++count) {
        if (run[i] == u'\r' && i + 1 < run.size() && run[i + 1] == u'\n') ++i;
    }
    return count;
}

// A line that begins so is code, a list entry or a quotation, and stays on its own.
constexpr bool beginsOwnLine(char16_t c) {
    return c == u' ' || c == u'-' || c == u'/' || c == u'>' || c == u'}';
}

// Empty lines end paragraphs; within these, lines are joined.
void appendReflowed(PlainTextContext& page, std::u16string_view run) {
    for (std::size_t i = 0; i < run.size();) {
        const std::size_t breaks = skipLineBreaks(run, i);
        if (breaks > 1) {
            endLine(page, 2);
        } else if (breaks == 1 && i < run.size()) {
            if (beginsOwnLine(run[i])) {
                endLine(page, 1);
            } else if (page.endsInText()) {
                page.write(u' ');
            }
        }
        if (i < run.size() && isSpace(run[i])) {
            while (i < run.size() && isSpace(run[i])) ++i;
            page.write(u' ');
        }
        if (i < run.size() && !isLineBreak(run[i])) page.write(run[i++]);
    }
    dropOverlongLine(page);
}

}  // namespace

void appendRangeToPlainText(PlainTextContext& page, std::u16string_view run) {
    const bool isOverlong = (page.collapseWhite && run.size() > kLongestRun) ||
                            (page.linkDepth > 0 && run.size() > kLongestLinkText);
    if (page.removeJunk && isOverlong) {
        page.didRemoveJunk = true;
        page.pendingSpace = page.collapseWhite;
        return;
    }
    run = decodedRun(page, run);
    const bool beginsWhite = isWhite(run.front());
    const bool endsWhite = isWhite(run.back());
    if (page.collapseWhite) run = trimmed(run);
    if (run.empty()) {
        page.pendingSpace = true;
        return;
    }
    page.pendingSpace |= beginsWhite;
    if (page.pendingSpace && (page.lineHasText || (!page.collapseWhite && page.endsInText()))) {
        page.write(u' ');
    }
    if (page.reformat && !page.collapseWhite) {
        // kept: the space owed stays owed, and the line does not count as having text.
        appendReflowed(page, run);
        return;
    }
    std::u16string_view text = run;
    while (!text.empty() && isWhite(text.back())) text.remove_suffix(1);
    page.output = copyCollapsed(text, page.output);
    if (text.size() < run.size()) {
        // kept: white space at the end becomes a space and its own last unit.
        const char16_t last = run.back();
        page.write(u' ');
        page.write(last);
    }
    if (dropOverlongLine(page)) return;
    page.pendingSpace = endsWhite;
    page.lineHasText = true;
}

bool isProse(PlainTextContext& page, std::u16string_view run) {
    if (run.size() < kLeastProse) return false;
    char16_t* const decoded = page.output + kDecodingGap;
    const std::u16string_view text =
        trimWhite({decoded, convertEntitiesToCharacters(run, decoded)});
    if (text.size() < kLeastProse) return false;
    std::size_t alphaNums = 0, separators = 0;
    bool behindAlphaNum = true;
    for (const char16_t c : text) {
        const bool alphaNum = isAlphaNum(c);
        alphaNums += alphaNum ? 1 : 0;
        separators += !alphaNum && behindAlphaNum ? 1 : 0;
        behindAlphaNum = alphaNum;
    }
    return separators >= kLeastSeparators && alphaNums >= kLeastProse &&
           alphaNums / separators >= kLeastPerSeparator;
}

void appendSimpleRange(PlainTextContext& page, std::u16string_view run) {
    page.write(u' ');
    if (run.size() >= kLeastDecoded) {
        page.output += convertEntitiesToCharacters(run, page.output);
    } else {
        page.output = std::copy(run.begin(), run.end(), page.output);
    }
    page.sawBodyContent = true;
}

}  // namespace corvy
