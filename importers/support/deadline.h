// How long an importer works on one file before it tells what it has.
#pragma once

#include <chrono>

namespace corvy {

class Deadline {
public:
    bool hasPassed() const { return std::chrono::steady_clock::now() >= end_; }

private:
    static constexpr std::chrono::seconds kLongest{5};
    std::chrono::steady_clock::time_point end_ = std::chrono::steady_clock::now() + kLongest;
};

}  // namespace corvy
