// Keeps copies of texts at fixed places for as long as it lives.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace corvy::platform {

class TextArena {
public:
    std::string_view keep(std::string_view text) {
        if (text.size() > left_) {
            left_ = std::max(text.size(), kChunk);
            chunks_.push_back(std::make_unique_for_overwrite<char[]>(left_));
            next_ = chunks_.back().get();
        }
        if (text.empty()) return {};
        std::memcpy(next_, text.data(), text.size());
        const std::string_view kept(next_, text.size());
        next_ += text.size();
        left_ -= text.size();
        return kept;
    }

private:
    static constexpr std::size_t kChunk = 64 << 10;

    std::vector<std::unique_ptr<char[]>> chunks_;
    char* next_ = nullptr;
    std::size_t left_ = 0;
};

}  // namespace corvy::platform
