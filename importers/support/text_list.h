// Values that have to be gathered before they are told.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/text.h"

namespace corvy {

// Texts in the order in which they came, without white space around them, each once. Beyond kMost
// they are left out.
class TextList {
public:
    static constexpr std::size_t kMost = 1000;

    void add(std::u16string_view text) {
        const std::u16string_view trimmed = trimWhite(text);
        if (trimmed.empty() || texts_.size() == kMost) return;
        if (std::ranges::find(texts_, trimmed) == texts_.end()) texts_.emplace_back(trimmed);
    }
    // The parts between separators.
    void addSplit(std::u16string_view text, std::u16string_view separators) {
        while (!text.empty()) {
            const std::size_t end = std::min(text.find_first_of(separators), text.size());
            add(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }
    const std::vector<std::u16string>& texts() const { return texts_; }

private:
    std::vector<std::u16string> texts_;
};

}  // namespace corvy
