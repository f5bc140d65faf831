#include "platform/rich_text/rtf_story.h"

#include <algorithm>

namespace corvy::platform {

void RtfStory::append(std::string_view ascii, const RtfCharacters& characters) {
    use(characters);
    const std::size_t start = run_.size();
    run_.resize(start + ascii.size());
    std::copy(ascii.begin(), ascii.end(), run_.begin() + static_cast<std::ptrdiff_t>(start));
}

void RtfStory::append(std::u16string_view text, const RtfCharacters& characters) {
    use(characters);
    run_ += text;
}

void RtfStory::attach(FileNode file, Size size, const RtfCharacters& characters) {
    flush();
    text_.attach(std::move(file), size, resources_.styleOf(characters));
}

void RtfStory::use(const RtfCharacters& characters) {
    if (hasStyle_ && characters == characters_) return;
    flush();
    characters_ = characters;
    style_ = text_.indexOf(resources_.styleOf(characters));
    hasStyle_ = true;
}

void RtfStory::flush() {
    text_.appendWithIndex(run_, style_);
    run_.clear();
}

char16_t RtfStory::lastUnit() const {
    if (!run_.empty()) return run_.back();
    return text_.empty() ? 0 : text_.string().back();
}

void RtfStory::endParagraph(const RtfParagraph& paragraph, const RtfCharacters& characters) {
    append("\n", characters);
    const std::int32_t depth = paragraph.depth();
    paragraphStart_ = length();
    if (depth == 0) {
        endTables();
        flush();
        text_.setParagraphStyle(styleOf(paragraph));
        return;
    }
    tables_.leave(depth);
    waiting_.push_back({length(), tables_.cellAt(depth), styleOf(paragraph)});
}

void RtfStory::endCell(std::int32_t depth, RtfParagraph paragraph,
                       const RtfCharacters& characters) {
    // Nor does the end of a cell behind a table inside it, where the format wants a paragraph.
    const bool isSilent = tables_.isContinued(depth) || innerTableEnd_ == length();
    if (length() > paragraphStart_ || !isSilent) {
        paragraph.inTable = true;
        paragraph.tableDepth = depth;
        endParagraph(paragraph, characters);
    }
    tables_.endCell(depth);
}

void RtfStory::endRow(std::int32_t depth) {
    tables_.endRow(depth);
    if (depth > 1) innerTableEnd_ = length();
}

void RtfStory::endTables() {
    if (waiting_.empty()) return;
    flush();
    tables_.addTo(text_, resources_);
    for (Paragraph& paragraph : waiting_) {
        paragraph.style.cells = tables_.cellsOf(paragraph.cell);
        text_.setParagraphStyle(paragraph.style, paragraph.end);
    }
    waiting_.clear();
    tables_.clear();
}

const ParagraphStyle& RtfStory::styleOf(const RtfParagraph& paragraph) {
    if (!hasParagraphStyle_ || paragraph_ != paragraph) {
        paragraph_ = paragraph;
        paragraphStyle_ = resources_.styleOf(paragraph);
        paragraphStyle_.lists = listsOf(paragraph);
        hasParagraphStyle_ = true;
    }
    return paragraphStyle_;
}

std::vector<std::uint32_t> RtfStory::listsOf(const RtfParagraph& paragraph) {
    const std::vector<RtfListLevel>* list = resources_.listOf(paragraph);
    if (list == nullptr) return {};
    std::vector<std::uint32_t> lists;
    for (std::int32_t i = 0; i <= paragraph.listLevel; ++i) {
        const auto [known, isNew] = lists_.try_emplace({paragraph.list, i});
        if (isNew) {
            const std::size_t level = std::min(static_cast<std::size_t>(i), list->size() - 1);
            known->second = text_.addList(listOfLevel((*list)[level]));
        }
        lists.push_back(known->second);
    }
    return lists;
}

AttributedText RtfStory::take(const RtfParagraph& last) {
    const bool hasRest = length() > paragraphStart_;
    if (hasRest && last.depth() > 0) {
        waiting_.push_back({length(), tables_.cellAt(last.depth()), styleOf(last)});
    }
    endTables();
    flush();
    if (hasRest && last.depth() == 0) text_.setParagraphStyle(styleOf(last));
    return std::move(text_);
}

}  // namespace corvy::platform
