#include "foundation/date.h"

#include <algorithm>
#include <string>

#include "foundation/date_patterns.h"
#include "foundation/lenient_date.h"
#include "foundation/system_log.h"
#include "foundation/text.h"

namespace corvy {

namespace {

constexpr std::string_view kStandardForm = "%a, %d %b %Y %H:%M:%S %Z";
constexpr std::string_view kOldStandardForm = "%A, %d-%b-%y %H:%M:%S %Z";
constexpr std::string_view kCalendarForm = "%a %b %d %H:%M:%S %Y";

// What the choice of a pattern depends on.
struct Punctuation {
    explicit Punctuation(std::string_view text) : length(text.size()) {
        for (const char c : text) {
            dots += c == '.';
            colons += c == ':';
            hyphens += c == '-';
            slashes += c == '/';
            hasLetter |= isFoldedLetter(c);
        }
    }
    std::size_t length;
    int dots = 0;
    int colons = 0;
    int hyphens = 0;
    int slashes = 0;
    bool hasLetter = false;
};

// A pattern that is the only one for its kind of text decides: the date may be missing.
struct Decision {
    std::optional<Date> date;
};

std::optional<Decision> dateByOnlyPattern(std::string_view text, const Punctuation& marks) {
    const auto decide = [text](std::string_view pattern) {
        return Decision{dateByPattern(text, pattern)};
    };
    if (marks.length == 8 && std::ranges::all_of(text, isAsciiDigit)) {
        // kept: a day of the twenties before a year of this millennium is read year first.
        if (text[0] == '2') return decide("%Y%m%d");
        if (text[4] == '2') return decide("%d%m%Y");
    }
    if (marks.dots != 2) return std::nullopt;
    // kept: eight characters are a two-digit year, so "1.1.2009" is no date.
    if (marks.length == 8) return decide("%d.%m.%y");
    if (marks.length == 10) return decide(text[4] == '.' ? "%Y.%m.%d" : "%d.%m.%Y");
    if (marks.length == 19 && marks.colons == 2) return decide("%d.%m.%Y %H:%M:%S");
    return std::nullopt;
}

std::optional<Date> dateWithFullTime(std::string_view text, const Punctuation& marks) {
    if (const auto date = dateByPattern(text, kStandardForm)) return date;
    if (marks.hyphens == 2) {
        if (marks.hasLetter) return dateByPattern(text, kOldStandardForm);
        if (text.find('-') == 4) {
            return dateByPattern(text, "%Y-%m-%d %H:%M:%S", PatternEnd::zoneMayFollow);
        }
        return dateByPattern(text, "%d-%m-%Y %H:%M:%S");
    }
    if (marks.slashes == 2) {
        const auto date = dateByPattern(text, "%d/%m/%Y %H:%M:%S %Z");
        return date ? date : dateByPattern(text, "%d/%m/%Y %H:%M:%S");
    }
    return dateByPattern(text, kCalendarForm);
}

std::optional<Date> dateWithoutHyphens(std::string_view text, const Punctuation& marks) {
    if (marks.colons == 0 && marks.dots == 0 && marks.hyphens == 0 && marks.slashes == 2 &&
        marks.length >= 8 && marks.length <= 10) {
        return dateByPattern(text, text.find('/') == 4 ? "%Y/%m/%d" : "%d/%m/%Y");
    }
    if (marks.dots == 2 && marks.colons == 1 && marks.slashes == 0 && marks.hyphens == 0 &&
        !marks.hasLetter) {
        return dateByPattern(text, "%d.%m.%Y %H:%M");
    }
    return std::nullopt;
}

std::optional<Date> dateWithTwoHyphens(std::string_view text, const Punctuation& marks) {
    const bool yearFirst = text.find('-') == 4;
    if (marks.colons >= 3 && marks.dots <= 1 && marks.length >= 12) {
        return dateByPattern(text, yearFirst ? "%Y-%m-%dt%H:%M:%S" : "%d-%m-%Yt%H:%M:%S",
                             PatternEnd::zoneMayFollow);
    }
    if (marks.colons == 0 && marks.dots == 0 && marks.length >= 8 && marks.length <= 10) {
        return dateByPattern(text, yearFirst ? "%Y-%m-%d" : "%d-%m-%Y");
    }
    if (marks.colons == 1 && !marks.hasLetter) return dateByPattern(text, "%d-%m-%Y %H:%M");
    return std::nullopt;
}

std::optional<Date> dateByFallback(FoldedDateText& folded, const Punctuation& marks) {
    if (marks.hyphens == 2) folded.replace('-', '/');
    if (!isAsciiDigit(folded.text().back())) folded.append(kFirstDayOfYear);
    return lenientDate(folded.text());
}

// None for empty text too.
std::optional<Date> parsed(std::u16string_view text) {
    if (text.empty() || text.size() > kLongestDateText) return std::nullopt;
    FoldedDateText folded(text);
    const Punctuation marks(folded.text());
    if (const auto decision = dateByOnlyPattern(folded.text(), marks)) return decision->date;

    std::optional<Date> date;
    if (marks.colons == 2) {
        struct Abbreviation {
            std::string_view german, english;
        };
        constexpr Abbreviation kMonths[] = {
            {"mrz", "mar"}, {"mai", "may"}, {"mart", "mar"}, {"okt", "oct"}, {"dez", "dec"}};
        for (const Abbreviation& month : kMonths) folded.replace(month.german, month.english);
        date = dateWithFullTime(folded.text(), marks);
    } else if (marks.hyphens == 2) {
        date = dateWithTwoHyphens(folded.text(), marks);
    } else {
        date = dateWithoutHyphens(folded.text(), marks);
    }
    return date ? date : dateByFallback(folded, marks);
}

}  // namespace

std::optional<Date> dateFromHTTPHeaderValue(std::u16string_view text) {
    if (text.empty() || text.size() > kLongestDateText) return std::nullopt;
    const FoldedDateText folded(text);
    for (const std::string_view pattern : {kStandardForm, kOldStandardForm, kCalendarForm}) {
        // kept: the last form is in the machine's zone like every text without one.
        if (const auto date = dateByPattern(folded.text(), pattern)) return date;
    }
    return std::nullopt;
}

std::optional<Date> date(std::u16string_view text) {
    const std::u16string_view told = trimWhite(text.substr(0, text.find_first_of(u";[]{}()")));
    if (told.empty()) return std::nullopt;
    const auto date = parsed(told);
    if (!date) systemLog(u"Unknown date: " + std::u16string(text));
    return date;
}

}  // namespace corvy
