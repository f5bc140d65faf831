// A full-text index over the records that `import` writes, in one SQLite file.
//
// The index holds the records of any number of folders, each under its absolute path. Words are
// compared without case and diacritics.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"
#include "platform/database.h"

namespace corvy::tools {

struct IndexChanges {
    std::uint64_t added = 0;
    std::uint64_t replaced = 0;
    std::uint64_t removed = 0;
    std::uint64_t unchanged = 0;
    std::uint64_t textless = 0;  // records among them whose text file could not be read

    IndexChanges& operator+=(const IndexChanges& other) {
        added += other.added;
        replaced += other.replaced;
        removed += other.removed;
        unchanged += other.unchanged;
        textless += other.textless;
        return *this;
    }
};

// What is looked for, and among which files.
struct SearchQuery {
    std::string expression = {};          // of matchExpression
    std::vector<std::string> kinds = {};  // any of them; empty: every kind
    // Times of change as records hold them; empty: no bound.
    std::string from = {}, before = {};
    std::optional<std::int64_t> least = {}, most = {};  // bytes
    std::size_t limit = 20;
};

// A stretch of text around the words that were found.
struct SnippetPart {
    std::u16string text;
    bool found = false;  // one of the words
};

struct SearchHit {
    std::string path;  // bytes
    std::string kind, type, modified;
    std::optional<std::int64_t> size;
    std::string title;  // empty when the document has none
    std::vector<SnippetPart> snippet;
};

class TextIndex {
public:
    // Throws platform::DatabaseError when the file cannot be opened, or is something else.
    TextIndex(const std::string& file, platform::Database::Access access);

    // Makes the index agree with the folder's records.jsonl; of several records of a path the last
    // counts. Only what has changed is written, all of it or nothing. Throws std::runtime_error
    // when there are no records to read.
    IndexChanges update(const std::string& folder);

    // The best hits first.
    std::vector<SearchHit> search(const SearchQuery& query);

private:
    platform::Database database_;
};

}  // namespace corvy::tools
