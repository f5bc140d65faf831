// The parts of a binary Word document (97 to 2003): its text, and where properties are kept.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/document_readers/compound_file.h"
#include "platform/document_readers/little_endian.h"

namespace corvy::platform {

// Where a list of property changes holds, in bytes of the main stream.
struct WordFormatRun {
    std::uint32_t start = 0;
    std::uint32_t end = 0;
    LittleEndian changes;
    std::uint16_t style = 0;  // of a paragraph
};

// Text as it lies in the main stream.
struct WordPiece {
    std::uint32_t start = 0;  // in units of the document's text
    std::uint32_t end = 0;
    std::uint32_t offset = 0;     // of its first byte
    std::uint32_t unitBytes = 1;  // 1 or 2
};

// The stories of a document follow each other in its text.
enum class WordStory { main, footnotes, headers, macros, annotations, endnotes, boxes };

class WordBinaryParts {
public:
    // None for other documents, encrypted ones, and those of older versions.
    static std::optional<WordBinaryParts> open(const CompoundFile& file);

    // All stories. Special characters stand in it as they do in the file.
    const std::u16string& text() const { return text_; }
    std::span<const WordPiece> pieces() const { return pieces_; }
    // Units in the text.
    std::uint32_t storyStart(WordStory story) const;
    std::uint32_t storyEnd(WordStory story) const;
    // By their starts; they may leave gaps.
    std::span<const WordFormatRun> characterRuns() const { return characterRuns_; }
    std::span<const WordFormatRun> paragraphRuns() const { return paragraphRuns_; }

    // A part of the table stream, by its number in the file's head.
    LittleEndian table(std::size_t number) const;
    // All that follows from its start on.
    LittleEndian tableFrom(std::size_t number) const;
    // The positions at the start of a table of that kind, whose entries have `entrySize` bytes.
    std::vector<std::uint32_t> positions(std::size_t number, std::size_t entrySize) const;
    LittleEndian main() const { return LittleEndian(main_.span()); }
    LittleEndian data() const { return LittleEndian(data_.span()); }

    static constexpr std::size_t kStyles = 1, kFootnoteMarks = 2, kSections = 6, kFonts = 15,
                                 kDocument = 31, kEndnoteMarks = 46, kLists = 73,
                                 kListReferences = 74;

private:
    bool readPieces();
    void readText();
    std::vector<WordFormatRun> readRuns(std::size_t number, bool areParagraphs) const;

    Bytes main_;
    Bytes table_;
    Bytes data_;
    std::array<std::uint32_t, 8> storyStarts_{};
    std::vector<WordPiece> pieces_;
    std::u16string text_;
    std::vector<WordFormatRun> characterRuns_;
    std::vector<WordFormatRun> paragraphRuns_;
};

// The run that holds at a byte of the main stream; null when there is none.
const WordFormatRun* runAt(std::span<const WordFormatRun> runs, std::uint32_t offset);

}  // namespace corvy::platform
