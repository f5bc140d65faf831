#include "platform/property_list_reader.h"

#include <algorithm>
#include <string>

#include "foundation/converters.h"
#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "platform/property_list/readers.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

std::string_view charsOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// UTF-16 by its mark, or by the zero beside a first character of markup.
std::optional<Encoding> wideEncodingOf(std::string_view bytes) {
    for (const std::string_view start : {"\xFF\xFE"sv, "\xFE\xFF"sv, "<\0"sv, "\0<"sv}) {
        if (bytes.starts_with(start)) return Encoding::kUTF16;
    }
    return std::nullopt;
}

// Only the charset that the declaration names is of interest, and only if it is not UTF-8.
bool declaresLatin1(std::string_view text) {
    if (!text.starts_with("<?xml")) return false;
    std::string declaration(text.substr(0, std::min<std::size_t>(text.find("?>"), 200)));
    std::ranges::transform(declaration, declaration.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return declaration.find("iso-8859-1\"") != std::string::npos ||
           declaration.find("iso-8859-1'") != std::string::npos;
}

std::string utf8Of(std::string_view bytes, Encoding encoding) {
    // Without a mark the converter takes the big-endian order.
    std::string swapped;
    if (bytes.starts_with("<\0"sv)) {
        swapped = "\xFF\xFE" + std::string(bytes);
        bytes = swapped;
    }
    const auto decoded = tryToCreateStringWithEncoding(std::as_bytes(std::span(bytes)), encoding);
    return decoded ? toUtf8(decoded->text) : std::string();
}

std::string_view withoutLeadingSpace(std::string_view text) {
    const auto start = std::ranges::find_if_not(text, isPropertyListSpace);
    return text.substr(static_cast<std::size_t>(start - text.begin()));
}

// "<" also opens the bytes of the old form: what follows it tells.
bool looksLikeXml(std::string_view text) {
    text = withoutLeadingSpace(text);
    if (!text.starts_with('<')) return false;
    for (const char* name : {"?", "!", "plist", "dict", "array", "string", "data", "date",
                             "integer", "real", "true", "false"}) {
        if (text.substr(1).starts_with(name)) return true;
    }
    return false;
}

bool isBinary(std::string_view bytes) {
    return bytes.starts_with("bplist0");
}

std::optional<PropertyList> readUtf8(std::string_view text) {
    if (text.starts_with(kUtf8Mark)) text.remove_prefix(kUtf8Mark.size());
    if (!looksLikeXml(text)) return readTextPropertyList(text);
    if (declaresLatin1(text)) return readXmlPropertyList(utf8Of(text, Encoding::kISO8859_1));
    return readXmlPropertyList(text);
}

}  // namespace

PropertyListFormat propertyListFormat(std::span<const std::byte> bytes) {
    const std::string_view chars = charsOf(bytes);
    if (isBinary(chars)) return PropertyListFormat::binary;
    constexpr std::size_t kHead = 4096;
    std::string head(chars.substr(0, kHead));
    if (const auto wide = wideEncodingOf(head)) head = utf8Of(head, *wide);
    std::string_view text = head;
    if (text.starts_with(kUtf8Mark)) text.remove_prefix(kUtf8Mark.size());
    return looksLikeXml(text) ? PropertyListFormat::xml : PropertyListFormat::text;
}

std::optional<PropertyList> readPropertyList(const Bytes& bytes) {
    if (bytes.size() > kMaxPropertyListFile) return std::nullopt;
    if (isBinary(bytes.chars())) return readBinaryPropertyList(bytes);
    if (const auto wide = wideEncodingOf(bytes.chars())) {
        return readUtf8(utf8Of(bytes.chars(), *wide));
    }
    return readUtf8(bytes.chars());
}

std::optional<PropertyList> readPropertyListFile(std::u16string_view path) {
    const auto content = contentsOfFile(path, {.most = kMaxPropertyListFile});
    return content ? readPropertyList(*content) : std::nullopt;
}

}  // namespace corvy::platform
