#include "text/plain_text_run.h"

#include <algorithm>
#include <cstring>

#include "foundation/find_unit.h"
#include "foundation/text.h"
#include "foundation/unit_vector.h"
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

constexpr std::ptrdiff_t kBlock = UnitVector::kSize;

// Whether the vector of units is white space of the kinds that indent markup.
bool isIndentation(const char16_t* units) {
    const UnitVector c(units);
    return !any(~((c == u' ') | (c == u'\n') | (c == u'\t') | (c == u'\r')));
}

// trimWhite for runs that often are a line feed and much indentation.
std::u16string_view trimmed(std::u16string_view run) {
    const char16_t* in = run.data();
    const char16_t* const end = in + run.size();
    if (end - in >= kBlock) {
        while (end - in >= kBlock && isIndentation(in)) in += kBlock;
        if (end - in < kBlock && isIndentation(end - kBlock)) return {};
    }
    return trimWhite({in, end});
}

// Whether the vector of units can be copied as it is: no white space in it but single spaces, and
// nothing to decode. Looks at one unit more. False also for some other units of the ranges in which
// white space lies.
bool isPlain(const char16_t* units) {
    const UnitVector c(units), next(units + 1);
    return !any((c < 0x20) | (c == u'&') | ((c == u' ') & (next == u' ')) |
                ((c >= 0x7F) & (c <= 0xA0)) | ((c >= 0x1680) & (c <= 0x205F)) | (c == 0x3000) |
                (c >= 0xFEFF));
}

// The same for the whole of a text, which is not empty.
bool isPlain(std::u16string_view text) {
    if (isWhite(text.back())) return false;
    const char16_t* in = text.data();
    const char16_t* const last = in + text.size() - 1;  // has no next unit
    if (last - in < kBlock) {
        for (; in < last; ++in) {
            if (*in == u'&' || (isWhite(*in) && (*in != u' ' || in[1] == u' '))) return false;
        }
        return true;
    }
    for (; last - in > kBlock; in += kBlock) {
        if (!isPlain(in)) return false;
    }
    return isPlain(last - kBlock);
}

// Copies the text, which does not end in white space, with each run of white units as one space.
// `out` may lie in front of the text in the same buffer.
char16_t* copyCollapsed(std::u16string_view text, char16_t* out) {
    const char16_t* in = text.data();
    const char16_t* const end = in + text.size();
    bool behindWhite = false;
    while (in < end) {
        while (end - in > kBlock && !(behindWhite && isWhite(*in)) && isPlain(in)) {
            std::memmove(out, in, kBlock * sizeof(char16_t));
            behindWhite = in[kBlock - 1] == u' ';
            in += kBlock;
            out += kBlock;
        }
        const char16_t* const stop = in + std::min(kBlock, end - in);
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

// White space at the end, which is there only inside `pre`, is no text to collapse.
void appendCollapsed(PlainTextContext& page, std::u16string_view run) {
    std::u16string_view text = run;
    while (!text.empty() && isWhite(text.back())) text.remove_suffix(1);
    const char16_t last = run.back();
    page.output = copyCollapsed(text, page.output);
    if (text.size() == run.size()) return;
    // kept: it becomes a space and its own last unit.
    page.write(u' ');
    page.write(last);
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
    const auto visible = [&page](std::u16string_view units) {
        return page.collapseWhite ? trimmed(units) : units;
    };
    std::u16string_view text = visible(run);
    const bool plain = !text.empty() && !(page.entities && page.nonUmlauted) && isPlain(text);
    if (!plain && !text.empty()) {
        run = decodedRun(page, run);
        text = visible(run);
    }
    if (text.empty()) {
        page.pendingSpace = true;
        return;
    }
    const bool endsWhite = isWhite(run.back());
    page.pendingSpace |= isWhite(run.front());
    if (page.pendingSpace && (page.lineHasText || (!page.collapseWhite && page.endsInText()))) {
        page.write(u' ');
    }
    if (page.reformat && !page.collapseWhite) {
        // kept: the space owed stays owed, and the line does not count as having text.
        appendReflowed(page, text);
        return;
    }
    if (plain) {
        page.output = std::copy(text.begin(), text.end(), page.output);
    } else {
        appendCollapsed(page, text);
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
