#include "markup/markup_decoding.h"

#include <utility>

#include "foundation/converters.h"
#include "foundation/file_contents.h"
#include "markup/charset_names.h"
#include "markup/header_values.h"
#include "markup/markup_charset.h"

namespace corvy {

namespace {

using enum Encoding;

// What is tried in their place when the converter of these sets makes nothing of the bytes.
constexpr Encoding kJapanese[] = {kShiftJIS_X0213, kMacJapanese, kDOS932,      kEUC_JP,
                                  kISO2022JP,      kISO2022JP_1, kISO2022JP_2, kISO2022JP_3};
constexpr Encoding kChinese[] = {kEUC_TW, kHZ_GB_2312, kGBK, kBig5, kBig5_HKSCS};

Encoding declaredEncoding(const MarkupDataOptions& options) {
    if (options.encodingName) return CFEncodingFromName(*options.encodingName);
    if (options.contentType) return headerEncoding(*options.contentType);
    return kInvalid;
}

std::optional<std::u16string> textOf(std::optional<DecodedText> decoded) {
    if (!decoded) return std::nullopt;
    return std::move(decoded->text);
}

std::optional<DecodedText> firstThatConverts(std::span<const std::byte> data,
                                             std::span<const Encoding> encodings) {
    std::optional<DecodedText> decoded;
    for (const Encoding encoding : encodings) {
        if ((decoded = tryToCreateStringWithEncoding(data, encoding))) break;
    }
    return decoded;
}

}  // namespace

std::optional<std::u16string> stringWithMarkupData(std::span<const std::byte> data,
                                                   const MarkupDataOptions& options) {
    if (data.empty()) return std::u16string();
    Encoding working = declaredEncoding(options);
    const bool declared = working != kInvalid;
    if (!declared) working = options.defaultEncoding;

    std::optional<DecodedText> first = tryToCreateStringWithEncoding(data, working);
    const Encoding inMarkup = first ? markupEncoding(first->text) : kInvalid;
    if (inMarkup == working || inMarkup == kASCII || inMarkup == kInvalid) {
        return textOf(std::move(first));
    }

    if (inMarkup == kWindows1251 && !(declared && working == kUTF8)) {
        first.reset();
        working = kWindows1250;
    } else if (inMarkup == kBig5) {
        first.reset();
        working = kBig5_HKSCS;
    }
    const std::size_t firstCount = first ? first->replacements : 0;
    std::optional<DecodedText> second = tryToCreateStringWithEncoding(data, inMarkup);
    if (second) {
        // The sets of our own are trusted: what they lack does not count against them.
        const bool isOwn = inMarkup == kKamenicky || inMarkup == kKoi8cs2;
        const std::size_t secondCount = isOwn ? 0 : second->replacements;
        bool firstWins = false;
        if (secondCount > 0) {
            firstWins = secondCount > firstCount && first && declared;
        } else if (first && declared && working == kUTF8 && firstCount == 0 &&
                   (inMarkup == kISO8859_1 || inMarkup == kWindows1251)) {
            firstWins = first->text.size() <= second->text.size();
        }
        return textOf(std::move(firstWins ? first : second));
    }

    if (inMarkup == kShiftJIS) first = firstThatConverts(data, kJapanese);
    if (inMarkup == kEUC_CN) first = firstThatConverts(data, kChinese);
    if (!first) first = tryToCreateStringWithEncoding(data, working);
    if (!first) first = tryToCreateStringWithEncoding(data, options.defaultEncoding);
    return textOf(std::move(first));
}

std::optional<std::u16string> stringWithMarkupContentsOfFile(std::u16string_view path,
                                                             Encoding defaultEncoding) {
    const std::optional<Bytes> content = contentsOfFile(path);
    if (!content || content->chars().starts_with("bplist")) return std::nullopt;
    return stringWithMarkupData(*content, {.defaultEncoding = defaultEncoding});
}

std::optional<std::u16string> stringWithMarkedUtf16(std::span<const std::byte> data) {
    const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
    if (!bytes.starts_with("\xFF\xFE") && !bytes.starts_with("\xFE\xFF")) return std::nullopt;
    return textOf(tryToCreateStringWithEncoding(data, kUTF16)).value_or(std::u16string());
}

}  // namespace corvy
