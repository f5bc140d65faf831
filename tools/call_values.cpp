#include "tools/call_values.h"

#include <charconv>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

#include "foundation/json.h"
#include "foundation/text.h"
#include "tools/command.h"
#include "tools/files.h"

namespace corvy::tools {

namespace {

std::optional<std::int64_t> integerOf(std::string_view text) {
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

std::string_view nameOfType(RemoteType type) {
    switch (type) {
        case RemoteType::flag: return "true or false";
        case RemoteType::size: return "an integer";
        case RemoteType::object: break;
    }
    return "a value";
}

bool fits(const RemoteValue& value, RemoteType type) {
    switch (type) {
        case RemoteType::flag: return value && value->boolean();
        case RemoteType::size: return value && value->integer();
        case RemoteType::object: break;
    }
    return true;
}

RemoteValue valueOf(std::string_view text) {
    if (text == "null") return std::nullopt;
    if (text == "true") return PropertyList(true);
    if (text == "false") return PropertyList(false);
    if (text.starts_with("str:")) return PropertyList(pathFromBytes(text.substr(4)));
    if (text.starts_with("url:")) return PropertyList(Url{fromUtf8(text.substr(4))});
    if (text.starts_with('@')) {
        const std::string path(text.substr(1));
        FileContents contents = readFile(path);
        if (contents.error != 0) {
            throw std::runtime_error(path + ": " + reasonOf(contents.error));
        }
        return PropertyList(std::move(contents.bytes));
    }
    if (const auto integer = integerOf(text)) return PropertyList(*integer);
    return PropertyList(pathFromBytes(text));
}

// A name for a file that holds the bytes of an entry: its key, reduced to what is safe in a name.
std::string fileNameFor(std::u16string_view key, std::set<std::string>& taken) {
    std::string name;
    for (const char16_t unit : key) {
        const bool isSafe = (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') ||
                            (unit >= u'a' && unit <= u'z') || unit == u'-' || unit == u'_';
        name += isSafe ? static_cast<char>(unit) : '_';
    }
    if (name.empty()) name = "result";
    std::string unique = name;
    for (int i = 2; !taken.insert(unique).second; ++i) unique = name + "-" + std::to_string(i);
    return unique;
}

}  // namespace

RemoteValue argumentOf(std::string_view text, const RemoteArgument& wanted) {
    RemoteValue value = valueOf(text);
    if (fits(value, wanted.type)) return value;
    throw std::invalid_argument("argument " + wanted.name + " must be " +
                                std::string(nameOfType(wanted.type)) + ", not " +
                                std::string(text));
}

std::vector<RemoteValue> argumentsOf(const RemoteMethod& method,
                                     const std::vector<std::string>& texts) {
    if (texts.size() != method.arguments.size()) {
        std::string names;
        for (const RemoteArgument& argument : method.arguments) names += " " + argument.name;
        throw std::invalid_argument(method.selector + " takes" + names);
    }
    std::vector<RemoteValue> values;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const RemoteArgument& wanted = method.arguments[i];
        RemoteValue value = argumentOf(texts[i], wanted);
        const bool isRelative = value && value->string() && !texts[i].starts_with("str:") &&
                                wanted.name == "path" && !texts[i].starts_with('/') &&
                                !texts[i].empty();
        if (isRelative) {
            value = pathFromBytes((std::filesystem::current_path() / texts[i]).string());
        }
        values.push_back(std::move(value));
    }
    return values;
}

std::string jsonOfResult(const RemoteValue& result, const ResultStyle& style) {
    JsonStyle json{.pretty = style.pretty};
    std::set<std::string> taken;
    if (!style.outFolder.empty()) {
        json.bytesForm = [&](std::u16string_view key, const Bytes& bytes) {
            const std::string name =
                fileNameFor(key, taken) + "." + std::string(extensionForBytes(bytes.chars()));
            const std::string path = style.outFolder + "/" + name;
            if (const int error = writeFile(path, bytes.chars())) {
                throw std::runtime_error("cannot write " + path + ": " + reasonOf(error));
            }
            return "{\"file\": " + jsonString(fromUtf8(name)) +
                   ", \"length\": " + std::to_string(bytes.size()) + "}";
        };
    }
    return jsonOf(result ? *result : PropertyList(), json);
}

std::string_view extensionForBytes(std::string_view bytes) {
    using namespace std::literals;
    static constexpr std::pair<std::string_view, std::string_view> kSignatures[] = {
        {"%PDF-"sv, "pdf"},        {"rtfd\0\0\0\0"sv, "rtfd"}, {"{\\rtf"sv, "rtf"},
        {"II*\0"sv, "tiff"},       {"MM\0*"sv, "tiff"},        {"\x89PNG\r\n"sv, "png"},
        {"\xFF\xD8\xFF"sv, "jpg"},
    };
    for (const auto& [signature, extension] : kSignatures) {
        if (bytes.starts_with(signature)) return extension;
    }
    return "bin";
}

}  // namespace corvy::tools
