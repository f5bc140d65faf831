// The list tables of an RTF document, as they are read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/rich_text/rtf_state.h"
#include "platform/rich_text/rtf_words.h"

namespace corvy::platform {

class RtfListTable {
public:
    // The lists go into `resources`, which must outlive it.
    explicit RtfListTable(RtfResources& resources) : resources_(resources) {}

    void beginList() {
        levels_.clear();
        identifier_ = 0;
    }
    void beginLevel() {
        constexpr std::size_t kMostLevels = 9;
        if (levels_.size() < kMostLevels) levels_.emplace_back();
    }
    void endList() { resources_.lists[identifier_] = std::move(levels_); }
    void endOverride() { resources_.listOverrides[number_] = identifier_; }

    void apply(RtfWord word, std::int32_t value) {
        switch (word) {
            case RtfWord::levelnfc: level().format = value; break;
            case RtfWord::levelstartat: level().start = value; break;
            case RtfWord::listid: identifier_ = value; break;
            default: number_ = value; break;  // \ls
        }
    }
    void setText(std::u16string text) { level().text = std::move(text); }
    void setMarker(std::u16string_view marker) { level().marker = marker; }

private:
    RtfListLevel& level() {
        if (levels_.empty()) levels_.emplace_back();
        return levels_.back();
    }

    RtfResources& resources_;
    std::vector<RtfListLevel> levels_;  // of the list
    std::int32_t identifier_ = 0;
    std::int32_t number_ = 0;  // of the override
};

}  // namespace corvy::platform
