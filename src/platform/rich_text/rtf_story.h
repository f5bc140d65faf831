// One flow of text of an RTF document on its way into the model: the body, or its footnotes.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/rich_text/attributed_text.h"
#include "platform/rich_text/rtf_state.h"
#include "platform/rich_text/rtf_tables.h"

namespace corvy::platform {

class RtfStory {
public:
    // `resources` must outlive it.
    explicit RtfStory(const RtfResources& resources) : resources_(resources) {}

    void append(std::string_view ascii, const RtfCharacters& characters);
    void append(std::u16string_view text, const RtfCharacters& characters);
    void attach(FileNode file, Size size, const RtfCharacters& characters);
    // Each ends a paragraph; a cell that continues another, and is empty, gives no text.
    void endParagraph(const RtfParagraph& paragraph, const RtfCharacters& characters);
    void endCell(std::int32_t depth, RtfParagraph paragraph, const RtfCharacters& characters);
    void endRow(std::int32_t depth);
    RtfTables& tables() { return tables_; }
    // The last unit; 0 at the start.
    char16_t lastUnit() const;

    // The text, whose last paragraph has no end of its own as a rule. Nothing is left.
    AttributedText take(const RtfParagraph& last);

private:
    struct Paragraph {
        std::size_t end;
        std::uint32_t cell;
        ParagraphStyle style;
    };

    std::size_t length() const { return text_.length() + run_.size(); }
    void use(const RtfCharacters& characters);
    void flush();
    void endTables();
    const ParagraphStyle& styleOf(const RtfParagraph& paragraph);
    std::vector<std::uint32_t> listsOf(const RtfParagraph& paragraph);

    const RtfResources& resources_;
    AttributedText text_;
    RtfTables tables_;
    std::u16string run_;  // text that is not in text_ yet, in one style
    RtfCharacters characters_;
    bool hasStyle_ = false;
    AttributedText::StyleIndex style_ = 0;
    std::vector<Paragraph> waiting_;  // for their table to end
    std::size_t paragraphStart_ = 0;
    std::size_t innerTableEnd_ =
        std::u16string::npos;  // where a row of a table inside a cell ended last
    // The style made last, and what it was made of.
    RtfParagraph paragraph_;
    ParagraphStyle paragraphStyle_;
    bool hasParagraphStyle_ = false;
    // By number and level.
    std::map<std::pair<std::int32_t, std::int32_t>, std::uint32_t> lists_;
};

}  // namespace corvy::platform
