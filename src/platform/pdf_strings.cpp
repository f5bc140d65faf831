#include "platform/pdf_strings.h"

#include <chrono>
#include <cstdint>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

constexpr char16_t kUndefined = 0xFFFD;
constexpr char16_t kEscape = 0x1B;
// A language mark is a language code of two letters, with or without a country of two, between two
// escapes.
constexpr std::size_t kLongestLanguage = 5;

// ISO 32000, annex D: where the document encoding is not Latin-1.
constexpr char16_t kEncodingFrom18[] = {0x02D8, 0x02C7, 0x02C6, 0x02D9,
                                        0x02DD, 0x02DB, 0x02DA, 0x02DC};
constexpr char16_t kEncodingFrom80[] = {
    0x2022, 0x2020, 0x2021, 0x2026, 0x2014, 0x2013, 0x0192, 0x2044, 0x2039, 0x203A,     0x2212,
    0x2030, 0x201E, 0x201C, 0x201D, 0x2018, 0x2019, 0x201A, 0x2122, 0xFB01, 0xFB02,     0x0141,
    0x0152, 0x0160, 0x0178, 0x017D, 0x0131, 0x0142, 0x0153, 0x0161, 0x017E, kUndefined, 0x20AC,
};
static_assert(std::size(kEncodingFrom18) == 0x20 - 0x18);
static_assert(std::size(kEncodingFrom80) == 0xA1 - 0x80);

char16_t unitOfDocumentEncoding(std::uint8_t byte) {
    if (byte >= 0x18 && byte < 0x20) return kEncodingFrom18[byte - 0x18];
    if (byte >= 0x80 && byte < 0xA1) return kEncodingFrom80[byte - 0x80];
    return byte;
}

std::u16string decodeUtf16(std::string_view bytes, bool bigEndian) {
    std::u16string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<std::uint8_t>(bytes[i]);
        const auto second = static_cast<std::uint8_t>(bytes[i + 1]);
        text.push_back(
            static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first));
    }
    return text;
}

void removeLanguageMarks(std::u16string& text) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == kEscape) {
            const auto mark = std::u16string_view(text).substr(i + 1, kLongestLanguage + 1);
            const std::size_t length = mark.find(kEscape);
            if (length != std::u16string_view::npos) {
                i += length + 1;
                continue;
            }
        }
        text[kept++] = text[i];
    }
    text.resize(kept);
}

// Reads fields of decimal digits from the front of a text.
class DigitReader {
public:
    explicit DigitReader(std::u16string_view text) : rest_(text) {}

    // The next field of exactly `digits` digits; `missing` when no digit comes next. A field that
    // is cut short, or out of its range, spoils the whole.
    int field(std::size_t digits, int missing, int least, int most) {
        if (rest_.empty() || !isDigit(rest_.front())) return missing;
        int value = 0;
        for (std::size_t i = 0; i < digits; ++i) {
            if (i == rest_.size() || !isDigit(rest_[i])) return spoil();
            value = value * 10 + (rest_[i] - u'0');
        }
        rest_.remove_prefix(digits);
        return value < least || value > most ? spoil() : value;
    }
    bool skip(char16_t unit) {
        if (rest_.empty() || rest_.front() != unit) return false;
        rest_.remove_prefix(1);
        return true;
    }
    // All was read, and all of it was well formed.
    bool done() const { return ok_ && rest_.empty(); }

private:
    static bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }
    int spoil() {
        ok_ = false;
        rest_ = {};
        return 0;
    }

    std::u16string_view rest_;
    bool ok_ = true;
};

}  // namespace

std::u16string textOfPdfString(std::string_view bytes) {
    std::u16string text;
    if (bytes.starts_with("\xFE\xFF")) {
        text = decodeUtf16(bytes.substr(2), true);
        removeLanguageMarks(text);
    } else if (bytes.starts_with("\xFF\xFE")) {
        text = decodeUtf16(bytes.substr(2), false);
        removeLanguageMarks(text);
    } else if (bytes.starts_with("\xEF\xBB\xBF")) {
        text = fromUtf8(bytes.substr(3));
        removeLanguageMarks(text);
    } else {
        text.reserve(bytes.size());
        for (const char byte : bytes) {
            text.push_back(unitOfDocumentEncoding(static_cast<std::uint8_t>(byte)));
        }
    }
    while (!text.empty() && text.back() == 0) text.pop_back();
    return text;
}

std::optional<Date> dateOfPdfText(std::u16string_view text) {
    if (text.starts_with(u"D:")) text.remove_prefix(2);
    while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
    if (text.empty()) return std::nullopt;

    DigitReader reader(text);
    const int year = reader.field(4, -1, 0, 9999);
    const int month = reader.field(2, 1, 1, 12);
    const int day = reader.field(2, 1, 1, 31);
    const int hour = reader.field(2, 0, 0, 23);
    const int minute = reader.field(2, 0, 0, 59);
    const int second = reader.field(2, 0, 0, 60);  // leap seconds
    const bool ahead = reader.skip(u'+');
    const bool behind = !ahead && reader.skip(u'-');
    // Some programs write an offset behind the Z as well, always zero.
    if (!ahead && !behind) reader.skip(u'Z');
    const int zoneHour = reader.field(2, 0, 0, 23);
    reader.skip(u'\'');
    const int zoneMinute = reader.field(2, 0, 0, 59);
    reader.skip(u'\'');
    if (!reader.done() || year < 0) return std::nullopt;

    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok()) return std::nullopt;
    const double days = static_cast<double>(std::chrono::sys_days(date).time_since_epoch().count());
    const double zone = (zoneHour * 60 + zoneMinute) * 60 * (behind ? -1 : 1);
    return Date{days * 86400 + hour * 3600 + minute * 60 + second - zone};
}

}  // namespace corvy::platform
