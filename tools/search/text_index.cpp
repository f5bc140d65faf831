#include "tools/search/text_index.h"

#include <filesystem>
#include <unordered_map>
#include <utility>

#include "foundation/json.h"
#include "foundation/text.h"
#include "tools/files.h"
#include "tools/import/record_folder.h"

namespace corvy::tools {

namespace {

using platform::Database;
using platform::Statement;

constexpr std::int64_t kVersion = 1;
// "Corv", by which the program knows its files.
constexpr std::int64_t kApplication = 0x436F7276;
constexpr const char* kTables = R"(
    CREATE TABLE files(
        id INTEGER PRIMARY KEY,
        folder TEXT NOT NULL, path TEXT NOT NULL,
        kind TEXT NOT NULL, type TEXT NOT NULL, size INTEGER, modified TEXT NOT NULL,
        record TEXT NOT NULL,
        UNIQUE(folder, path));
    CREATE VIRTUAL TABLE texts USING fts5(
        name, title, body, tokenize = "unicode61 remove_diacritics 2");
    PRAGMA application_id = 1131377270;
    PRAGMA user_version = 1;
)";
static_assert(kApplication == 1131377270 && kVersion == 1);

// Around the words of a snippet. Texts seldom hold these control characters, and lose nothing but
// a mark if they do.
constexpr char16_t kMarkStart = u'\x02';
constexpr char16_t kMarkEnd = u'\x03';

std::int64_t pragma(Database& database, const char* name) {
    Statement statement = database.prepare(std::string("PRAGMA ") + name);
    return statement.step() ? statement.integer(0) : 0;
}

// What a record says of its file and its contents; how long the import took and how it numbered
// its files does not count.
std::string stateOf(Dictionary record) {
    record.remove(u"seconds");
    for (const std::u16string_view part : {u"text", u"thumbnail"}) {
        PropertyList* entry = record.find(part);
        if (Dictionary* dictionary = entry ? entry->dictionary() : nullptr) {
            dictionary->remove(u"file");
        }
    }
    return jsonOf(std::move(record), {.plainDictionaries = true});
}

std::vector<SnippetPart> partsOf(std::u16string_view snippet) {
    std::vector<SnippetPart> parts;
    bool found = false;
    while (!snippet.empty()) {
        const std::size_t end =
            std::min(snippet.find(found ? kMarkEnd : kMarkStart), snippet.size());
        if (end > 0) parts.push_back({std::u16string(snippet.substr(0, end)), found});
        snippet.remove_prefix(std::min(end + 1, snippet.size()));
        found = !found;
    }
    return parts;
}

// The records of one folder on their way into the database.
class FolderUpdate {
public:
    FolderUpdate(Database& database, std::string folder)
        : folder_(std::move(folder)),
          database_(database),
          insertFile_(
              database.prepare("INSERT INTO files(folder, path, kind, type, size, modified, "
                               "record) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)")),
          insertText_(database.prepare("INSERT INTO texts(rowid, name, title, body) "
                                       "VALUES(?1, ?2, ?3, ?4)")),
          deleteFile_(database.prepare("DELETE FROM files WHERE id = ?1")),
          deleteText_(database.prepare("DELETE FROM texts WHERE rowid = ?1")) {
        Statement known = database.prepare("SELECT id, path, record FROM files WHERE folder = ?1");
        known.bind(1, folder_);
        while (known.step()) {
            known_[std::string(known.text(1))] = {known.integer(0), std::string(known.text(2))};
        }
    }

    IndexChanges run() {
        forEachRecord(folder_, [this](const std::string& path, const Dictionary& record) {
            update(path, record);
        });
        for (const auto& [path, stale] : known_) {
            remove(stale.id);
            ++changes_.removed;
        }
        return changes_;
    }

private:
    struct KnownFile {
        std::int64_t id;
        std::string state;
    };

    void update(const std::string& path, const Dictionary& record) {
        std::string state = stateOf(record);
        if (const auto known = known_.extract(path)) {
            if (known.mapped().state == state) {
                ++changes_.unchanged;
                return;
            }
            remove(known.mapped().id);
            ++changes_.replaced;
        } else {
            ++changes_.added;
        }
        insert(path, record, state);
    }

    void insert(const std::string& path, const Dictionary& record, const std::string& state) {
        const auto field = [&](std::u16string_view key) {
            return toUtf8(stringOf(record, key).value_or(u""));
        };
        insertFile_.bind(1, folder_).bind(2, path).bind(3, field(u"kind")).bind(4, field(u"type"));
        const PropertyList* size = record.find(u"size");
        if (const auto bytes = size ? size->integer() : std::nullopt) {
            insertFile_.bind(5, *bytes);
        } else {
            insertFile_.bindNull(5);
        }
        insertFile_.bind(6, field(u"modified")).bind(7, state).run();
        insertText_.bind(1, database_.lastInsertedRow())
            .bind(2, std::filesystem::path(path).filename().string())
            .bind(3, toUtf8(titleOf(record)));
        bindBody(record);
        insertText_.run();
    }

    void bindBody(const Dictionary& record) {
        const Dictionary* text = partOf(record, u"text");
        const auto file = text ? stringOf(*text, u"file") : std::nullopt;
        if (file) {
            const FileContents contents =
                readFile(folder_ + "/" + toUtf8(*file), {.regularOnly = true});
            if (contents.error != 0) ++changes_.textless;
            insertText_.bind(4, contents.bytes.chars());
        } else {
            insertText_.bind(4, toUtf8(text ? stringOf(*text, u"string").value_or(u"") : u""));
        }
    }

    void remove(std::int64_t id) {
        deleteFile_.bind(1, id).run();
        deleteText_.bind(1, id).run();
    }

    std::string folder_;
    Database& database_;
    Statement insertFile_, insertText_, deleteFile_, deleteText_;
    std::unordered_map<std::string, KnownFile> known_;  // without a record so far
    IndexChanges changes_;
};

std::string conditionsOf(const SearchQuery& query) {
    std::string conditions;
    for (std::size_t i = 0; i < query.kinds.size(); ++i) {
        conditions += (i == 0 ? " AND kind IN (?" : ", ?") + std::to_string(10 + i);
    }
    if (!query.kinds.empty()) conditions += ")";
    if (!query.from.empty()) conditions += " AND modified >= ?3";
    if (!query.before.empty()) conditions += " AND modified < ?4 AND modified <> ''";
    if (query.least) conditions += " AND size >= ?5";
    if (query.most) conditions += " AND size <= ?6";
    return conditions;
}

}  // namespace

TextIndex::TextIndex(const std::string& file, Database::Access access) : database_(file, access) {
    const std::int64_t application = pragma(database_, "application_id");
    const bool isEmpty = application == 0 && pragma(database_, "schema_version") == 0;
    if (isEmpty && access == Database::Access::write) {
        platform::Transaction transaction(database_);
        database_.execute(kTables);
        transaction.commit();
    } else if (application != kApplication || pragma(database_, "user_version") != kVersion) {
        throw platform::DatabaseError(file + ": not an index of this version");
    }
}

IndexChanges TextIndex::update(const std::string& folder) {
    platform::Transaction transaction(database_);
    const IndexChanges changes =
        FolderUpdate(database_, std::filesystem::canonical(folder).string()).run();
    transaction.commit();
    return changes;
}

std::vector<SearchHit> TextIndex::search(const SearchQuery& query) {
    // Names and titles weigh more. Snippets are cut for the rows of the answer only.
    Statement statement = database_.prepare(
        "WITH best AS (SELECT texts.rowid AS id, bm25(texts, 4.0, 4.0, 1.0) AS score "
        "FROM texts JOIN files ON files.id = texts.rowid WHERE texts MATCH ?1" +
        conditionsOf(query) +
        " ORDER BY score LIMIT ?2) "
        "SELECT path, kind, type, modified, size, title, "
        "snippet(texts, 2, char(2), char(3), '…', 24) "
        "FROM best JOIN texts ON texts.rowid = best.id JOIN files ON files.id = best.id "
        "WHERE texts MATCH ?1 ORDER BY best.score");
    statement.bind(1, query.expression).bind(2, static_cast<std::int64_t>(query.limit));
    if (!query.from.empty()) statement.bind(3, query.from);
    if (!query.before.empty()) statement.bind(4, query.before);
    if (query.least) statement.bind(5, *query.least);
    if (query.most) statement.bind(6, *query.most);
    for (std::size_t i = 0; i < query.kinds.size(); ++i) {
        statement.bind(static_cast<int>(10 + i), query.kinds[i]);
    }
    std::vector<SearchHit> hits;
    while (statement.step()) {
        SearchHit hit;
        hit.path = statement.text(0);
        hit.kind = statement.text(1);
        hit.type = statement.text(2);
        hit.modified = statement.text(3);
        if (!statement.isNull(4)) hit.size = statement.integer(4);
        hit.title = statement.text(5);
        hit.snippet = partsOf(fromUtf8(statement.text(6)));
        hits.push_back(std::move(hit));
    }
    return hits;
}

}  // namespace corvy::tools
