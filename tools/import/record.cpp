#include "tools/import/record.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "foundation/json.h"
#include "foundation/text.h"

namespace corvy::tools {

namespace {

struct KnownError {
    std::string_view name;
    std::string_view explanation;
};

constexpr KnownError kErrors[] = {
    {"badAnswer", "the helper's answer was not understood"},
    {"damaged", "damaged, or too much for its reader"},
    {"empty", "has no bytes"},
    {"failed", "the helper refused the operation"},
    {"helperDied", "the helper died on it"},
    {"linkToFolder", "a link to a folder is not followed"},
    {"locked", "encrypted, needs a password"},
    {"noHelper", "no helper could be started"},
    {"noText", "has no text"},
    {"notAPDF", "is not a PDF"},
    {"notFound", "no such file"},
    {"notReadable", "cannot be read"},
    {"notWritable", "its text could not be written"},
    {"specialFile", "not a file, a folder or a link to one"},
    {"textTooLong", "text too long for the record, use --out"},
    {"timeout", "took too long"},
    {"tooLarge", "too large"},
};

std::u16string asciiText(std::string_view text) {
    return {text.begin(), text.end()};
}

}  // namespace

std::string jsonOfRecord(ImportRecord record, bool pretty) {
    Dictionary json;
    json.set(u"path", pathFromBytes(record.path));
    if (!record.type.empty()) json.set(u"type", asciiText(record.type));
    if (record.size) json.set(u"size", static_cast<std::int64_t>(*record.size));
    if (record.modified) json.set(u"modified", asciiText(timeText(*record.modified)));
    if (!record.kind.empty()) json.set(u"kind", asciiText(record.kind));
    if (record.text) {
        Dictionary text;
        if (record.text->string) text.set(u"string", std::move(*record.text->string));
        if (!record.text->file.empty()) text.set(u"file", asciiText(record.text->file));
        text.set(u"length", static_cast<std::int64_t>(record.text->length));
        json.set(u"text", std::move(text));
    }
    if (record.thumbnail) {
        json.set(u"thumbnail", Dictionary{{u"file", asciiText(record.thumbnail->file)},
                                          {u"width", record.thumbnail->width},
                                          {u"height", record.thumbnail->height}});
    }
    if (!record.rich.empty()) json.set(u"rich", Dictionary{{u"file", asciiText(record.rich)}});
    if (!record.properties.empty()) json.set(u"properties", std::move(record.properties));
    if (!record.metadata.empty()) json.set(u"metadata", std::move(record.metadata));
    if (record.pages) json.set(u"pages", *record.pages);
    if (record.duration) json.set(u"duration", *record.duration);
    json.set(u"seconds", std::round(record.seconds * 1000) / 1000);
    if (!record.error.empty()) json.set(u"error", asciiText(record.error));
    return jsonOf(std::move(json), {.pretty = pretty, .plainDictionaries = true});
}

std::string timeText(const timespec& time) {
    std::tm parts{};
    if (!::gmtime_r(&time.tv_sec, &parts)) return "";
    char text[64];
    const int length =
        std::snprintf(text, sizeof text, "%04lld-%02d-%02dT%02d:%02d:%02d.%03ldZ",
                      static_cast<long long>(parts.tm_year) + 1900, parts.tm_mon + 1, parts.tm_mday,
                      parts.tm_hour, parts.tm_min, parts.tm_sec, time.tv_nsec / 1'000'000);
    return {text, static_cast<std::size_t>(length)};
}

bool isRemark(std::string_view error) {
    return error == "empty" || error == "noText" || error == "specialFile" ||
           error == "linkToFolder";
}

bool isPassing(std::string_view error) {
    return error == "noHelper" || error == "notWritable";
}

std::string_view explanationOfError(std::string_view error) {
    const auto* known = std::ranges::find(kErrors, error, &KnownError::name);
    return known != std::end(kErrors) ? known->explanation : error;
}

}  // namespace corvy::tools
