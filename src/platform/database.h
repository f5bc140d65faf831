// A database in one file, by SQLite.
//
// Text is UTF-8 or whatever bytes a path has. Faults of the library are thrown as DatabaseError.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace corvy::platform {

struct DatabaseError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// One SQL statement, made once and run as often as wanted. Lives no longer than its database.
class Statement {
public:
    // Values of the parameters ?1, ?2, ... They stay until they are set again.
    Statement& bind(int parameter, std::string_view text);
    Statement& bind(int parameter, std::int64_t number);
    Statement& bindNull(int parameter);

    // Goes on to the next row; false at the end, after which the statement may be run again.
    bool step();
    // Runs it to its end, rows unseen.
    void run();
    // Leaves the rows that are left.
    void reset();

    // Columns of the row, from 0. The text is valid until the next step.
    std::string_view text(int column) const;
    std::int64_t integer(int column) const;
    bool isNull(int column) const;

private:
    friend class Database;
    struct Closer {
        void operator()(sqlite3_stmt* statement) const noexcept;
    };
    explicit Statement(sqlite3_stmt* statement) : statement_(statement) {}
    void check(int code) const;

    std::unique_ptr<sqlite3_stmt, Closer> statement_;
};

class Database {
public:
    enum class Access { read, write };
    // For writing the file is made when there is none.
    Database(const std::string& path, Access access);

    // Any number of statements, without parameters.
    void execute(const char* statements);
    Statement prepare(std::string_view statement);
    // The key of the row that was inserted last.
    std::int64_t lastInsertedRow() const;

private:
    struct Closer {
        void operator()(sqlite3* database) const noexcept;
    };
    std::unique_ptr<sqlite3, Closer> database_;
};

// What is done until `commit`, or nothing of it.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

private:
    Database* database_;  // null when committed
};

}  // namespace corvy::platform
