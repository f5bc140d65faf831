// corvystack index and search: records made searchable.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/date.h"
#include "foundation/json.h"
#include "foundation/text.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/import/record.h"
#include "tools/search/query_text.h"
#include "tools/search/text_index.h"

namespace corvy::tools {

namespace {

using Access = platform::Database::Access;

struct SearchOptions {
    std::vector<std::string> words;
    std::string database;
    SearchQuery query;
    std::string after, before;
    std::int64_t larger = -1, smaller = -1;  // -1: no bound
    bool json = false;
};

// In the form of records, so that times compare as texts do; none for what is no date.
std::optional<std::string> recordTime(const std::string& text) {
    const auto moment = date(fromUtf8(text));
    if (!moment) return std::nullopt;
    return timeText({static_cast<std::time_t>(moment->seconds), 0});
}

// Text of the snippet on one line.
std::string oneLine(std::u16string_view text) {
    std::string line = toUtf8(text);
    bool blank = false;
    std::erase_if(line, [&](char& unit) {
        const bool wasBlank = blank;
        blank = static_cast<unsigned char>(unit) <= ' ';
        if (blank) unit = ' ';
        return blank && wasBlank;
    });
    return line;
}

void printHit(const SearchHit& hit, bool onTerminal) {
    const std::string_view start = onTerminal ? "\x1B[1m" : "[", end = onTerminal ? "\x1B[0m" : "]";
    print((onTerminal ? shownPath(hit.path) : hit.path) + "\n");
    if (!hit.title.empty()) print("    " + oneLine(fromUtf8(hit.title)) + "\n");
    std::string line;
    for (const SnippetPart& part : hit.snippet) {
        if (part.found) line += start;
        line += oneLine(part.text);
        if (part.found) line += end;
    }
    if (!line.empty()) print("    " + line + "\n");
}

void printJson(const SearchHit& hit) {
    Dictionary json;
    json.set(u"path", pathFromBytes(hit.path));
    json.set(u"kind", fromUtf8(hit.kind));
    json.set(u"type", fromUtf8(hit.type));
    if (hit.size) json.set(u"size", *hit.size);
    if (!hit.modified.empty()) json.set(u"modified", fromUtf8(hit.modified));
    if (!hit.title.empty()) json.set(u"title", fromUtf8(hit.title));
    Array snippet;
    for (const SnippetPart& part : hit.snippet) {
        Dictionary entry{{u"text", part.text}};
        if (part.found) entry.set(u"found", true);
        snippet.emplace_back(std::move(entry));
    }
    json.set(u"snippet", std::move(snippet));
    print(jsonOf(std::move(json), {.plainDictionaries = true}) + "\n");
}

int complainOfDate(const std::string& text) {
    complain("not a date: " + text);
    return kUsage;
}

int search(SearchOptions& options) {
    std::string words;
    for (const std::string& word : options.words) words += (words.empty() ? "" : " ") + word;
    const auto expression = matchExpression(fromUtf8(words));
    if (!expression) {
        complain("nothing to look for: a query needs a word that is not excluded");
        return kUsage;
    }
    SearchQuery& query = options.query;
    query.expression = *expression;
    if (!options.after.empty()) {
        const auto time = recordTime(options.after);
        if (!time) return complainOfDate(options.after);
        query.from = *time;
    }
    if (!options.before.empty()) {
        const auto time = recordTime(options.before);
        if (!time) return complainOfDate(options.before);
        query.before = *time;
    }
    if (options.larger >= 0) query.least = options.larger;
    if (options.smaller >= 0) query.most = options.smaller;

    const auto hits = TextIndex(options.database, Access::read).search(query);
    const bool onTerminal = ::isatty(STDOUT_FILENO) != 0;
    for (const SearchHit& hit : hits) options.json ? printJson(hit) : printHit(hit, onTerminal);
    return hits.empty() ? kFailed : kDone;
}

}  // namespace

int indexCommand(int argc, char** argv) {
    CLI::App app(
        "Makes the records of folders that `corvystack import --out` has written searchable. "
        "Only what\nhas changed since the last time is written.",
        "corvystack index");
    std::vector<std::string> folders;
    std::string database;
    app.add_option("DIR", folders, "the folders with records.jsonl")
        ->required()
        ->check(CLI::ExistingDirectory);
    app.add_option("--db", database, "the index; made when there is none")
        ->required()
        ->check(checkNotEmpty)
        ->type_name("FILE");
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    TextIndex index(database, Access::write);
    IndexChanges changes;
    for (const std::string& folder : folders) changes += index.update(folder);
    std::fprintf(stderr,
                 "%" PRIu64 " added, %" PRIu64 " replaced, %" PRIu64 " removed, %" PRIu64
                 " unchanged\n",
                 changes.added, changes.replaced, changes.removed, changes.unchanged);
    if (changes.textless > 0) {
        complain(std::to_string(changes.textless) + " texts could not be read");
        return kFailed;
    }
    return kDone;
}

int searchCommand(int argc, char** argv) {
    SearchOptions options;
    CLI::App app("Finds files by their names, titles and texts in an index.", "corvystack search");
    app.add_option("QUERY", options.words, "what to look for")->required();
    app.add_option("--db", options.database, "the index that `corvystack index` has made")
        ->required()
        ->check(checkNotEmpty)
        ->type_name("FILE");
    app.add_option("--kind", options.query.kinds, "only files of this kind, such as pdf or image")
        ->type_name("KIND");
    app.add_option("--after", options.after, "changed on this date or later")->type_name("DATE");
    app.add_option("--before", options.before, "changed before this date")->type_name("DATE");
    app.add_option("--larger", options.larger, "at least so many bytes, such as 500K or 2MB")
        ->transform(CLI::AsSizeValue(false))
        ->type_name("SIZE");
    app.add_option("--smaller", options.smaller, "at most so many bytes")
        ->transform(CLI::AsSizeValue(false))
        ->type_name("SIZE");
    app.add_option("--limit", options.query.limit, "hits at most")
        ->check(CLI::Range(std::size_t{1}, std::size_t{1'000'000}))
        ->type_name("N")
        ->capture_default_str();
    app.add_flag("--json", options.json, "one JSON object a hit");
    app.footer(
        "All words must occur, in any form of case and accents. \"Several words\" in quotation "
        "marks stand\ntogether, word* begins with it, -word must not occur (write -- before a "
        "query that begins with\nit), OR lets either side do.");
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    return search(options);
}

}  // namespace corvy::tools
