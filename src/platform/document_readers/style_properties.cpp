#include "platform/document_readers/style_properties.h"

#include <algorithm>
#include <cmath>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

template <typename T>
void take(std::optional<T>& own, const std::optional<T>& above) {
    if (above) own = above;
}

bool isSamePlace(double a, double b) {
    constexpr double kSame = 0.05;  // points: a twip
    return std::abs(a - b) < kSame;
}

void setTab(std::vector<TabStop>& tabs, TabStop tab) {
    std::erase_if(tabs,
                  [&](const TabStop& old) { return isSamePlace(old.position, tab.position); });
    const auto place = std::ranges::lower_bound(tabs, tab.position, {}, &TabStop::position);
    tabs.insert(place, tab);
}

}  // namespace

void TextProperties::overlay(const TextProperties& above) {
    if (above.size) sizeFactor.reset();
    if (above.sizeFactor && size) {
        size = *size * *above.sizeFactor;
    } else if (above.sizeFactor) {
        sizeFactor = sizeFactor.value_or(1) * *above.sizeFactor;
    }
    take(font, above.font);
    take(size, above.size);
    take(bold, above.bold);
    take(italic, above.italic);
    take(outline, above.outline);
    take(shadow, above.shadow);
    take(hidden, above.hidden);
    take(underline, above.underline);
    take(strike, above.strike);
    take(superscript, above.superscript);
    take(baselineOffset, above.baselineOffset);
    take(kern, above.kern);
    take(color, above.color);
    take(background, above.background);
    take(underlineColor, above.underlineColor);
}

TextStyle TextProperties::resolved() const {
    TextStyle style;
    // Some programs list fonts to take in its place.
    const auto first = font ? trimWhite(std::u16string_view(*font).substr(0, font->find(u';')))
                            : std::u16string_view();
    if (!first.empty()) style.font = first;
    constexpr double kSmallest = 1, kLargest = 1638;  // as word processors have it
    if (size) style.size = std::clamp(*size, kSmallest, kLargest);
    style.bold = bold.value_or(false);
    style.italic = italic.value_or(false);
    style.outline = outline.value_or(false);
    style.shadow = shadow.value_or(false);
    style.underline = underline.value_or(LineStyle::none);
    style.strike = strike.value_or(LineStyle::none);
    style.superscript = superscript.value_or(0);
    style.baselineOffset = baselineOffset.value_or(0);
    style.kern = kern.value_or(0);
    style.color = color.value_or(std::nullopt);
    style.background = background.value_or(std::nullopt);
    style.underlineColor = underlineColor.value_or(std::nullopt);
    // Black is what an automatic colour is, as a rule.
    if (style.color == RgbColor{}) style.color.reset();
    return style;
}

void ParagraphProperties::overlay(const ParagraphProperties& above) {
    take(alignment, above.alignment);
    take(direction, above.direction);
    take(firstLine, above.firstLine);
    take(head, above.head);
    take(tail, above.tail);
    take(before, above.before);
    take(after, above.after);
    take(lineSpacing, above.lineSpacing);
    // A height of lines is told in one of several ways: the last one counts.
    if (above.lineHeightMultiple || above.minimumLineHeight || above.maximumLineHeight) {
        lineHeightMultiple = above.lineHeightMultiple;
        minimumLineHeight = above.minimumLineHeight;
        maximumLineHeight = above.maximumLineHeight;
    }
    take(headerLevel, above.headerLevel);
    take(breaksPage, above.breaksPage);
    take(list, above.list);
    for (const double position : above.clearedTabs) {
        std::erase_if(tabs,
                      [&](const TabStop& tab) { return isSamePlace(tab.position, position); });
    }
    for (const TabStop& tab : above.tabs) setTab(tabs, tab);
}

ParagraphStyle ParagraphProperties::resolved() const {
    ParagraphStyle style;
    style.alignment = alignment.value_or(TextAlignment::natural);
    style.direction = direction.value_or(WritingDirection::natural);
    // Text in the margin has no place in the model.
    style.headIndent = std::max(0.0, head.value_or(0));
    style.firstLineIndent = std::max(0.0, head.value_or(0) + firstLine.value_or(0));
    style.tailIndent = std::max(0.0, tail.value_or(0));
    style.spacingBefore = std::max(0.0, before.value_or(0));
    style.spacingAfter = std::max(0.0, after.value_or(0));
    style.lineSpacing = std::max(0.0, lineSpacing.value_or(0));
    style.lineHeightMultiple = std::max(0.0, lineHeightMultiple.value_or(0));
    if (isSamePlace(style.lineHeightMultiple, 1)) style.lineHeightMultiple = 0;
    style.minimumLineHeight = std::max(0.0, minimumLineHeight.value_or(0));
    style.maximumLineHeight = std::max(0.0, maximumLineHeight.value_or(0));
    style.headerLevel = headerLevel.value_or(0);
    style.tabs = tabs;
    return style;
}

}  // namespace corvy::platform
