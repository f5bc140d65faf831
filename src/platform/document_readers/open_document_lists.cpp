#include "platform/document_readers/open_document_lists.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "foundation/text.h"
#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using ListStyle = OpenDocumentStyles::ListStyle;

// The number that no item has had yet.
constexpr std::int32_t kUnused = std::numeric_limits<std::int32_t>::min();

std::u16string formatOf(const OpenDocumentStyles::ListLevel& level) {
    if (!level.counter) return bulletFormat(level.bullet);
    return level.prefix + std::u16string(counterName(*level.counter)) + level.suffix;
}

}  // namespace

void OpenDocumentLists::begin(pugi::xml_node list) {
    OpenList opened;
    opened.style = attributeOf(list, "text:style-name").value_or("");
    opened.identifier = attributeOf(list, "xml:id").value_or("");
    if (open_.empty()) {
        ++number_;
        counters_.fill(kUnused);
        auto before = ended_.end();
        if (const auto other = attributeOf(list, "text:continue-list")) {
            before = ended_.find("#" + std::string(*other));
        } else if (attributeOf(list, "text:continue-numbering") == "true") {
            before = ended_.find(opened.style);
        }
        if (before != ended_.end()) counters_ = before->second;
    } else {
        if (opened.style.empty()) opened.style = open_.back().style;
        const std::size_t level = std::min(open_.size(), counters_.size() - 1);
        counters_[level] = kUnused;
    }
    open_.push_back(std::move(opened));
    isMarkerDue_ = false;
}

void OpenDocumentLists::end() {
    if (open_.size() == 1) {
        ended_[open_.back().style] = counters_;
        if (!open_.back().identifier.empty()) ended_["#" + open_.back().identifier] = counters_;
    }
    open_.pop_back();
    isMarkerDue_ = false;
}

void OpenDocumentLists::beginItem(pugi::xml_node item) {
    isMarkerDue_ = true;
    const auto start = numberOf(attributeOf(item, "text:start-value"));
    hasStartValue_ = start.has_value();
    startValue_ = static_cast<std::int32_t>(std::clamp(start.value_or(0), 0.0, 1e6));
}

std::u16string OpenDocumentLists::markerOf(const ListStyle& style, std::size_t level) const {
    const OpenDocumentStyles::ListLevel& own = style[level];
    // kept: what a bullet has around it is written, but shown by no program.
    if (!own.counter) return own.bullet;
    const auto shown = static_cast<std::size_t>(std::clamp(own.shownLevels, 1, 10));
    std::u16string marker = own.prefix;
    bool isFirst = true;
    for (std::size_t i = level + 1 > shown ? level + 1 - shown : 0; i <= level; ++i) {
        if (!style[i].counter) continue;
        if (!isFirst) marker += u'.';
        isFirst = false;
        const std::int32_t number = counters_[i] == kUnused ? style[i].start : counters_[i];
        marker += counterText(number, *style[i].counter);
    }
    return marker + own.suffix;
}

std::u16string OpenDocumentLists::place(ParagraphStyle& paragraph, std::string_view styleList,
                                        DocumentStory& story) {
    const std::string& named = open_.back().style;
    const ListStyle* style = styles_.list(named.empty() ? styleList : std::string_view(named));
    if (style == nullptr) return {};
    const std::size_t level = std::min(open_.size(), style->size()) - 1;
    const OpenDocumentStyles::ListLevel& own = (*style)[level];
    if (!isMarkerDue_) {
        if (paragraph.headIndent <= 0) paragraph.headIndent = paragraph.firstLineIndent = own.text;
        return {};
    }
    isMarkerDue_ = false;
    std::int32_t& counter = counters_[level];
    counter = hasStartValue_ ? startValue_ : counter == kUnused ? own.start : counter + 1;
    std::fill(counters_.begin() + static_cast<std::ptrdiff_t>(level) + 1, counters_.end(), kUnused);
    std::u16string marker = markerOf(*style, level);
    if (marker.empty()) return marker;
    std::vector<std::uint32_t> lists;
    for (std::size_t i = 0; i <= level; ++i) {
        TextList list;
        list.markerFormat = formatOf((*style)[i]);
        list.start = (*style)[i].start;
        const std::string key = std::to_string(number_) + "/" + std::to_string(i);
        lists.push_back(story.listFor(fromUtf8(key), list));
    }
    makeListItem(paragraph, std::move(lists), own.marker, own.text);
    return marker;
}

}  // namespace corvy::platform
