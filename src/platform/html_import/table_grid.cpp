#include "platform/html_import/table_grid.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace corvy::platform {

namespace {

using css::Display;

constexpr std::uint32_t kMostColumns = 1000;
constexpr std::uint32_t kMostRows = 65534;

std::uint32_t spanOf(const HtmlTree& tree, NodeIndex cell, Name name, std::uint32_t most) {
    const auto text = tree.attribute(cell, name).value_or("");
    std::uint32_t span = 1;
    std::from_chars(text.data(), text.data() + text.size(), span);
    return std::clamp(span, 1U, most);
}

class GridReader {
public:
    GridReader(const HtmlTree& tree, const css::StyleResolver& styles, NodeIndex table)
        : tree_(tree), styles_(styles), table_(table) {}

    TableGrid read() {
        NodeIndex row = kNoNode;
        const NodeIndex end = tree_[table_].end;
        for (NodeIndex node = table_ + 1; node < end;) {
            if (!tree_[node].isElement()) {
                ++node;
                continue;
            }
            const Display display = styles_.styleOf(node).display;
            switch (display) {
                case Display::tableRow:
                    beginRow();
                    row = node;
                    break;
                case Display::tableCell:
                    // One that is in no row opens one, unless its sibling has.
                    if (row == kNoNode || node >= tree_[row].end) {
                        if (looseParent_ != tree_[node].parent) beginRow();
                        looseParent_ = tree_[node].parent;
                    }
                    place(node);
                    break;
                case Display::tableRowGroup:
                case Display::tableHeaderGroup:
                case Display::tableFooterGroup: break;
                default: node = tree_[node].end; continue;
            }
            node = display == Display::tableCell ? tree_[node].end : node + 1;
        }
        grid_.columns = std::max(grid_.columns, 1U);
        return std::move(grid_);
    }

private:
    void beginRow() {
        row_ = rows_++;
        column_ = 0;
        looseParent_ = kNoNode;
    }

    void place(NodeIndex cell) {
        CellPlace place;
        place.table = table_;
        place.row = row_;
        place.rowSpan = spanOf(tree_, cell, Name::rowspan, kMostRows);
        place.columnSpan = spanOf(tree_, cell, Name::colspan, kMostColumns);
        while (column_ < freeFrom_.size() && freeFrom_[column_] > row_) ++column_;
        if (column_ >= kMostColumns) column_ = kMostColumns - 1;
        place.column = column_;
        place.columnSpan = std::min(place.columnSpan, kMostColumns - column_);
        column_ += place.columnSpan;
        if (freeFrom_.size() < column_) freeFrom_.resize(column_, 0);
        std::fill_n(freeFrom_.begin() + place.column, place.columnSpan, row_ + place.rowSpan);
        grid_.columns = std::max(grid_.columns, column_);
        grid_.cells.emplace(cell, place);
    }

    const HtmlTree& tree_;
    const css::StyleResolver& styles_;
    NodeIndex table_;
    TableGrid grid_;
    std::uint32_t rows_ = 0;
    std::uint32_t row_ = 0;
    std::uint32_t column_ = 0;
    NodeIndex looseParent_ = kNoNode;
    std::vector<std::uint32_t> freeFrom_;  // row, by column
};

}  // namespace

TableGrid gridOfTable(const HtmlTree& tree, const css::StyleResolver& styles, NodeIndex table) {
    return GridReader(tree, styles, table).read();
}

}  // namespace corvy::platform
