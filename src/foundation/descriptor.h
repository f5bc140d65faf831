// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace corvy {

class Descriptor {
public:
    Descriptor() = default;
    // Takes the descriptor over; -1 is none.
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) reset(std::exchange(other.number_, -1));
        return *this;
    }
    ~Descriptor() { reset(); }

    int get() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }
    // Hands the descriptor to the caller, who closes it.
    int release() { return std::exchange(number_, -1); }
    void reset(int number = -1) {
        if (number_ >= 0) ::close(number_);
        number_ = number;
    }

private:
    int number_ = -1;
};

}  // namespace corvy
