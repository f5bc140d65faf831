#include "importers/support/content_lines.h"

#include <algorithm>

#include "foundation/text.h"
#include "importers/support/decoding.h"

namespace corvy {

namespace {

using namespace std::literals;

char upperCased(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

std::string upperCased(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) c = upperCased(c);
    return upper;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char upper = upperCased(c);
    return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

std::string fromQuotedPrintable(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '=' && i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
        if (low >= 0) i += 2;
        bytes += low >= 0 ? static_cast<char>(high * 16 + low) : text[i];
    }
    return bytes;
}

// The place of the first of the characters outside of quotation marks; the length without one.
std::size_t findUnquoted(std::string_view text, std::string_view characters) {
    bool isQuoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') isQuoted = !isQuoted;
        if (!isQuoted && characters.find(text[i]) != characters.npos) return i;
    }
    return text.size();
}

std::pair<std::string, std::string> parameterOf(std::string_view text) {
    const std::size_t equals = text.find('=');
    if (equals == text.npos) {
        const std::string value = upperCased(text);
        const bool isEncoding = value == "QUOTED-PRINTABLE" || value == "BASE64";
        return {isEncoding ? "ENCODING" : "TYPE", value};
    }
    const std::string_view value =
        trimBytes(text.substr(equals + 1), [](char c) { return c == '"' || c == ' '; });
    return {upperCased(text.substr(0, equals)), std::string(value)};
}

// None for what has no name or no value.
std::optional<ContentLine> parsed(std::string_view line) {
    std::size_t end = std::min(line.find_first_of(":;"), line.size());
    std::string_view name = line.substr(0, end);
    name.remove_prefix(name.rfind('.') + 1);
    if (name.empty()) return std::nullopt;

    ContentLine found;
    found.name = upperCased(name);
    while (end < line.size() && line[end] == ';') {
        line.remove_prefix(end + 1);
        end = findUnquoted(line, ":;");
        if (found.parameters.size() == kMostParameters) continue;
        found.parameters.push_back(parameterOf(line.substr(0, end)));
    }
    if (end == line.size()) return std::nullopt;
    found.value = line.substr(end + 1);
    return found;
}

bool isQuotedPrintable(const ContentLine& line) {
    return upperCased(line.parameter("ENCODING")) == "QUOTED-PRINTABLE";
}

std::u16string decodedValue(const ContentLine& line) {
    return decodedText(line.value, fromUtf8(line.parameter("CHARSET")));
}

}  // namespace

std::string_view ContentLine::parameter(std::string_view parameterName) const {
    for (const auto& [key, held] : parameters) {
        if (key == parameterName) return held;
    }
    return {};
}

std::u16string ContentLine::text() const {
    return std::move(parts(u'\0').front());
}

std::vector<std::u16string> ContentLine::parts(char16_t separator) const {
    const std::u16string whole = decodedValue(*this);
    std::vector<std::u16string> found(1);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        if (whole[i] == u'\\' && i + 1 < whole.size()) {
            ++i;
            const bool isLineEnd = whole[i] == u'n' || whole[i] == u'N';
            found.back() += isLineEnd ? u'\n' : whole[i];
        } else if (whole[i] == separator && separator != u'\0') {
            found.emplace_back();
        } else {
            found.back() += whole[i];
        }
    }
    return found;
}

ContentLineReader::ContentLineReader(std::string_view bytes) : rest_(bytes) {
    if (bytes.starts_with("\xFF\xFE"sv) || bytes.starts_with("\xFE\xFF"sv)) {
        converted_ = toUtf8(decodedText(bytes).text);
        rest_ = converted_;
    } else if (bytes.starts_with("\xEF\xBB\xBF"sv)) {
        rest_.remove_prefix(3);
    }
}

std::string_view ContentLineReader::takePhysicalLine() {
    const std::size_t end = std::min(rest_.find_first_of("\r\n"), rest_.size());
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(end);
    rest_.remove_prefix(rest_.starts_with("\r\n") ? 2 : rest_.empty() ? 0 : 1);
    return line;
}

std::string ContentLineReader::takeLine() {
    std::string line(takePhysicalLine().substr(0, kLongestContentLine));
    while (rest_.starts_with(' ') || rest_.starts_with('\t')) {
        const std::string_view fold = takePhysicalLine().substr(1);
        line += fold.substr(0, kLongestContentLine - line.size());
    }
    return line;
}

std::optional<ContentLine> ContentLineReader::next() {
    while (!rest_.empty()) {
        auto line = parsed(takeLine());
        if (!line) continue;
        if (isQuotedPrintable(*line)) {
            // Such values have line breaks of their own kind, behind "=".
            while (line->value.ends_with('=')) {
                line->value.pop_back();
                const std::size_t room = kLongestContentLine - line->value.size();
                line->value += takePhysicalLine().substr(0, room);
            }
            line->value = fromQuotedPrintable(line->value);
        }
        return line;
    }
    return std::nullopt;
}

}  // namespace corvy
