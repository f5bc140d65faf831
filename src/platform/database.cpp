#include "platform/database.h"

#include <sqlite3.h>

namespace corvy::platform {

namespace {

// In milliseconds; another program may be writing.
constexpr int kPatience = 5000;

[[noreturn]] void fail(sqlite3* database) {
    const char* file = sqlite3_db_filename(database, "main");
    throw DatabaseError((file ? file : std::string()) + ": " + sqlite3_errmsg(database));
}

}  // namespace

void Statement::Closer::operator()(sqlite3_stmt* statement) const noexcept {
    sqlite3_finalize(statement);
}

void Statement::check(int code) const {
    if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE) return;
    fail(sqlite3_db_handle(statement_.get()));
}

Statement& Statement::bind(int parameter, std::string_view text) {
    check(sqlite3_bind_text64(statement_.get(), parameter, text.data() ? text.data() : "",
                              text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

Statement& Statement::bind(int parameter, std::int64_t number) {
    check(sqlite3_bind_int64(statement_.get(), parameter, number));
    return *this;
}

Statement& Statement::bindNull(int parameter) {
    check(sqlite3_bind_null(statement_.get(), parameter));
    return *this;
}

bool Statement::step() {
    const int code = sqlite3_step(statement_.get());
    if (code == SQLITE_ROW) return true;
    reset();
    check(code);
    return false;
}

void Statement::run() {
    while (step()) {
    }
}

void Statement::reset() {
    sqlite3_reset(statement_.get());
}

std::string_view Statement::text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
    if (!text) return {};
    return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

bool Statement::isNull(int column) const {
    return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

void Database::Closer::operator()(sqlite3* database) const noexcept {
    sqlite3_close_v2(database);
}

Database::Database(const std::string& path, Access access) {
    const int flags =
        access == Access::read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
    database_.reset(opened);
    if (code != SQLITE_OK) {
        throw DatabaseError(path + ": " + (opened ? sqlite3_errmsg(opened) : "out of memory"));
    }
    sqlite3_busy_timeout(opened, kPatience);
}

void Database::execute(const char* statements) {
    if (sqlite3_exec(database_.get(), statements, nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail(database_.get());
    }
}

Statement Database::prepare(std::string_view statement) {
    sqlite3_stmt* made = nullptr;
    if (sqlite3_prepare_v2(database_.get(), statement.data(), static_cast<int>(statement.size()),
                           &made, nullptr) != SQLITE_OK) {
        fail(database_.get());
    }
    return Statement(made);
}

std::int64_t Database::lastInsertedRow() const {
    return sqlite3_last_insert_rowid(database_.get());
}

Transaction::Transaction(Database& database) : database_(&database) {
    database.execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (!database_) return;
    try {
        database_->execute("ROLLBACK");
    } catch (const DatabaseError&) {
        // The library has undone it already, which is why we are here.
    }
}

void Transaction::commit() {
    database_->execute("COMMIT");
    database_ = nullptr;
}

}  // namespace corvy::platform
