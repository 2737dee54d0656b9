#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "dbman/Errors.h"

struct sqlite3;
struct sqlite3_stmt;

namespace ponmgr::dbman {

/// The database couldn't do what was asked of it; the text holds its own words.
class StoreError : public Failure {
    using Failure::Failure;
};

/// A connection to a SQLite file. To be used by one thread at a time.
class Database {
public:
    enum class Access { readOnly, readWrite };

    /// The file is there. Throws StoreError.
    Database(const std::string& file, Access access);

    /// Runs `sql`, one statement or more, and drops what it returns. Throws StoreError.
    void run(const char* sql);
    void run(const std::string& sql) { run(sql.c_str()); }

    /// The first column of the first row of `sql`, which has one. Throws StoreError.
    std::int64_t numberOf(const char* sql);

    /// Rows that the last statement has changed.
    std::size_t changedRows() const;

private:
    friend class Statement;

    struct Close {
        void operator()(sqlite3* opened) const;
    };

    std::unique_ptr<sqlite3, Close> connection;
};

/// Everything between its construction and commit() happens or nothing of it.
class Transaction {
public:
    /// Waits for another writer. Throws StoreError.
    explicit Transaction(Database& database);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    /// Takes everything back unless it was committed.
    ~Transaction();

    /// Throws StoreError; everything is taken back then.
    void commit();

private:
    Database& database;
    bool open = true;
};

/// A prepared statement of a connection, which outlives it.
class Statement {
public:
    /// Throws StoreError.
    Statement(Database& database, const char* sql);

    /// Binds `values` in order, to ?1 and so on, and runs the statement to its end. Throws
    /// StoreError.
    template <typename... Values>
    void run(const Values&... values) {
        each([] {}, values...);
    }

    /// The same; calls `onRow` for each row, during which the columns can be read.
    template <typename OnRow, typename... Values>
    void each(const OnRow& onRow, const Values&... values) {
        const Reset reset{*this};
        int index = 0;
        (bind(++index, values), ...);
        while (step()) {
            onRow();
        }
    }

    // Columns of the row, counted from 0. What isn't there is 0 or empty.
    std::int64_t number(int column) const;
    std::string text(int column) const;
    bool isNull(int column) const;

private:
    /// Makes the statement ready for its next use, however this one ends.
    struct Reset {
        Statement& statement;
        explicit Reset(Statement& used) : statement(used) {}
        Reset(const Reset&) = delete;
        Reset& operator=(const Reset&) = delete;
        ~Reset();
    };
    struct Finalize {
        void operator()(sqlite3_stmt* prepared) const;
    };

    // A text that is bound has to stay until the statement has been run.
    void bind(int index, std::int64_t value);
    void bind(int index, std::string_view value);
    void bind(int index, std::nullptr_t);
    template <typename Value>
    void bind(int index, const std::optional<Value>& value) {
        value ? bind(index, *value) : bind(index, nullptr);
    }

    /// True: there is a row.
    bool step();
    void check(int result) const;

    Database& database;
    std::unique_ptr<sqlite3_stmt, Finalize> statement;
};

}  // namespace ponmgr::dbman
