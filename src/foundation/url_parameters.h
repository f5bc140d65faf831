// The parameters of an address, as a list from which parameters are taken out.
//
// Every "?", ";" and "&" begins a parameter, wherever it stands. However many are taken out, the
// work is linear in the length of the address.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvy {

class UrlParameters {
public:
    // `address` must outlive the list.
    explicit UrlParameters(std::u16string_view address);

    // The address has at least one.
    static bool areIn(std::u16string_view address);

    void removeSessionIDs();
    void removeAnalytics();
    void removeEmptyParams();
    void removeTracking();

    // Something was taken out.
    bool hasChanged() const { return hasChanged_; }
    std::u16string address() const;

private:
    struct Parameter {
        char16_t separator;  // before it; U+0000 for what stands before the first one
        std::u16string_view text;
        std::size_t previous;
        std::size_t next;
        bool isRemoved = false;
    };

    // Takes out the parameter up to the separator that ends it, and that separator; the last one
    // with the separator before it. One behind ";" ends at any separator, the others not at ";".
    void remove(std::size_t index);
    // Takes out the parameter and the separator before it; a "?" stays when another one follows.
    void removeAlone(std::size_t index);
    void unlink(std::size_t from, std::size_t to);
    bool isEnd(std::size_t index) const { return index == parameters_.size(); }

    std::u16string_view original_;
    std::vector<Parameter> parameters_;  // removed ones keep their places
    bool hasChanged_ = false;
};

}  // namespace corvy
