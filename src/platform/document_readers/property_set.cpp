#include "platform/document_readers/property_set.h"

#include <algorithm>
#include <optional>
#include <string>

#include "foundation/converters.h"
#include "foundation/text.h"
#include "platform/document_readers/little_endian.h"
#include "platform/document_readers/xml_part.h"
#include "platform/rich_text/rich_document.h"
#include "platform/rich_text/rtf_encoding.h"

namespace corvy::platform {

namespace {

namespace attribute = document_attribute;

struct Key {
    std::uint32_t identifier;
    const char16_t* key;
};
constexpr Key kSummary[] = {
    {2, attribute::kTitle},         {3, attribute::kSubject},           {4, attribute::kAuthor},
    {5, attribute::kKeywords},      {6, attribute::kComment},           {8, attribute::kEditor},
    {12, attribute::kCreationTime}, {13, attribute::kModificationTime},
};
constexpr Key kDocumentSummary[] = {
    {2, attribute::kCategory},
    {14, attribute::kManager},
    {15, attribute::kCompany},
};

std::u16string wideText(LittleEndian bytes) {
    std::u16string text;
    for (std::size_t i = 0; i + 2 <= bytes.size() && bytes.u16(i) != 0; i += 2) {
        text += static_cast<char16_t>(bytes.u16(i));
    }
    return text;
}

std::u16string narrowText(LittleEndian bytes, Encoding encoding) {
    std::size_t length = 0;
    while (length < bytes.size() && bytes.u8(length) != 0) ++length;
    auto decoded = tryToCreateStringWithEncoding(bytes.part(0, length).span(), encoding);
    return decoded ? std::move(decoded->text) : std::u16string();
}

// The first section of a set.
class Section {
public:
    explicit Section(LittleEndian set) {
        constexpr std::size_t kOffsetOfFirst = 44;
        section_ = set.from(set.u32(kOffsetOfFirst));
        constexpr std::uint32_t kMost = 1024;
        count_ = std::min(section_.u32(4), kMost);
        const int codePage = value(1).u16(4);
        constexpr int kUtf16 = 1200;
        isWide_ = codePage == kUtf16;
        const Encoding told = encodingOfCodePage(codePage);
        if (told != Encoding::kInvalid) encoding_ = told;
    }

    std::optional<std::u16string> text(std::uint32_t identifier) const {
        constexpr std::uint32_t kNarrow = 30, kWide = 31;
        const LittleEndian found = value(identifier);
        const std::uint32_t length = found.u32(4);
        if (found.u32(0) == kWide) return wideText(found.part(8, std::size_t{length} * 2));
        if (found.u32(0) != kNarrow) return std::nullopt;
        if (isWide_) return wideText(found.part(8, length));
        return narrowText(found.part(8, length), encoding_);
    }

    // Of those that count something; none for 0, which programs write that have not counted.
    std::optional<std::int64_t> integer(std::uint32_t identifier) const {
        constexpr std::uint32_t kInteger = 3;
        const LittleEndian found = value(identifier);
        const std::uint32_t number = found.u32(4);
        constexpr std::uint32_t kMost = 0x7FFFFFFF;
        if (found.u32(0) != kInteger || number == 0 || number > kMost) return std::nullopt;
        return std::int64_t{number};
    }

    std::optional<Date> time(std::uint32_t identifier) const {
        constexpr std::uint32_t kTime = 64;
        constexpr double kTicksPerSecond = 1e7, kSecondsUntil1970 = 11'644'473'600;
        const LittleEndian found = value(identifier);
        const auto ticks = static_cast<double>(found.u64(4));
        if (found.u32(0) != kTime || ticks == 0) return std::nullopt;
        return Date{static_cast<double>(
            static_cast<std::int64_t>(ticks / kTicksPerSecond - kSecondsUntil1970))};
    }

private:
    LittleEndian value(std::uint32_t identifier) const {
        for (std::size_t i = 0; i < count_; ++i) {
            if (section_.u32(8 + 8 * i) == identifier) {
                return section_.from(section_.u32(12 + 8 * i));
            }
        }
        return {};
    }

    LittleEndian section_;
    std::uint32_t count_ = 0;
    bool isWide_ = false;
    Encoding encoding_ = Encoding::kWindows1252;
};

template <std::size_t N>
void readKeys(const Bytes& set, const Key (&keys)[N], Dictionary& attributes) {
    if (set.empty()) return;
    const Section section{LittleEndian(set.span())};
    for (const Key& key : keys) {
        if (const auto text = section.text(key.identifier)) {
            setTextAttribute(attributes, key.key, *text);
        } else if (const auto time = section.time(key.identifier)) {
            attributes.set(key.key, *time);
        }
    }
}

}  // namespace

DocumentFacts summaryInformation(const CompoundFile& file) {
    constexpr std::uint32_t kPageCount = 14, kApplication = 18;
    DocumentFacts facts;
    const Bytes summary = file.stream(u"\x05SummaryInformation");
    readKeys(summary, kSummary, facts.attributes);
    readKeys(file.stream(u"\x05"
                         u"DocumentSummaryInformation"),
             kDocumentSummary, facts.attributes);
    if (summary.empty()) return facts;
    const Section section{LittleEndian(summary.span())};
    facts.application = trimWhite(section.text(kApplication).value_or(u""));
    facts.pageCount = section.integer(kPageCount);
    return facts;
}

}  // namespace corvy::platform
