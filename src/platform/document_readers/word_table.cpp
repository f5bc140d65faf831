#include "platform/document_readers/word_table.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>

#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;
using Edge = WordTableProperties;

constexpr std::uint32_t kMostColumns = 256;

// The children of that name, through the elements that only wrap them.
void gather(Node parent, std::string_view wanted, std::vector<Node>& found, int depth = 0) {
    if (depth > kMaxXmlDepth) return;
    for (const Node node : parent.children()) {
        const std::string_view name = node.name();
        if (name == wanted) {
            found.push_back(node);
        } else if (name == "w:sdt" || name == "w:sdtContent" || name == "w:customXml" ||
                   name == "w:ins" || name == "w:smartTag") {
            gather(node, wanted, found, depth + 1);
        }
    }
}

std::uint32_t spanOf(Node node) {
    const double span = numberOf(wordValue(node)).value_or(1);
    return static_cast<std::uint32_t>(std::clamp(span, 1.0, static_cast<double>(kMostColumns)));
}

enum class Merge { none, start, goesOn };

Merge mergeOf(Node properties) {
    const Node merge =
        properties.child("w:vMerge") ? properties.child("w:vMerge") : properties.child("w:vmerge");
    if (!merge) return Merge::none;
    return wordValue(merge) == "restart" ? Merge::start : Merge::goesOn;
}

class TableReader {
public:
    TableReader(Node table, WordStyles& styles) : table_(table), styles_(styles) {}

    WordTable read() {
        const Node properties = table_.child("w:tblPr");
        frame_ = styles_.tableStyle(wordValue(properties.child("w:tblStyle"))).table;
        frame_.overlay(wordTableProperties(properties));
        made_.table.columns = 1;
        made_.table.width = wordTableLength(properties.child("w:tblW"));
        made_.table.collapsesBorders = true;
        const std::string_view place = wordValue(properties.child("w:jc"));
        if (place == "center") made_.table.alignment = TextAlignment::center;
        if (place == "right" || place == "end") made_.table.alignment = TextAlignment::right;
        for (const Node column : table_.child("w:tblGrid").children("w:gridCol")) {
            if (grid_.size() == kMostColumns) break;
            grid_.push_back(pointsOf(attributeOf(column, "w:w"), kTwips).value_or(0));
        }
        std::vector<Node> rows;
        gather(table_, "w:tr", rows);
        std::erase_if(rows, [](Node row) { return row.child("w:trPr").child("w:del"); });
        for (const Node row : rows) readRow(row);
        drawBorders();
        return std::move(made_);
    }

private:
    void readRow(Node row) {
        std::vector<Node> cells;
        gather(row, "w:tc", cells);
        const Node before = row.child("w:trPr").child("w:gridBefore");
        std::uint32_t column = before ? spanOf(before) : 0;
        std::map<std::uint32_t, std::size_t> merged;
        for (const Node node : cells) {
            const Node properties = node.child("w:tcPr");
            const std::uint32_t span = spanOf(properties.child("w:gridSpan"));
            if (column + span > kMostColumns) break;
            const Merge merge = mergeOf(properties);
            const auto owner = merged_.find(column);
            if (merge == Merge::goesOn && owner != merged_.end()) {
                ++made_.cells[owner->second].cell.rowSpan;
                merged[column] = owner->second;
            } else {
                if (merge != Merge::none) merged[column] = made_.cells.size();
                addCell(node, column, span);
            }
            column += span;
            made_.table.columns = std::max(made_.table.columns, column);
        }
        merged_ = std::move(merged);
        ++row_;
    }

    void addCell(Node node, std::uint32_t column, std::uint32_t span) {
        const Node properties = node.child("w:tcPr");
        WordTableProperties own = frame_;
        // The edges of a table are not those of its cells: see drawBorders().
        own.borders = {};
        own.overlay(wordTableProperties(properties));
        TableCell cell;
        cell.row = row_;
        cell.column = column;
        cell.columnSpan = span;
        cell.width = wordTableLength(properties.child("w:tcW"));
        if (!cell.width) cell.width = gridWidth(column, span);
        constexpr double kUsualPadding = 5.4;  // points, at the sides
        cell.padding = {own.padding.left.value_or(kUsualPadding), own.padding.top.value_or(0),
                        own.padding.right.value_or(kUsualPadding), own.padding.bottom.value_or(0)};
        cell.background = own.background;
        const std::string_view alignment = wordValue(properties.child("w:vAlign"));
        if (alignment == "center") cell.alignment = VerticalAlignment::middle;
        if (alignment == "bottom") cell.alignment = VerticalAlignment::bottom;
        made_.cells.push_back({node, cell});
        borders_.push_back(own);
    }

    std::optional<TextLength> gridWidth(std::uint32_t column, std::uint32_t span) const {
        double width = 0;
        for (std::size_t i = column; i < column + span && i < grid_.size(); ++i) width += grid_[i];
        return width > 0 ? std::optional(TextLength{width, false}) : std::nullopt;
    }

    void drawBorders() {
        for (std::size_t i = 0; i < made_.cells.size(); ++i) {
            TableCell& cell = made_.cells[i].cell;
            const auto draw = [&](Edge::Edge edge, Edge::Edge ofTable, double& width,
                                  std::optional<RgbColor>& color) {
                std::optional<WordBorder> border = borders_[i].borders[edge];
                if (!border) border = frame_.borders[ofTable];
                if (!border) return;
                width = border->width;
                color = border->color;
            };
            const bool isLast = cell.column + cell.columnSpan >= made_.table.columns;
            draw(Edge::left, cell.column == 0 ? Edge::left : Edge::insideVertical,
                 cell.borderWidth.left, cell.borderColor.left);
            draw(Edge::right, isLast ? Edge::right : Edge::insideVertical, cell.borderWidth.right,
                 cell.borderColor.right);
            draw(Edge::top, cell.row == 0 ? Edge::top : Edge::insideHorizontal,
                 cell.borderWidth.top, cell.borderColor.top);
            draw(Edge::bottom,
                 cell.row + cell.rowSpan >= row_ ? Edge::bottom : Edge::insideHorizontal,
                 cell.borderWidth.bottom, cell.borderColor.bottom);
        }
    }

    Node table_;
    WordStyles& styles_;
    WordTableProperties frame_;
    std::vector<double> grid_;
    WordTable made_;
    std::vector<WordTableProperties> borders_;     // of each cell
    std::map<std::uint32_t, std::size_t> merged_;  // column to the cell that goes on below
    std::uint32_t row_ = 0;
};

}  // namespace

WordTable readWordTable(Node table, WordStyles& styles) {
    return TableReader(table, styles).read();
}

}  // namespace corvy::platform
