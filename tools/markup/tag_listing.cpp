#include "tools/markup/tag_listing.h"

#include <algorithm>
#include <array>
#include <vector>

#include "foundation/json.h"
#include "foundation/text.h"
#include "markup/tag_predicates.h"
#include "markup/tag_scanner.h"

namespace corvy::tools {

namespace {

constexpr std::size_t kNumberWidth = 6;  // columns of the line numbers
constexpr std::size_t kIndent = 2;       // columns for each element around
constexpr std::size_t kDeepest = 20;     // levels that still move the text to the right
constexpr std::size_t kMostOpen = 256;   // elements whose end is waited for
constexpr std::size_t kLeastWidth = 30;  // columns that a tag or text gets in any case
constexpr std::size_t kTagTail = 14;     // units shown of the end of a tag that is cut
constexpr std::u16string_view kEllipsis = u" \u2026 ";

// Elements that have no end tag.
constexpr std::u16string_view kVoidElements[] = {
    u"AREA",  u"BASE", u"BR",   u"COL",   u"DOCTYPE", u"EMBED", u"HR", u"IMG",
    u"INPUT", u"LINK", u"META", u"PARAM", u"SOURCE",  u"TRACK", u"WBR"};

struct ListingContext {
    std::size_t width;
    std::string out;
    std::vector<std::u16string_view> open;  // names of the elements around
    std::size_t line = 1;                   // of the page, at `counted`
    std::size_t counted = 0;
};

// The text in one line: white space collapsed, other control characters and lone surrogates
// replaced. Reads only as far as `longest` units of the result need.
std::u16string inOneLine(std::u16string_view text, std::size_t longest) {
    std::u16string out;
    bool blank = false;
    for (const char16_t c : text) {
        if (out.size() > longest) break;
        if (isWhite(c)) {
            blank = !out.empty();
            continue;
        }
        if (blank) out += u' ';
        blank = false;
        out += c < 0x20 || (c >= 0x7F && c < 0xA0) ? u'\xFFFD' : c;
    }
    return out;
}

std::u16string cutAtEnd(std::u16string_view text, std::size_t width) {
    std::u16string line = inOneLine(text, width);
    if (line.size() > width) line.replace(width - 1, line.size(), u"\u2026");
    return line;
}

// A long tag shows how it begins and how it ends.
std::u16string cutInside(std::u16string_view tag, std::size_t width) {
    std::u16string line = inOneLine(tag, width);
    if (line.size() <= width) return line;
    line.resize(width - kTagTail - kEllipsis.size());
    if (line.ends_with(u' ')) line.pop_back();
    line += kEllipsis;
    return line += inOneLine(tag.substr(tag.size() - kTagTail), kTagTail);
}

// The number of the line at `location`, which grows from call to call.
std::size_t lineAt(ListingContext& context, const TagCall& call, std::size_t location) {
    const std::u16string_view passed =
        call.characters.substr(context.counted, location - context.counted);
    context.line += static_cast<std::size_t>(std::count(passed.begin(), passed.end(), u'\n'));
    context.counted = location;
    return context.line;
}

std::size_t indentOf(std::size_t depth) {
    return kIndent * std::min(depth, kDeepest);
}

void addLine(ListingContext& context, std::string number, std::size_t indent,
             std::u16string_view text) {
    number.insert(0, kNumberWidth - std::min(number.size(), kNumberWidth), ' ');
    context.out += number + "  " + std::string(indent, ' ') + toUtf8(text) + "\n";
}

std::size_t widthAt(const ListingContext& context, std::size_t indent) {
    const std::size_t used = kNumberWidth + 2 + indent;
    return std::max(kLeastWidth, context.width - std::min(context.width, used));
}

bool hasNoEnd(const TagCall& call) {
    if (isEmptyElementTag(call) || call.nameLength == 0 || call.tag().starts_with(u"<?")) {
        return true;
    }
    // The scanner has reported a closed `script` or `style` as a whole.
    const std::u16string_view tag = call.tag();
    if (tag.find(u'>') + 1 != tag.size() && tag.find(u"</") != std::u16string_view::npos)
        return true;
    return std::any_of(std::begin(kVoidElements), std::end(kVoidElements),
                       [&call](std::u16string_view name) { return isNamed(call, name); });
}

// The level of the element that an end tag closes, with what it leaves open inside; the present
// one when there is none.
std::size_t levelClosedBy(std::u16string_view name, const ListingContext& context) {
    for (std::size_t i = context.open.size(); i-- > 0;) {
        if (equalNoCase(context.open[i], name)) return i;
    }
    return context.open.size();
}

bool ListHandler(const TagCall& call) {
    auto& context = *static_cast<ListingContext*>(call.context);
    std::size_t indent = indentOf(context.open.size());
    if (const std::u16string text = cutAtEnd(call.text(), widthAt(context, indent));
        !text.empty()) {
        addLine(context, "", indent, text);
    }
    if (call.tagKind == TagKindEnd) return false;
    if (call.tagKind == TagKindElement && !isStartTag(call)) {
        context.open.resize(levelClosedBy(call.name(), context));
        indent = indentOf(context.open.size());
    }
    addLine(context, std::to_string(lineAt(context, call, call.tagLocation)), indent,
            cutInside(call.tag(), widthAt(context, indent)));
    if (isStartTag(call) && !hasNoEnd(call) && context.open.size() < kMostOpen) {
        context.open.push_back(call.name());
    }
    return false;
}

bool ListAsJsonHandler(const TagCall& call) {
    static constexpr const char16_t* kKinds[] = {u"end", u"element", u"comment", u"section"};
    const auto number = [](std::uint64_t value) {
        return PropertyList(static_cast<std::int64_t>(value));
    };
    Dictionary fields = {{u"kind", kKinds[call.tagKind]},
                         {u"tagLocation", number(call.tagLocation)},
                         {u"tagLength", number(call.tagLength)},
                         {u"textLocation", number(call.textLocation)}};
    if (call.nameLength > 0) {
        fields.set(u"nameLocation", number(call.nameLocation));
        fields.set(u"nameLength", number(call.nameLength));
        fields.set(u"name", call.name());
    }
    fields.set(u"text", call.text());
    fields.set(u"tag", call.tag());
    *static_cast<std::string*>(call.context) += jsonOf(fields, {.plainDictionaries = true}) + "\n";
    return false;
}

}  // namespace

std::string tagListing(std::u16string_view page, const TagListingStyle& style) {
    if (style.json) {
        std::string out;
        GetTagsOfString(page, ListAsJsonHandler, &out);
        return out;
    }
    ListingContext context;
    context.width = style.width;
    GetTagsOfString(page, ListHandler, &context);
    return std::move(context.out);
}

}  // namespace corvy::tools
