// Dates as a reader of the user's language expects them.
#pragma once

#include <memory>
#include <string>

#include "foundation/property_list.h"

namespace corvy {

// Date and time of medium length, such as "Dec 13, 2003, 6:30:02 PM" in American English. May be
// used from several threads.
class DateTimeFormatter {
public:
    // `locale` such as "de_DE"; `zone` such as "Europe/Berlin", empty for the machine's.
    explicit DateTimeFormatter(const std::string& locale, const std::u16string& zone = {});

    // Empty when the locale's data are missing.
    std::u16string stringFromDate(Date date) const;

private:
    struct Closer {
        void operator()(void* format) const noexcept;
    };
    std::unique_ptr<void, Closer> format_;
};

// The one of the user's locale (LC_ALL, LC_TIME, LANG) and the machine's zone, as they are at the
// first use.
const DateTimeFormatter& dateTimeFormatter();

}  // namespace corvy
