// The lines that vCard and iCalendar are made of: "GROUP.NAME;PARAMETER=VALUE:value", folded.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/property_list.h"

namespace corvy {

// Bytes of a line, its folds included, and parameters of it; what is beyond is left out.
inline constexpr std::size_t kLongestContentLine = std::size_t{1} << 20;
inline constexpr std::size_t kMostParameters = 50;

struct ContentLine {
    std::string name;  // in upper case, without its group
    // Names in upper case. Older files have values alone, which are of TYPE or ENCODING.
    std::vector<std::pair<std::string, std::string>> parameters;
    std::string value;  // as it stands there, quoted-printable resolved

    // The first of that name; empty without one.
    std::string_view parameter(std::string_view parameterName) const;
    // The value with its escapes resolved.
    std::u16string text() const;
    // Its parts between the separators that are not escaped; at least one.
    std::vector<std::u16string> parts(char16_t separator) const;
    // The value as a point in time; a date alone is the beginning of that day. In the zone that it
    // names or the parameter TZID tells, else in the machine's. None when it is none.
    std::optional<Date> date() const;
};

class ContentLineReader {
public:
    // `bytes` in UTF-8, or in UTF-16 with a byte-order mark.
    explicit ContentLineReader(std::string_view bytes);

    // The next line that has a name and a value; none behind the last one.
    std::optional<ContentLine> next();

private:
    std::string_view takePhysicalLine();
    std::string takeLine();

    std::string converted_;
    std::string_view rest_;
};

}  // namespace corvy
