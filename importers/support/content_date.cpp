// Points in time as content lines have them: "20240302T090000Z", "2024-03-02", with a time zone
// that is named beside them.
#include <unicode/ucal.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "foundation/date_patterns.h"
#include "foundation/text.h"
#include "importers/support/content_lines.h"

namespace corvy {

namespace {

bool take(std::string_view text, std::size_t& at, char character) {
    if (at >= text.size() || text[at] != character) return false;
    ++at;
    return true;
}

bool readTwoDigits(std::string_view text, std::size_t& at, int most, int& value) {
    const std::size_t start = at;
    const auto read = readDigits(text, at, 2);
    if (!read || at - start != 2 || *read > most) return false;
    value = *read;
    return true;
}

bool readTime(std::string_view text, std::size_t& at, DateParts& parts) {
    int second = 0;
    if (!readTwoDigits(text, at, 23, parts.hour)) return false;
    take(text, at, ':');
    if (!readTwoDigits(text, at, 59, parts.minute)) return false;
    take(text, at, ':');
    if (at < text.size() && isAsciiDigit(text[at]) && !readTwoDigits(text, at, 60, second)) {
        return false;
    }
    parts.second = second;
    if (take(text, at, '.')) {
        while (at < text.size() && isAsciiDigit(text[at])) ++at;
    }
    return true;
}

std::optional<DateParts> partsOf(std::string_view text) {
    DateParts parts;
    std::size_t at = 0;
    const auto year = readDigits(text, at, 4);
    if (!year || at != 4) return std::nullopt;
    parts.year = *year;
    take(text, at, '-');
    if (!readTwoDigits(text, at, 12, parts.month)) return std::nullopt;
    take(text, at, '-');
    if (!readTwoDigits(text, at, 31, parts.day)) return std::nullopt;
    if (take(text, at, 'T') && !readTime(text, at, parts)) return std::nullopt;
    if (take(text, at, 'Z')) {
        parts.offset = 0;
    } else {
        parts.offset = readOffset(text, at);
    }
    return at == text.size() ? std::optional(parts) : std::nullopt;
}

using ZoneName = std::array<UChar, 128>;

// The name by which ICU knows the zone: its own, one of Windows, or one behind the path of whoever
// defined it. Empty for zones that the file alone knows.
std::u16string knownZone(std::u16string_view name) {
    for (std::u16string_view rest = name; !rest.empty();) {
        ZoneName known;
        UErrorCode error = U_ZERO_ERROR;
        int32_t length =
            ::ucal_getCanonicalTimeZoneID(rest.data(), static_cast<int32_t>(rest.size()),
                                          known.data(), known.size(), nullptr, &error);
        if (U_SUCCESS(error)) return {known.data(), static_cast<std::size_t>(length)};
        error = U_ZERO_ERROR;
        length = ::ucal_getTimeZoneIDForWindowsID(rest.data(), static_cast<int32_t>(rest.size()),
                                                  nullptr, known.data(), known.size(), &error);
        if (U_SUCCESS(error) && length > 0) {
            return {known.data(), static_cast<std::size_t>(length)};
        }
        rest.remove_prefix(std::min(rest.find(u'/'), rest.size() - 1) + 1);
    }
    return {};
}

std::optional<Date> dateInZone(const DateParts& parts, std::u16string_view zone) {
    struct Closer {
        void operator()(UCalendar* calendar) const { ::ucal_close(calendar); }
    };
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UCalendar, Closer> calendar(
        ::ucal_open(zone.data(), static_cast<int32_t>(zone.size()), "en", UCAL_GREGORIAN, &error));
    if (U_FAILURE(error)) return std::nullopt;
    ::ucal_clear(calendar.get());
    ::ucal_setDateTime(calendar.get(), parts.year, parts.month - 1, parts.day, parts.hour,
                       parts.minute, static_cast<int32_t>(parts.second), &error);
    const double milliseconds = ::ucal_getMillis(calendar.get(), &error);
    if (U_FAILURE(error)) return std::nullopt;
    return Date{std::floor(milliseconds / 1000)};
}

}  // namespace

std::optional<Date> ContentLine::date() const {
    const auto parts = partsOf(trimBytes(value, [](char c) { return c == ' ' || c == '\t'; }));
    // Checked in the calendar, whichever zone is meant.
    const auto date = parts ? dateOfParts(*parts) : std::nullopt;
    if (!date || parts->offset) return date;
    const std::u16string zone = knownZone(fromUtf8(parameter("TZID")).substr(0, 128));
    return zone.empty() ? date : dateInZone(*parts, zone);
}

}  // namespace corvy
