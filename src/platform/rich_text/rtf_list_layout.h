// The lists of a text as RTF numbers them.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "platform/rich_text/attributed_text.h"
#include "platform/rich_text/rtf_output.h"

namespace corvy::platform {

class RtfListLayout {
public:
    explicit RtfListLayout(const AttributedText& text);

    // The list tables; nothing when there are no lists.
    void writeTables(RtfOutput& out, const AttributedText& text) const;
    // The number of the list that has the lists of a paragraph as its levels. lists is not empty
    std::int64_t numberOf(const std::vector<std::uint32_t>& lists) const {
        return numbers_.at(lists);
    }

private:
    std::vector<std::vector<std::uint32_t>> levels_;  // of each list, of which the first is 1
    std::map<std::vector<std::uint32_t>, std::int64_t> numbers_;
};

}  // namespace corvy::platform
