#include "foundation/lenient_date.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>

#include "foundation/date_patterns.h"

namespace corvy {

namespace {

struct MonthName {
    std::string_view name;
    std::size_t least;
    int month;
};
struct RelativeDay {
    std::string_view name;
    int days;
};
struct ZonePhrase {
    std::string_view words;
    int minutes;
};
#include "foundation/date_words.inc"

constexpr std::size_t kLeastOfDayName = 2;

// A number of the date itself, or the name of a month.
struct Item {
    int value = 0;
    std::size_t digits = 0;  // 0: the name of a month
    char separator = ' ';    // the character behind
    bool isYear = false;     // marked by an apostrophe
};

class LenientReader {
public:
    explicit LenientReader(std::string_view text) : text_(text) {}
    std::optional<Date> read();

private:
    char at(std::size_t i) const { return i < text_.size() ? text_[i] : '\0'; }
    std::string_view wordAt(std::size_t i) const;
    std::string_view partOfDayAt(std::size_t i) const;

    bool readNumber();
    bool readTime(int hour);
    bool readCompactTime(std::string_view digits);
    bool readCompactDate(std::string_view digits);
    bool readWord();
    bool readPartOfDay();
    bool readMonthName(std::string_view word);
    bool readRelativeDay(std::string_view word);
    bool readZoneOfTime();
    bool readSignedOffset();

    bool addItem(const Item& item);
    bool settleDay();
    bool settleNamedMonth(std::size_t month);
    bool settleNumbers();
    bool setDay(int year, int month, int day);
    static int yearOf(const Item& item);
    static bool canOnlyBeYear(const Item& item);

    std::string_view text_;
    std::size_t at_ = 0;
    DateParts parts_;
    std::array<Item, 3> items_;
    std::size_t count_ = 0;
    bool hasDay_ = false;
    bool hasTime_ = false;
    bool timeFollows_ = false;  // behind the "t" of the standard form
    bool isTwelveHour_ = false;
    bool hasForeignDay_ = false;
};

std::string_view LenientReader::wordAt(std::size_t i) const {
    std::size_t end = i;
    while (end < text_.size() && isFoldedLetter(text_[end])) ++end;
    return text_.substr(i, end - i);
}

// "am", "pm", "a.m" or "p.m"; empty for anything else.
std::string_view LenientReader::partOfDayAt(std::size_t i) const {
    const std::string_view dotted = text_.substr(std::min(i, text_.size()), 3);
    if (dotted == "a.m" || dotted == "p.m") return dotted;
    const std::string_view word = wordAt(i);
    return word == "am" || word == "pm" ? word : std::string_view();
}

std::optional<Date> LenientReader::read() {
    constexpr std::string_view kPunctuation = " ,.-/|~'\"@_";
    while (at_ < text_.size()) {
        const char c = text_[at_];
        if (isAsciiDigit(c)) {
            if (!readNumber()) return std::nullopt;
        } else if (isFoldedLetter(c)) {
            if (!readWord()) return std::nullopt;
        } else if (!readSignedOffset()) {
            if (kPunctuation.find(c) == std::string_view::npos) return std::nullopt;
            ++at_;
        }
    }
    if (!settleDay()) return std::nullopt;
    return dateOfParts(parts_);
}

// Only behind a time, so that the hyphens of a date are none. A slash may have been a hyphen.
bool LenientReader::readSignedOffset() {
    const char sign = at(at_);
    const char before = at_ > 0 ? text_[at_ - 1] : '\0';
    if (!hasTime_ || parts_.offset || (before != ' ' && !isAsciiDigit(before))) return false;
    if (sign != '/') {
        parts_.offset = readOffset(text_, at_);
        return parts_.offset.has_value();
    }
    constexpr std::size_t kOffset = 5;  // "/hhmm"
    std::array<char, kOffset + 1> signedText;
    const std::string_view slashed = text_.substr(at_, kOffset + 1);
    std::ranges::copy(slashed, signedText.begin());
    signedText[0] = '-';
    std::size_t length = 0;
    const auto offset = readOffset({signedText.data(), slashed.size()}, length);
    if (!offset || length < kOffset) return false;
    parts_.offset = offset;
    at_ += length;
    return true;
}

bool LenientReader::readNumber() {
    const std::size_t start = at_;
    std::size_t end = at_;
    while (isAsciiDigit(at(end))) ++end;
    const std::string_view digits = text_.substr(start, end - start);
    constexpr std::size_t kCompactDate = 8;
    constexpr std::size_t kCompactDateTime = 14;
    if (timeFollows_) {
        timeFollows_ = false;
        if (at(end) != ':') return readCompactTime(digits);
    }
    if (digits.size() == kCompactDate) return readCompactDate(digits);
    if (digits.size() == kCompactDateTime) {
        return readCompactDate(digits.substr(0, kCompactDate)) &&
               readCompactTime(digits.substr(kCompactDate));
    }
    if (digits.size() > 4) return false;

    const int value = *readDigits(text_, at_, digits.size());
    if (digits.size() <= 2 && !hasTime_) {
        if (at(at_) == ':' && isAsciiDigit(at(at_ + 1))) return readTime(value);
        const std::size_t word = at_ + (at(at_) == ' ' ? 1 : 0);
        const std::string_view partOfDay = partOfDayAt(word);
        if (!partOfDay.empty() && value >= 1 && value <= 12) {
            parts_.hour = value;
            hasTime_ = true;
            at_ = word;
            return readPartOfDay();
        }
    }
    const bool isYear = digits.size() == 2 && start > 0 && text_[start - 1] == '\'';
    const std::string_view suffix = wordAt(at_);
    if (suffix == "st" || suffix == "nd" || suffix == "rd" || suffix == "th") {
        at_ += suffix.size();
    }
    const Item item{value, digits.size(), at(at_), isYear};
    if (item.separator == '-' || item.separator == '/' || item.separator == '.') ++at_;
    return addItem(item);
}

bool LenientReader::readTime(int hour) {
    ++at_;
    parts_.hour = hour;
    parts_.minute = readDigits(text_, at_, 2).value_or(0);
    double second = 0;
    if (at(at_) == ':' && isAsciiDigit(at(at_ + 1))) {
        ++at_;
        second = *readDigits(text_, at_, 2);
        if ((at(at_) == '.' || at(at_) == ',') && isAsciiDigit(at(at_ + 1))) {
            // Digits beyond the exactness of the number do not count.
            double digits = 0;
            double scale = 1;
            constexpr double kFinest = 1e12;
            for (++at_; isAsciiDigit(at(at_)); ++at_) {
                if (scale == kFinest) continue;
                digits = digits * 10 + (at(at_) - '0');
                scale *= 10;
            }
            second += digits / scale;
        }
    }
    parts_.second = second;
    hasTime_ = true;
    const bool isEndOfDay = hour == 24 && parts_.minute == 0 && second == 0;
    return (hour < 24 || isEndOfDay) && parts_.minute < 60 && second < 61 && !isAsciiDigit(at(at_));
}

bool LenientReader::readCompactTime(std::string_view digits) {
    if (hasTime_ || (digits.size() != 4 && digits.size() != 6)) return false;
    std::size_t i = 0;
    parts_.hour = *readDigits(digits, i, 2);
    parts_.minute = *readDigits(digits, i, 2);
    parts_.second = readDigits(digits, i, 2).value_or(0);
    hasTime_ = true;
    at_ += digits.size();
    return parts_.hour < 24 && parts_.minute < 60 && parts_.second < 61;
}

// Year first, else day first.
bool LenientReader::readCompactDate(std::string_view digits) {
    if (hasDay_ || count_ != 0) return false;
    const auto number = [digits](std::size_t from, std::size_t length) {
        return *readDigits(digits, from, length);
    };
    at_ += digits.size();
    return setDay(number(0, 4), number(4, 2), number(6, 2)) ||
           setDay(number(4, 4), number(2, 2), number(0, 2));
}

bool LenientReader::readWord() {
    const std::string_view word = wordAt(at_);
    const std::size_t end = at_ + word.size();
    if (word == "t" && !hasTime_ && (count_ != 0 || hasDay_) && isAsciiDigit(at(end))) {
        timeFollows_ = true;
        at_ = end;
        return true;
    }
    if (hasTime_ && readPartOfDay()) return true;
    const bool isDayName = word.size() >= kLeastOfDayName &&
                           std::ranges::any_of(kDayNames, [word](std::string_view name) {
                               return name.starts_with(word);
                           });
    if (readMonthName(word) || isDayName ||
        std::ranges::find(kFillers, word) != std::end(kFillers) || readRelativeDay(word)) {
        at_ = end;
        return true;
    }
    if (hasTime_ && readZoneOfTime()) return true;
    // What stands before a comma at the start is the day's name in some other language.
    const bool isFirst = count_ == 0 && !hasDay_ && !hasTime_ && !hasForeignDay_;
    if (!isFirst || at(end) != ',') return false;
    hasForeignDay_ = true;
    at_ = end;
    return true;
}

bool LenientReader::readPartOfDay() {
    const std::string_view word = partOfDayAt(at_);
    if (isTwelveHour_ || word.empty()) return false;
    isTwelveHour_ = true;
    at_ += word.size();
    const bool isMorning = word[0] == 'a';
    if (isMorning && parts_.hour == 12) parts_.hour = 0;
    if (!isMorning && parts_.hour < 12) parts_.hour += 12;
    return true;
}

bool LenientReader::readMonthName(std::string_view word) {
    for (const MonthName& month : kMonthNames) {
        if (word.size() < month.least || !month.name.starts_with(word)) continue;
        const char next = at(at_ + word.size());
        return addItem({.value = month.month, .separator = next == '\0' ? ' ' : next});
    }
    return false;
}

bool LenientReader::readRelativeDay(std::string_view word) {
    const auto* day = std::ranges::find(kRelativeDays, word, &RelativeDay::name);
    if (day == std::end(kRelativeDays) || hasDay_ || count_ != 0) return false;
    namespace chrono = std::chrono;
    const DateParts now = today();
    const chrono::year_month_day shifted(
        chrono::sys_days(chrono::year(now.year) / now.month / now.day) + chrono::days(day->days));
    return setDay(static_cast<int>(shifted.year()),
                  static_cast<int>(static_cast<unsigned>(shifted.month())),
                  static_cast<int>(static_cast<unsigned>(shifted.day())));
}

// Behind an offset, the words only say it again.
bool LenientReader::readZoneOfTime() {
    if (parts_.offset && text_[at_ - 1] == ' ') {
        at_ += wordAt(at_).size();
        return true;
    }
    if (parts_.offset) return false;
    const std::string_view rest = text_.substr(at_);
    for (const ZonePhrase& zone : kZonePhrases) {
        if (!rest.starts_with(zone.words) || isFoldedLetter(at(at_ + zone.words.size()))) continue;
        parts_.offset = zone.minutes * 60;
        at_ += zone.words.size();
        return true;
    }
    parts_.offset = readZone(text_, at_);
    return parts_.offset.has_value();
}

bool LenientReader::addItem(const Item& item) {
    if (count_ == items_.size() || hasDay_) return false;
    items_[count_++] = item;
    return true;
}

bool LenientReader::canOnlyBeYear(const Item& item) {
    return item.isYear || item.digits == 4 || item.value > 31;
}

int LenientReader::yearOf(const Item& item) {
    return item.digits == 4 ? item.value : fullYear(item.value);
}

bool LenientReader::setDay(int year, int month, int day) {
    namespace chrono = std::chrono;
    const chrono::year_month_day date{chrono::year(year),
                                      chrono::month(static_cast<unsigned>(month)),
                                      chrono::day(static_cast<unsigned>(day))};
    if (!date.ok()) return false;
    parts_.year = year;
    parts_.month = month;
    parts_.day = day;
    hasDay_ = true;
    return true;
}

bool LenientReader::settleDay() {
    if (hasDay_) return true;
    for (std::size_t i = 0; i < count_; ++i) {
        if (items_[i].digits == 0) return settleNamedMonth(i);
    }
    return settleNumbers();
}

bool LenientReader::settleNamedMonth(std::size_t month) {
    const int monthNumber = items_[month].value;
    if (count_ == 1) return false;
    const Item& first = items_[month == 0 ? 1 : 0];
    if (count_ == 2) {
        return canOnlyBeYear(first) ? setDay(yearOf(first), monthNumber, 1)
                                    : setDay(today().year, monthNumber, first.value);
    }
    const Item& second = items_[month == 2 ? 1 : 2];
    if (first.digits == 0 || second.digits == 0 || first.digits == 3 || second.digits == 3) {
        return false;
    }
    const bool yearFirst = canOnlyBeYear(first) && !canOnlyBeYear(second);
    const Item& year = yearFirst ? first : second;
    const Item& day = yearFirst ? second : first;
    return setDay(yearOf(year), monthNumber, day.value);
}

bool LenientReader::settleNumbers() {
    const auto [a, b, c] = items_;
    if (count_ == 1) return a.digits == 4 && setDay(a.value, 1, 1);
    if (count_ == 2) {
        if (a.digits == 4 && b.digits == 3) {  // the day of the year
            namespace chrono = std::chrono;
            const chrono::year_month_day day(chrono::sys_days(chrono::year(a.value) / 1 / 1) +
                                             chrono::days(b.value - 1));
            return static_cast<int>(day.year()) == a.value &&
                   setDay(a.value, static_cast<int>(static_cast<unsigned>(day.month())),
                          static_cast<int>(static_cast<unsigned>(day.day())));
        }
        return a.digits == 4 ? setDay(a.value, b.value, 1)
                             : b.digits == 4 && setDay(b.value, a.value, 1);
    }
    if (count_ != 3 || a.digits == 3 || b.digits == 3 || c.digits == 3) return false;
    if (canOnlyBeYear(a)) return setDay(yearOf(a), b.value, c.value);
    const int year = yearOf(c);
    const bool monthFirst = a.separator == '/' && isTwelveHour_;
    return monthFirst ? setDay(year, a.value, b.value) || setDay(year, b.value, a.value)
                      : setDay(year, b.value, a.value) || setDay(year, a.value, b.value);
}

}  // namespace

std::optional<Date> lenientDate(std::string_view text) {
    if (text.ends_with(kFirstDayOfYear)) text.remove_suffix(kFirstDayOfYear.size());
    return LenientReader(text).read();
}

}  // namespace corvy
