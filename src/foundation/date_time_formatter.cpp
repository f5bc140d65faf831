#include "foundation/date_time_formatter.h"

#include <unicode/udat.h>
#include <unicode/uloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace corvy {

namespace {

std::string userLocale() {
    constexpr const char* kPortable = "en_US_POSIX";
    for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
        const char* value = std::getenv(variable);
        if (!value || !*value) continue;
        char name[ULOC_FULLNAME_CAPACITY] = {};
        UErrorCode status = U_ZERO_ERROR;
        ::uloc_canonicalize(value, name, sizeof name, &status);
        const std::string locale = U_SUCCESS(status) ? name : "";
        // "C" and "POSIX" are no languages.
        return locale.empty() || locale == "c" || locale == "posix" ? kPortable : locale;
    }
    return kPortable;
}

}  // namespace

void DateTimeFormatter::Closer::operator()(void* format) const noexcept {
    ::udat_close(static_cast<UDateFormat*>(format));
}

DateTimeFormatter::DateTimeFormatter(const std::string& locale, const std::u16string& zone) {
    UErrorCode status = U_ZERO_ERROR;
    format_.reset(::udat_open(UDAT_MEDIUM, UDAT_MEDIUM, locale.c_str(),
                              zone.empty() ? nullptr : zone.data(),
                              static_cast<std::int32_t>(zone.size()), nullptr, 0, &status));
    if (U_FAILURE(status)) format_.reset();
}

std::u16string DateTimeFormatter::stringFromDate(Date date) const {
    char16_t text[256];
    UErrorCode status = U_ZERO_ERROR;
    if (!format_) return {};
    const std::int32_t length =
        ::udat_format(static_cast<UDateFormat*>(format_.get()), date.seconds * 1000, text,
                      std::size(text), nullptr, &status);
    if (U_FAILURE(status)) return {};
    return {text, std::min(static_cast<std::size_t>(length), std::size(text))};
}

const DateTimeFormatter& dateTimeFormatter() {
    static const DateTimeFormatter formatter(userLocale());
    return formatter;
}

}  // namespace corvy
