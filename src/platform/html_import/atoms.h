// Names as small numbers: those of elements, attributes, classes and IDs are compared by them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

namespace corvy::platform {

using Atom = std::uint32_t;
inline constexpr Atom kNoAtom = 0xFFFFFFFF;

// The names that the program itself asks for have the numbers of this enumeration in every table.
enum class Name : Atom {
#define NAME(identifier, text) identifier,
#include "platform/html_import/names.inc"
#undef NAME
    count,
};
constexpr Atom atomOf(Name name) {
    return static_cast<Atom>(name);
}
constexpr bool operator==(Atom atom, Name name) {
    return atom == atomOf(name);
}

class AtomTable {
public:
    AtomTable();
    AtomTable(const AtomTable&) = delete;
    AtomTable& operator=(const AtomTable&) = delete;

    Atom add(std::string_view text);
    // The name in lower case.
    Atom addLowered(std::string_view text);
    // kNoAtom for a name that was never added.
    Atom find(std::string_view text) const;
    // Valid as long as the table lives.
    std::string_view text(Atom atom) const { return texts_[atom]; }
    std::size_t size() const { return texts_.size(); }

private:
    std::deque<std::string> texts_;
    std::unordered_map<std::string_view, Atom> atoms_;
};

}  // namespace corvy::platform
