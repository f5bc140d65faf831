// Text with attributes, apart from any file format: a string, the styles of its characters and
// paragraphs, and the files that stand in it.
//
// A paragraph ends behind its line feed. Inside it U+2028 breaks a line and U+000C a page. Styles
// are kept once and named by index; equal neighbours are one run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/size_string.h"
#include "platform/rich_text/file_node.h"
#include "platform/rich_text/style_table.h"
#include "platform/rich_text/text_style.h"

namespace corvy::platform {

inline constexpr char16_t kAttachmentCharacter = 0xFFFC;
inline constexpr char16_t kLineBreak = 0x2028;
inline constexpr char16_t kPageBreak = 0x000C;

// A file that stands in the text as one kAttachmentCharacter.
struct Attachment {
    std::size_t location = 0;  // of its character
    FileNode file;
    Size size;  // as it is shown, in points; zero: its own
    friend bool operator==(const Attachment&, const Attachment&) = default;
};

class AttributedText {
public:
    using StyleIndex = std::uint32_t;

    // The units from where the run before ends up to `end`.
    struct Run {
        std::size_t end = 0;
        StyleIndex style = 0;  // for style(), or for paragraphStyle()
        friend bool operator==(const Run&, const Run&) = default;
    };

    // Adds text at the end.
    void append(std::u16string_view text, const TextStyle& style);
    // The same without the look-up, for a style that comes again and again: one of indexOf().
    void appendWithIndex(std::u16string_view text, StyleIndex style);
    StyleIndex indexOf(const TextStyle& style) { return styles_.indexOf(style); }
    // Adds a file: its character, and `file` under a name that the caller chose. Names need not
    // differ.
    void attach(FileNode file, Size size, const TextStyle& style);
    // All that was added since the last call, or that part of it up to `end`, gets this style. To
    // be called behind the line feeds of paragraphs; what is never styled has the default.
    void setParagraphStyle(const ParagraphStyle& style) { setParagraphStyle(style, length()); }
    void setParagraphStyle(const ParagraphStyle& style, std::size_t end);
    // Where that begins that has no paragraph style yet.
    std::size_t unstyledStart() const;
    // For TableCell::table, and for ParagraphStyle::lists.
    std::uint32_t addTable(const TextTable& table);
    std::uint32_t addList(const TextList& list);
    // Adds another text, not itself, with everything in it.
    void append(const AttributedText& other);
    // Cuts the end off: `length` units stay.
    void truncate(std::size_t length);
    void reserve(std::size_t units) { string_.reserve(units); }

    const std::u16string& string() const { return string_; }
    std::size_t length() const { return string_.size(); }
    bool empty() const { return string_.empty(); }
    // They cover the string without a gap.
    std::span<const Run> runs() const { return runs_; }
    // They cover the string up to unstyledStart(). One run may be several paragraphs.
    std::span<const Run> paragraphRuns() const { return paragraphRuns_; }
    const TextStyle& style(StyleIndex index) const { return styles_[index]; }
    const ParagraphStyle& paragraphStyle(StyleIndex index) const { return paragraphStyles_[index]; }
    // Every style that was ever used, in the order of the indices.
    std::span<const TextStyle> styles() const { return styles_.values(); }
    std::span<const ParagraphStyle> paragraphStyles() const { return paragraphStyles_.values(); }
    // Of the unit there. location < length()
    const TextStyle& styleAt(std::size_t location) const;
    const ParagraphStyle& paragraphStyleAt(std::size_t location) const;
    // In text order.
    std::span<const Attachment> attachments() const { return attachments_; }
    std::span<const TextTable> tables() const { return tables_; }
    std::span<const TextList> lists() const { return lists_; }

    // The same text with the same attributes, whatever their indices.
    friend bool operator==(const AttributedText& a, const AttributedText& b);

private:
    std::u16string string_;
    std::vector<Run> runs_;
    std::vector<Run> paragraphRuns_;
    StyleTable<TextStyle> styles_;
    StyleTable<ParagraphStyle> paragraphStyles_;
    std::vector<Attachment> attachments_;
    std::vector<TextTable> tables_;
    std::vector<TextList> lists_;
};

}  // namespace corvy::platform
