// The property changes of binary Word documents.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/document_readers/little_endian.h"
#include "platform/document_readers/style_properties.h"

namespace corvy::platform {

// One change: its code and its operand, which for those of any length begins with that length.
struct WordChange {
    std::uint16_t code = 0;
    LittleEndian operand;
};

// Walks the changes of a list, up to one that does not end in it.
class WordChanges {
public:
    explicit WordChanges(LittleEndian list) : rest_(list) {}
    std::optional<WordChange> next();

private:
    LittleEndian rest_;
};

// Text, and what of it is no property of the model.
struct WordTextProperties {
    TextProperties text;
    std::optional<bool> deleted = {};
    std::optional<std::uint16_t> style = {};    // of characters
    std::optional<std::uint32_t> picture = {};  // where it lies in the data stream
    std::optional<std::uint16_t> symbolFont = {};
    std::uint16_t symbol = 0;

    void overlay(const WordTextProperties& above);
};

struct WordCellEdge {
    double width = 0;
    std::optional<RgbColor> color = {};
};
struct WordRowCell {
    double right = 0;  // points
    bool startsRows = false;
    bool continuesRows = false;
    bool continuesColumns = false;
    std::array<std::optional<WordCellEdge>, 4> edges = {};  // top, left, bottom, right
    VerticalAlignment alignment = VerticalAlignment::top;
};
struct WordRow {
    double left = 0;
    double padding = 5.4;  // of its cells, at the left and the right
    std::vector<WordRowCell> cells;
    // Of the table: top, left, bottom, right, and inside, horizontal and vertical.
    std::array<std::optional<WordCellEdge>, 6> edges = {};
};

struct WordParagraphProperties {
    ParagraphProperties paragraph;
    std::optional<bool> inTable = {};
    std::optional<bool> endsRow = {};
    std::optional<bool> endsInnerCell = {};
    std::optional<std::uint32_t> depth = {};
    std::optional<std::uint16_t> list = {};  // its reference, from 1; 0: none
    std::optional<std::uint8_t> level = {};
    std::optional<WordRow> row = {};

    void overlay(const WordParagraphProperties& above);
};

// `style`: what a change refers to that says "as in the style", or "not as in the style".
WordTextProperties wordTextChanges(LittleEndian list, const TextProperties& style,
                                   const std::vector<std::u16string>& fonts);
WordParagraphProperties wordParagraphChanges(LittleEndian list);

}  // namespace corvy::platform
