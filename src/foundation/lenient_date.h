// Dates in no fixed form.
#pragma once

#include <optional>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy {

// Completes a text that may tell no more than a year: month and day are the first. `lenientDate`
// takes it for that at the end of its text.
inline constexpr std::string_view kFirstDayOfYear = " 1 1";

// Reads folded text (date_patterns.h): numbers, English and German names of months and days, a time
// with a fraction, AM and PM, a zone by offset, name or words, in about any order; today, yesterday
// and tomorrow. Day and month are the first where they are missing, the year is this year when
// there are a day and the name of a month. Of two numbers the first is the day, unless it cannot be
// one, or slashes and AM or PM show the American order. None when a word is unknown, a number is
// left over, or there is no such day.
std::optional<Date> lenientDate(std::string_view text);

}  // namespace corvy
