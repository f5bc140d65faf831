// The tables of a text as RTF needs them: every row with the bounds of all its cells.
#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

struct RtfLayoutCell {
    TableCell cell;
    std::int64_t right = 0;       // twips from the table's left edge
    bool isContinuation = false;  // of a cell above, or a gap: no text stands in it
    bool continuesRows = false;
};

class RtfTableLayout {
public:
    explicit RtfTableLayout(const AttributedText& text);

    // Its cells from left to right.
    const std::vector<RtfLayoutCell>& row(std::uint32_t table, std::uint32_t row) const;
    bool isLastRow(std::uint32_t table, std::uint32_t row) const;

private:
    using Rows = std::map<std::uint32_t, std::vector<RtfLayoutCell>>;

    static void layOut(Rows& rows, const TextTable& table);

    std::vector<Rows> tables_;
};

}  // namespace corvy::platform
