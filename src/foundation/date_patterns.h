// What date parsers share: text folded to ASCII, zones, and dates by pattern.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy {

// Longest text that can be a date, in code units.
inline constexpr std::size_t kLongestDateText = 256;
// What stands for letters, and for other characters, that have no ASCII form.
inline constexpr char kForeignLetter = '\x02';
inline constexpr char kForeignSign = '\x01';

// The text in lower-case ASCII, one character for each unit: letters without their accents, white
// space and long dashes as blanks.
class FoldedDateText {
public:
    // text.size() <= kLongestDateText
    explicit FoldedDateText(std::u16string_view text);
    std::string_view text() const { return {characters_.data(), length_}; }
    // Replaces each `from` by `to`, which is not longer.
    void replace(std::string_view from, std::string_view to);
    void replace(char from, char to);
    // Room for a few characters more than the longest text has.
    void append(std::string_view tail);

private:
    std::array<char, kLongestDateText + 8> characters_;
    std::size_t length_ = 0;
};

struct DateParts {
    int year = 0;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    double second = 0;          // up to 60: a leap second is the first second of the next minute
    std::optional<int> offset;  // seconds east of Greenwich; none: the machine's zone
};

// None when the calendar has no such day.
std::optional<Date> dateOfParts(const DateParts& parts);

// Year, month and day on this machine's calendar, now.
DateParts today();

inline bool isAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}
inline bool isFoldedLetter(char c) {
    return (c >= 'a' && c <= 'z') || c == kForeignLetter;
}

// Reads up to `most` digits at `at` and moves behind them; none when there is no digit.
std::optional<int> readDigits(std::string_view text, std::size_t& at, std::size_t most);
// Reads "+hhmm", "+hh:mm", "+hmm" or "+hh", either sign, as seconds and moves behind it.
std::optional<int> readOffset(std::string_view text, std::size_t& at);
// The same, or the name of a zone; an offset may follow GMT and UTC directly.
std::optional<int> readZone(std::string_view text, std::size_t& at);

enum class PatternEnd {
    exact,         // the whole text follows the pattern
    zoneMayFollow  // and a zone may stand behind it
};

// Reads folded text by a pattern of %Y (four digits), %y (two digits; 69 to 99 are of the last
// century), %m %d %H %M %S (one or two digits), %a %A %b (English names, short and long), %Z; a
// blank stands for any number of them but none, everything else for itself in lower case.
std::optional<Date> dateByPattern(std::string_view text, std::string_view pattern,
                                  PatternEnd end = PatternEnd::exact);

// Of the century that two-digit years mean.
int fullYear(int twoDigits);

}  // namespace corvy
