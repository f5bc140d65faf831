#include "platform/rich_text/attributed_text.h"

#include <algorithm>
#include <utility>

namespace corvy::platform {

namespace {

using Run = AttributedText::Run;

void appendRun(std::vector<Run>& runs, std::size_t end, std::uint32_t style) {
    if (runs.empty() || runs.back().style != style) runs.push_back({0, style});
    runs.back().end = end;
}

std::size_t endOf(std::span<const Run> runs) {
    return runs.empty() ? 0 : runs.back().end;
}

void truncateRuns(std::vector<Run>& runs, std::size_t length) {
    while (!runs.empty() && (runs.size() > 1 ? runs[runs.size() - 2].end : 0) >= length) {
        runs.pop_back();
    }
    if (!runs.empty()) runs.back().end = std::min(runs.back().end, length);
}

// The style of a location; none behind the last run.
const Run* runAt(std::span<const Run> runs, std::size_t location) {
    const auto run = std::ranges::upper_bound(runs, location, {}, &Run::end);
    return run == runs.end() ? nullptr : &*run;
}

// Whether both texts have equal styles everywhere. `style(text, location)` gives one of them.
template <typename Style>
bool sameStyles(const AttributedText& a, const AttributedText& b, std::span<const Run> runsOfA,
                std::span<const Run> runsOfB, Style style) {
    std::vector<std::size_t> starts{0};
    for (const Run& run : runsOfA) starts.push_back(run.end);
    for (const Run& run : runsOfB) starts.push_back(run.end);
    return std::ranges::all_of(starts, [&](std::size_t start) {
        return start >= a.length() || style(a, start) == style(b, start);
    });
}

}  // namespace

void AttributedText::append(std::u16string_view text, const TextStyle& style) {
    if (!text.empty()) appendWithIndex(text, styles_.indexOf(style));
}

void AttributedText::appendWithIndex(std::u16string_view text, StyleIndex style) {
    if (text.empty()) return;
    string_ += text;
    appendRun(runs_, string_.size(), style);
}

void AttributedText::attach(FileNode file, Size size, const TextStyle& style) {
    attachments_.push_back({string_.size(), std::move(file), size});
    append(std::u16string_view(&kAttachmentCharacter, 1), style);
}

void AttributedText::setParagraphStyle(const ParagraphStyle& style, std::size_t end) {
    if (end > unstyledStart()) appendRun(paragraphRuns_, end, paragraphStyles_.indexOf(style));
}

std::size_t AttributedText::unstyledStart() const {
    return endOf(paragraphRuns_);
}

std::uint32_t AttributedText::addTable(const TextTable& table) {
    tables_.push_back(table);
    return static_cast<std::uint32_t>(tables_.size() - 1);
}

std::uint32_t AttributedText::addList(const TextList& list) {
    lists_.push_back(list);
    return static_cast<std::uint32_t>(lists_.size() - 1);
}

void AttributedText::append(const AttributedText& text) {
    const std::size_t offset = length();
    const auto firstTable = static_cast<std::uint32_t>(tables_.size());
    const auto firstList = static_cast<std::uint32_t>(lists_.size());
    if (offset > unstyledStart()) setParagraphStyle({});
    std::size_t start = 0;
    for (const Run& run : text.runs_) {
        append(std::u16string_view(text.string_).substr(start, run.end - start),
               text.style(run.style));
        start = run.end;
    }
    for (const Run& run : text.paragraphRuns_) {
        ParagraphStyle style = text.paragraphStyle(run.style);
        for (TableCell& cell : style.cells) cell.table += firstTable;
        for (std::uint32_t& list : style.lists) list += firstList;
        setParagraphStyle(style, offset + run.end);
    }
    for (Attachment attachment : text.attachments_) {
        attachment.location += offset;
        attachments_.push_back(std::move(attachment));
    }
    tables_.insert(tables_.end(), text.tables_.begin(), text.tables_.end());
    lists_.insert(lists_.end(), text.lists_.begin(), text.lists_.end());
}

void AttributedText::truncate(std::size_t length) {
    if (length >= string_.size()) return;
    string_.resize(length);
    truncateRuns(runs_, length);
    truncateRuns(paragraphRuns_, length);
    while (!attachments_.empty() && attachments_.back().location >= length) {
        attachments_.pop_back();
    }
}

const TextStyle& AttributedText::styleAt(std::size_t location) const {
    return styles_[runAt(runs_, location)->style];
}

const ParagraphStyle& AttributedText::paragraphStyleAt(std::size_t location) const {
    static const ParagraphStyle kDefault;
    const Run* run = runAt(paragraphRuns_, location);
    return run != nullptr ? paragraphStyles_[run->style] : kDefault;
}

bool operator==(const AttributedText& a, const AttributedText& b) {
    return a.string_ == b.string_ && a.attachments_ == b.attachments_ && a.tables_ == b.tables_ &&
           a.lists_ == b.lists_ &&
           sameStyles(a, b, a.runs_, b.runs_,
                      [](const AttributedText& text, std::size_t location) -> const TextStyle& {
                          return text.styleAt(location);
                      }) &&
           sameStyles(
               a, b, a.paragraphRuns_, b.paragraphRuns_,
               [](const AttributedText& text, std::size_t location) -> const ParagraphStyle& {
                   return text.paragraphStyleAt(location);
               });
}

}  // namespace corvy::platform
