// Values that are kept once and named by their index.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace corvy::platform {

template <typename T>
class StyleTable {
public:
    // The index of the value, which is added when it is new.
    std::uint32_t indexOf(const T& value) {
        // It is nearly always the one before.
        if (last_ < values_.size() && values_[last_] == value) return last_;
        const std::size_t hash = hashOf(value);
        const auto [first, end] = indices_.equal_range(hash);
        for (auto known = first; known != end; ++known) {
            if (values_[known->second] == value) return last_ = known->second;
        }
        last_ = static_cast<std::uint32_t>(values_.size());
        values_.push_back(value);
        indices_.emplace(hash, last_);
        return last_;
    }

    const T& operator[](std::uint32_t index) const { return values_[index]; }
    const std::vector<T>& values() const { return values_; }

private:
    std::vector<T> values_;
    std::unordered_multimap<std::size_t, std::uint32_t> indices_;
    std::uint32_t last_ = 0;
};

}  // namespace corvy::platform
