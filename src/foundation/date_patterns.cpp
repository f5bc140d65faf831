#include "foundation/date_patterns.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <cstring>
#include <ctime>

#include "foundation/character_tables.h"

namespace corvy {

namespace {

using namespace std::string_view_literals;

constexpr std::int64_t kDay = 86400;  // seconds

struct ZoneName {
    std::string_view name;
    int minutes;
};
#include "foundation/zone_names.inc"
static_assert(std::ranges::is_sorted(kZoneNames, {}, &ZoneName::name));

constexpr std::string_view kMonths[] = {"jan"sv, "feb"sv, "mar"sv, "apr"sv, "may"sv, "jun"sv,
                                        "jul"sv, "aug"sv, "sep"sv, "oct"sv, "nov"sv, "dec"sv};
constexpr std::string_view kDays[] = {"monday"sv, "tuesday"sv,  "wednesday"sv, "thursday"sv,
                                      "friday"sv, "saturday"sv, "sunday"sv};
constexpr std::size_t kShortName = 3;

char folded(char16_t unit) {
    if (unit < 0x80) {
        if (unit >= u'A' && unit <= u'Z') return static_cast<char>(unit + ('a' - 'A'));
        if (unit > u' ') return static_cast<char>(unit);
    }
    if (isWhite(unit)) return ' ';
    constexpr char16_t kHyphen = 0x2010;
    constexpr char16_t kHorizontalBar = 0x2015;
    if (unit >= kHyphen && unit <= kHorizontalBar) return ' ';
    const char16_t plain = umlautsToLowerAscii(unit);
    if (plain >= u' ' && plain < 0x80) return static_cast<char>(plain);
    return isAlpha(unit) ? kForeignLetter : kForeignSign;
}

// Seconds by which the machine's clock is ahead of Greenwich at an instant. localtime_r does not
// look for a new zone each time, as mktime does, and is safe beside other threads.
std::int64_t machineOffset(std::int64_t instant) {
    const auto time = static_cast<std::time_t>(instant);
    std::tm local{};
    return ::localtime_r(&time, &local) ? local.tm_gmtoff : 0;
}

// The instant at which the machine's clock shows `civil` (seconds as if it were at Greenwich). Of
// two the earlier; a time that the clock leaps over counts on from before the leap.
std::int64_t instantOfMachineTime(std::int64_t civil) {
    const std::int64_t before = machineOffset(civil - kDay);
    const std::int64_t after = machineOffset(civil + kDay);
    if (before == after || machineOffset(civil - before) == before) return civil - before;
    return machineOffset(civil - after) == after ? civil - after : civil - before;
}

bool readName(std::string_view text, std::size_t& at, std::string_view name) {
    if (!text.substr(at).starts_with(name)) return false;
    at += name.size();
    return true;
}

bool readDay(std::string_view text, std::size_t& at, bool isShort) {
    return std::ranges::any_of(kDays, [&](std::string_view name) {
        return readName(text, at, isShort ? name.substr(0, kShortName) : name);
    });
}

bool readMonth(std::string_view text, std::size_t& at, int& month) {
    for (std::size_t i = 0; i < std::size(kMonths); ++i) {
        if (!readName(text, at, kMonths[i])) continue;
        month = static_cast<int>(i) + 1;
        return true;
    }
    return false;
}

bool readInto(std::string_view text, std::size_t& at, std::size_t most, int& value) {
    const auto number = readDigits(text, at, most);
    value = number.value_or(0);
    return number.has_value();
}

bool readExactly(std::string_view text, std::size_t& at, std::size_t digits, int& value) {
    const std::size_t start = at;
    return readInto(text, at, digits, value) && at - start == digits;
}

bool readConversion(std::string_view text, std::size_t& at, char conversion, DateParts& parts) {
    switch (conversion) {
        case 'Y': return readExactly(text, at, 4, parts.year);
        case 'y':
            if (!readExactly(text, at, 2, parts.year)) return false;
            parts.year = fullYear(parts.year);
            return true;
        case 'm': return readInto(text, at, 2, parts.month);
        case 'd': return readInto(text, at, 2, parts.day);
        case 'H': return readInto(text, at, 2, parts.hour) && parts.hour < 24;
        case 'M': return readInto(text, at, 2, parts.minute) && parts.minute < 60;
        case 'S': {
            int second = 0;
            if (!readInto(text, at, 2, second) || second > 60) return false;
            parts.second = second;
            return true;
        }
        case 'a':
        case 'A': return readDay(text, at, conversion == 'a');
        case 'b': return readMonth(text, at, parts.month);
        case 'Z': parts.offset = readZone(text, at); return parts.offset.has_value();
        default: assert(false); return false;
    }
}

void skipBlanks(std::string_view text, std::size_t& at) {
    while (at < text.size() && text[at] == ' ') ++at;
}

}  // namespace

FoldedDateText::FoldedDateText(std::u16string_view text) : length_(text.size()) {
    assert(length_ <= kLongestDateText);
    std::ranges::transform(text, characters_.begin(), folded);
}

void FoldedDateText::replace(std::string_view from, std::string_view to) {
    assert(to.size() <= from.size());
    std::size_t at = text().find(from);
    while (at != std::string_view::npos) {
        std::memcpy(characters_.data() + at, to.data(), to.size());
        const std::size_t gone = from.size() - to.size();
        at += to.size();
        std::memmove(characters_.data() + at, characters_.data() + at + gone, length_ - at - gone);
        length_ -= gone;
        at = text().find(from, at);
    }
}

void FoldedDateText::replace(char from, char to) {
    std::replace(characters_.begin(), characters_.begin() + static_cast<std::ptrdiff_t>(length_),
                 from, to);
}

void FoldedDateText::append(std::string_view tail) {
    assert(length_ + tail.size() <= characters_.size());
    std::memcpy(characters_.data() + length_, tail.data(), tail.size());
    length_ += tail.size();
}

std::optional<Date> dateOfParts(const DateParts& parts) {
    namespace chrono = std::chrono;
    const chrono::year_month_day day{chrono::year(parts.year),
                                     chrono::month(static_cast<unsigned>(parts.month)),
                                     chrono::day(static_cast<unsigned>(parts.day))};
    if (!day.ok()) return std::nullopt;
    const std::int64_t civil = chrono::sys_days(day).time_since_epoch().count() * kDay +
                               parts.hour * 3600 + parts.minute * 60;
    const std::int64_t instant = parts.offset ? civil - *parts.offset : instantOfMachineTime(civil);
    return Date{static_cast<double>(instant) + parts.second};
}

DateParts today() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    return {.year = local.tm_year + 1900,
            .month = local.tm_mon + 1,
            .day = local.tm_mday,
            .offset = std::nullopt};
}

std::optional<int> readDigits(std::string_view text, std::size_t& at, std::size_t most) {
    const std::size_t start = at;
    int value = 0;
    while (at < text.size() && at - start < most && isAsciiDigit(text[at])) {
        value = value * 10 + (text[at++] - '0');
    }
    return at > start ? std::optional(value) : std::nullopt;
}

std::optional<int> readOffset(std::string_view text, std::size_t& at) {
    if (at >= text.size() || (text[at] != '+' && text[at] != '-')) return std::nullopt;
    constexpr int kFarthest = 14;  // hours, from either side of the date line
    std::size_t end = at + 1;
    const auto number = readDigits(text, end, 4);
    if (!number) return std::nullopt;
    int hours = *number;
    int minutes = 0;
    if (end - at > 3) {
        minutes = hours % 100;
        hours /= 100;
    } else if (end < text.size() && text[end] == ':') {
        ++end;
        const auto read = readDigits(text, end, 2);
        if (!read) return std::nullopt;
        minutes = *read;
    }
    const bool isWhole = end == text.size() || !isAsciiDigit(text[end]);
    if (!isWhole || hours > kFarthest || minutes > 59) return std::nullopt;
    const int seconds = (hours * 60 + minutes) * 60;
    const bool isWest = text[at] == '-';
    at = end;
    return isWest ? -seconds : seconds;
}

std::optional<int> readZone(std::string_view text, std::size_t& at) {
    std::size_t end = at;
    while (end < text.size() && isFoldedLetter(text[end])) ++end;
    if (end == at) return readOffset(text, at);
    const std::string_view name = text.substr(at, end - at);
    const auto* zone = std::ranges::lower_bound(kZoneNames, name, {}, &ZoneName::name);
    if (zone == std::end(kZoneNames) || zone->name != name) return std::nullopt;
    at = end;
    if (name == "gmt" || name == "utc") {
        if (const auto offset = readOffset(text, at)) return offset;
    }
    return zone->minutes * 60;
}

std::optional<Date> dateByPattern(std::string_view text, std::string_view pattern, PatternEnd end) {
    DateParts parts;
    std::size_t at = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '%') {
            if (!readConversion(text, at, pattern[++i], parts)) return std::nullopt;
        } else if (at == text.size() || text[at] != pattern[i]) {
            return std::nullopt;
        } else if (pattern[i] == ' ') {
            skipBlanks(text, at);
        } else {
            ++at;
        }
    }
    if (at < text.size() && end == PatternEnd::zoneMayFollow) {
        skipBlanks(text, at);
        parts.offset = readZone(text, at);
        if (!parts.offset) return std::nullopt;
    }
    return at == text.size() ? dateOfParts(parts) : std::nullopt;
}

int fullYear(int twoDigits) {
    constexpr int kFirstOfLastCentury = 69;
    return twoDigits + (twoDigits < kFirstOfLastCentury ? 2000 : 1900);
}

}  // namespace corvy
