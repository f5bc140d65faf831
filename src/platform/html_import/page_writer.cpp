#include "platform/html_import/page_writer.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <utility>

#include "foundation/ascii_case.h"
#include "foundation/text.h"
#include "foundation/url.h"
#include "platform/html_import/image_facts.h"
#include "platform/html_import/list_markers.h"
#include "platform/html_import/page_fonts.h"
#include "platform/html_import/presentational_hints.h"

namespace corvy::platform {

namespace {

using css::Color;
using css::ComputedStyle;
using css::Display;
using css::isNone;

constexpr double kPointsOfPixel = 0.75;
// Without a layout a wide margin says more of the page than of the text: insets end here, pixels.
constexpr double kWidestInset = 240;
constexpr double kMarkerRoom = 30;    // points in front of an item's text
constexpr double kMarkerIndent = 11;  // points in front of the marker in it
constexpr float kBold = 600;          // weight from which on text is bold
constexpr float kLeastSize = 0.5;     // pixels; smaller text is hidden that way

constexpr std::size_t kTop = 0, kRight = 1, kBottom = 2, kLeft = 3;

double points(double pixels) {
    return pixels * kPointsOfPixel;
}

// The colour on paper.
RgbColor onWhite(Color color) {
    const auto mixed = [&](std::uint8_t channel) {
        return static_cast<std::uint8_t>(255 - (255 - channel) * color.alpha / 255);
    };
    return {mixed(color.red), mixed(color.green), mixed(color.blue)};
}

std::optional<RgbColor> shown(Color color) {
    return color.alpha == 0 ? std::nullopt : std::optional(onWhite(color));
}

bool isLight(RgbColor color) {
    return color.red * 299 + color.green * 587 + color.blue * 114 > 200 * 1000;
}

double inset(float margin, float padding, float border) {
    return (isNone(margin) ? 0 : margin) + padding + border;
}

TextAlignment alignmentOf(const ComputedStyle& style) {
    const bool isRtl = style.direction == css::Direction::rtl;
    switch (style.textAlign) {
        case css::TextAlign::start: return TextAlignment::natural;
        case css::TextAlign::end: return isRtl ? TextAlignment::left : TextAlignment::right;
        case css::TextAlign::left: return TextAlignment::left;
        case css::TextAlign::right: return TextAlignment::right;
        case css::TextAlign::center: return TextAlignment::center;
        case css::TextAlign::justify: return TextAlignment::justified;
    }
    return TextAlignment::natural;
}

std::optional<TextLength> lengthOf(css::Extent extent) {
    if (isNone(extent.value)) return std::nullopt;
    if (extent.isPercent) return TextLength{extent.value, true};
    return TextLength{points(extent.value), false};
}

std::uint8_t headerLevel(Atom tag) {
    constexpr Name kHeadings[] = {Name::h1, Name::h2, Name::h3, Name::h4, Name::h5, Name::h6};
    for (std::uint8_t i = 0; i < 6; ++i) {
        if (tag == kHeadings[i]) return static_cast<std::uint8_t>(i + 1);
    }
    return 0;
}

std::int32_t integerOf(std::optional<std::string_view> text, std::int32_t otherwise) {
    if (!text) return otherwise;
    while (!text->empty() && css::isSpaceOf(text->front())) text->remove_prefix(1);
    if (text->starts_with('+')) text->remove_prefix(1);
    std::int32_t number = otherwise;
    std::from_chars(text->data(), text->data() + text->size(), number);
    return std::clamp(number, -1'000'000'000, 1'000'000'000);
}

// As it is shown: what is not said follows from the picture's own proportions.
Size shownSize(const ComputedStyle& style, Size natural) {
    const auto given = [](css::Extent extent, double whole) {
        return isNone(extent.value)
                   ? css::kNone
                   : static_cast<float>(extent.isPercent ? extent.value / 100 * whole
                                                         : extent.value);
    };
    const double ratio =
        natural.width > 0 && natural.height > 0 ? natural.height / natural.width : 0;
    // A percentage is one of a box whose width is not known: it only bounds.
    const bool isWidthKnown = !isNone(style.width.value) && !style.width.isPercent;
    const bool isHeightKnown = !isNone(style.height.value) && !style.height.isPercent;
    Size size = natural;
    if (isWidthKnown) {
        size.width = style.width.value;
        size.height = isHeightKnown ? style.height.value : size.width * ratio;
    } else if (isHeightKnown) {
        size.height = style.height.value;
        if (ratio > 0) size.width = size.height / ratio;
    }
    const auto bound = [&](float most, double length) {
        if (isNone(most) || length <= most) return;
        const double factor = most / length;
        size.width *= factor;
        size.height *= factor;
    };
    bound(given(style.maxWidth, css::kContainingWidth), size.width);
    if (style.width.isPercent) bound(given(style.width, css::kContainingWidth), size.width);
    bound(style.maxHeight.isPercent ? css::kNone : style.maxHeight.value, size.height);
    return {points(size.width), points(size.height)};
}

// The last part of its address, with the extension of its format.
std::u16string fileName(const Url& url, std::u16string_view extension) {
    std::u16string name;
    const UrlParts parts = partsOfURL(url.absoluteString);
    if (parts.scheme && !equalsAsciiNoCase(*parts.scheme, u"data")) {
        name = lastPathComponent(parts.path);
    }
    const auto isUnfit = [](char16_t c) {
        return c < 0x20 || c == u'/' || c == u'\\' || c == u':' || c == u'%';
    };
    std::erase_if(name, isUnfit);
    constexpr std::size_t kLongest = 100;
    if (name.size() > kLongest) name.erase(0, name.size() - kLongest);
    const std::size_t dot = name.rfind(u'.');
    if (dot != std::u16string::npos) name.erase(dot);
    while (name.starts_with(u'.')) name.erase(0, 1);
    if (name.empty()) name = u"image";
    return (name += u'.') += extension;
}

}  // namespace

PageWriter::PageWriter(const HtmlTree& tree, const css::StyleResolver& styles,
                       const PageResources& resources, const std::optional<Url>& baseURL)
    : tree_(tree), styles_(styles), resources_(resources), baseURL_(baseURL), flow_(text_, [this] {
          return beginParagraph();
      }) {}

AttributedText PageWriter::write() {
    for (NodeIndex node = 0; node < tree_.size();) {
        while (!boxes_.empty() && tree_[boxes_.back().node].end <= node) close();
        if (!tree_[node].isElement()) {
            writeText(node++);
            continue;
        }
        const ComputedStyle& style = styles_.styleOf(node);
        if (style.display == Display::none || writeWhole(node, style)) {
            node = tree_[node].end;
        } else {
            open(node++);
        }
    }
    while (!boxes_.empty()) close();
    flow_.finish();
    return std::move(text_);
}

bool PageWriter::writeWhole(NodeIndex node, const ComputedStyle& style) {
    const Atom tag = tree_[node].tag;
    if (tag == Name::br) {
        if (style.visibility == css::Visibility::visible) flow_.breakLine(textStyle(node));
        return true;
    }
    if (tag == Name::img || tag == Name::input) {
        writeImage(node, style);
        return true;
    }
    if (tag == Name::iframe || tag == Name::frame) {
        const auto frame = resources_.frames.find(node);
        if (frame != resources_.frames.end()) flow_.addParagraphs(frame->second);
        return true;
    }
    return css::isNeverShown(tag) || style.display == Display::tableColumn;
}

void PageWriter::open(NodeIndex node) {
    const ComputedStyle& style = styles_.styleOf(node);
    Box box;
    box.node = node;
    box.left = left_;
    box.right = right_;
    box.link = link_;
    box.level = level_;
    box.background = background_;
    box.ground = ground_;
    box.block = block_;
    box.isBlock = !style.isInline() && style.display != Display::contents;
    if (tree_[node].tag == Name::a) followLink(node);
    if (box.isBlock || style.display == Display::inlineTable) {
        openBlock(node, style, box);
    } else {
        openInline(node, style);
    }
    boxes_.push_back(box);
    if (box.isBlock) block_ = boxes_.size() - 1;
    // The marker has the style of its item.
    if (box.isItem) items_.back().style = textStyle(node);
}

void PageWriter::openInline(NodeIndex, const ComputedStyle& style) {
    if (style.background.alpha != 0) background_ = style.background;
    if (style.verticalAlign == css::VerticalAlign::super) ++level_;
    if (style.verticalAlign == css::VerticalAlign::sub) --level_;
}

void PageWriter::openBlock(NodeIndex node, const ComputedStyle& style, Box& box) {
    flow_.endParagraph();
    if (style.breakBefore == css::Break::page) flow_.breakPage();
    if (!isNone(style.margin[kTop])) flow_.addGap(points(style.margin[kTop]));
    background_ = {0, 0, 0, 0};
    if (style.background.alpha != 0) ground_ = style.background;
    level_ = 0;
    if (style.display == Display::table || style.display == Display::inlineTable) {
        openTable(node, style, box);
    } else if (style.display == Display::tableCell) {
        openCell(node, style, box);
    } else if (tree_[node].parent != kNoNode && tree_[node].tag != Name::body) {
        left_ += inset(style.margin[kLeft], style.padding[kLeft], style.borderAt(kLeft));
        right_ += inset(style.margin[kRight], style.padding[kRight], style.borderAt(kRight));
    }
    if (style.display == Display::listItem) openItem(node, style, box);
}

PageWriter::ListState& PageWriter::listOf(NodeIndex item, const ComputedStyle& style) {
    const NodeIndex container = tree_[item].parent == kNoNode ? item : tree_[item].parent;
    const auto [entry, isNew] = lists_.try_emplace(container);
    if (isNew) {
        TextList list;
        list.markerFormat = markerFormat(style.listType);
        const bool isReversed = tree_.attribute(container, Name::reversed).has_value();
        const auto count = static_cast<std::int32_t>(tree_[container].elementCount);
        list.start = integerOf(tree_.attribute(container, Name::start), isReversed ? count : 1);
        entry->second = {text_.addList(list), list.start, isReversed ? -1 : 1};
    }
    return entry->second;
}

void PageWriter::openItem(NodeIndex node, const ComputedStyle& style, Box& box) {
    ListState& list = listOf(node, style);
    const std::int32_t number = integerOf(tree_.attribute(node, Name::value), list.next);
    list.next = number + list.step;
    Item item;
    item.marker = markerText(style.listType, style.listText, number);
    if (item.marker.empty() || style.visibility == css::Visibility::hidden) return;
    item.list = list.list;
    items_.push_back(std::move(item));
    box.isItem = true;
}

void PageWriter::openTable(NodeIndex node, const ComputedStyle& style, Box& box) {
    OpenTable table{gridOfTable(tree_, styles_, node)};
    if (table.grid.cells.empty()) return;
    TextTable made;
    made.columns = table.grid.columns;
    made.width = lengthOf(style.width);
    made.collapsesBorders = style.borderCollapse == css::BorderCollapse::collapse;
    made.background = shown(style.background);
    if (isNone(style.margin[kLeft]) && isNone(style.margin[kRight])) {
        made.alignment = TextAlignment::center;
    }
    table.index = text_.addTable(made);
    tables_.push_back(std::move(table));
    box.isTable = true;
}

void PageWriter::openCell(NodeIndex node, const ComputedStyle& style, Box& box) {
    if (tables_.empty()) return;
    const auto found = tables_.back().grid.cells.find(node);
    if (found == tables_.back().grid.cells.end()) return;
    const CellPlace& place = found->second;
    TableCell cell;
    cell.table = tables_.back().index;
    cell.row = place.row;
    cell.column = place.column;
    cell.rowSpan = place.rowSpan;
    cell.columnSpan = place.columnSpan;
    cell.width = lengthOf(style.width);
    const auto edges = [](const auto& of) {
        using T = decltype(of(kTop));
        return Edges<T>{of(kLeft), of(kTop), of(kRight), of(kBottom)};
    };
    cell.padding = edges([&](std::size_t edge) { return points(style.padding[edge]); });
    cell.borderWidth = edges([&](std::size_t edge) { return points(style.borderAt(edge)); });
    cell.borderColor = edges([&](std::size_t edge) {
        const Color color = style.borderColor[edge];
        return std::optional(onWhite(color.alpha == 0 ? style.color : color));
    });
    cell.background = shown(style.background);
    if (style.verticalAlign == css::VerticalAlign::middle) {
        cell.alignment = VerticalAlignment::middle;
    } else if (style.verticalAlign == css::VerticalAlign::bottom) {
        cell.alignment = VerticalAlignment::bottom;
    }
    cells_.push_back(cell);
    flow_.beginCell();
    left_ = right_ = 0;
    box.isCell = true;
}

void PageWriter::close() {
    const Box box = boxes_.back();
    const ComputedStyle& style = styles_.styleOf(box.node);
    if (box.isBlock || style.display == Display::inlineTable) {
        flow_.endParagraph();
        if (box.isCell) {
            flow_.endCell();
            cells_.pop_back();
        }
        if (box.isTable) tables_.pop_back();
        if (box.isItem) items_.pop_back();
        if (!isNone(style.margin[kBottom])) flow_.addGap(points(style.margin[kBottom]));
        if (style.breakAfter == css::Break::page) flow_.breakPage();
    }
    left_ = box.left;
    right_ = box.right;
    link_ = box.link;
    level_ = box.level;
    background_ = box.background;
    ground_ = box.ground;
    block_ = box.block;
    boxes_.pop_back();
}

void PageWriter::followLink(NodeIndex node) {
    const auto reference = tree_.attribute(node, Name::href);
    if (!reference) return;
    link_ = 0;
    const std::u16string text = fromUtf8(*reference);
    const auto url = URLRelativeTo(baseURL_.value_or(Url()), text);
    if (!url || startsWithAsciiNoCase(url->absoluteString, u"javascript:")) return;
    link_ = static_cast<std::uint32_t>(links_.size());
    links_.push_back(url->absoluteString);
}

void PageWriter::writeText(NodeIndex node) {
    const ComputedStyle& style = styles_.styleOf(node);
    if (style.visibility == css::Visibility::hidden || style.fontSize < kLeastSize) return;
    flow_.addText(tree_[node].text, textStyle(node), style.whiteSpace, style.textTransform);
}

void PageWriter::writeImage(NodeIndex node, const ComputedStyle& style) {
    const auto image = resources_.images.find(node);
    if (image == resources_.images.end() || style.visibility == css::Visibility::hidden) return;
    const auto facts = imageFacts(image->second.bytes);
    if (!facts) return;
    const Size size = shownSize(style, facts->pixels);
    flow_.addContent([&] {
        FileNode file;
        file.name = fileName(image->second.url, facts->extension);
        file.contents = image->second.bytes;
        text_.attach(std::move(file), size, text_.style(textStyle(node)));
    });
}

ParagraphStyle PageWriter::beginParagraph() {
    ParagraphStyle paragraph;
    paragraph.cells = cells_;
    const double left = points(std::clamp(left_, 0.0, kWidestInset));
    paragraph.headIndent = paragraph.firstLineIndent = left;
    paragraph.tailIndent = points(std::clamp(right_, 0.0, kWidestInset));
    if (boxes_.empty()) return paragraph;
    const Box& block = boxes_[std::min(block_, boxes_.size() - 1)];
    const ComputedStyle& style = styles_.styleOf(block.node);
    paragraph.alignment = alignmentOf(style);
    if (style.direction == css::Direction::rtl) {
        paragraph.direction = WritingDirection::rightToLeft;
    }
    paragraph.headerLevel = headerLevel(tree_[block.node].tag);
    paragraph.firstLineIndent = std::max(0.0, left + points(style.textIndent));
    if (items_.empty() || items_.back().isWritten) return paragraph;

    // Of items that begin at once only the innermost has its marker.
    for (Item& item : items_) {
        paragraph.lists.push_back(item.list);
        item.isWritten = true;
    }
    paragraph.headIndent = std::max(left, kMarkerRoom);
    paragraph.firstLineIndent = paragraph.headIndent - kMarkerRoom;
    paragraph.tabs = {{paragraph.firstLineIndent + kMarkerIndent, TabKind::left},
                      {paragraph.headIndent, TabKind::left}};
    flow_.addRaw(u"\t" + items_.back().marker + u"\t", items_.back().style);
    return paragraph;
}

TextFlow::StyleIndex PageWriter::textStyle(NodeIndex node) {
    const auto bits = [](Color color) { return std::bit_cast<std::uint32_t>(color); };
    const StyleKey key = {styles_.styleIndexOf(node), link_, level_, bits(background_),
                          bits(ground_)};
    if (key == lastKey_) return lastStyle_;
    const auto [known, isNew] = textStyles_.try_emplace(key, 0);
    if (isNew) known->second = text_.indexOf(makeTextStyle(styles_.styleOf(node)));
    lastKey_ = key;
    return lastStyle_ = known->second;
}

TextStyle PageWriter::makeTextStyle(const ComputedStyle& style) const {
    TextStyle made;
    made.font = fontFamilyOf(styles_.families().names(style.fontFamily));
    made.size = std::round(points(style.fontSize) * 100) / 100;
    made.bold = style.fontWeight >= kBold;
    made.italic = style.fontStyle == css::FontStyle::italic;
    const auto lines = static_cast<std::uint8_t>(style.decorations);
    if (lines & static_cast<std::uint8_t>(css::Decoration::underline)) {
        made.underline = LineStyle::single;
    }
    if (lines & static_cast<std::uint8_t>(css::Decoration::lineThrough)) {
        made.strike = LineStyle::single;
    }
    made.superscript = static_cast<std::int8_t>(std::clamp(level_, -3, 3));
    made.baselineOffset = points(style.verticalShift);
    made.kern = points(style.letterSpacing);
    const RgbColor color = onWhite(style.color);
    if (color != RgbColor{}) made.color = color;
    made.background = shown(background_);
    // Light text keeps the ground that it stands on: paper is white.
    if (!made.background && cells_.empty() && isLight(color)) made.background = shown(ground_);
    made.link = links_[link_];
    return made;
}

}  // namespace corvy::platform
