#include "dbman/store/Database.h"

#include <sqlite3.h>

namespace ponmgr::dbman {

namespace {

// Another program may read or write the file for a moment, a person with the sqlite3 shell say.
constexpr int kBusyMilliseconds = 2000;

[[noreturn]] void failOn(sqlite3* opened) {
    throw StoreError(opened == nullptr ? "out of memory" : sqlite3_errmsg(opened));
}

}  // namespace

void Database::Close::operator()(sqlite3* opened) const {
    sqlite3_close_v2(opened);
}

Database::Database(const std::string& file, Access access) {
    const int flags =
        access == Access::readOnly ? SQLITE_OPEN_READONLY : static_cast<int>(SQLITE_OPEN_READWRITE);
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(file.c_str(), &opened, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    connection.reset(opened);
    if (result != SQLITE_OK) {
        failOn(opened);
    }
    sqlite3_busy_timeout(opened, kBusyMilliseconds);
}

void Database::run(const char* sql) {
    if (sqlite3_exec(connection.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        failOn(connection.get());
    }
}

std::int64_t Database::numberOf(const char* sql) {
    std::int64_t number = 0;
    Statement statement(*this, sql);
    statement.each([&] { number = statement.number(0); });
    return number;
}

std::size_t Database::changedRows() const {
    return static_cast<std::size_t>(sqlite3_changes(connection.get()));
}

Transaction::Transaction(Database& used) : database(used) {
    database.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (open) {
        try {
            database.run("ROLLBACK");
        } catch (const StoreError&) {  // NOLINT(bugprone-empty-catch)
            // Some failures have taken everything back already.
        }
    }
}

void Transaction::commit() {
    database.run("COMMIT");
    open = false;
}

void Statement::Finalize::operator()(sqlite3_stmt* prepared) const {
    sqlite3_finalize(prepared);
}

Statement::Reset::~Reset() {
    sqlite3_reset(statement.statement.get());
    sqlite3_clear_bindings(statement.statement.get());
}

Statement::Statement(Database& used, const char* sql) : database(used) {
    sqlite3_stmt* prepared = nullptr;
    const int result = sqlite3_prepare_v2(database.connection.get(), sql, -1, &prepared, nullptr);
    statement.reset(prepared);
    check(result);
}

std::int64_t Statement::number(int column) const {
    return sqlite3_column_int64(statement.get(), column);
}

std::string Statement::text(int column) const {
    // As a blob, so that a zero byte in it is no end.
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement.get(), column));
    const auto length = static_cast<std::size_t>(sqlite3_column_bytes(statement.get(), column));
    return bytes == nullptr ? std::string() : std::string(bytes, length);
}

bool Statement::isNull(int column) const {
    return sqlite3_column_type(statement.get(), column) == SQLITE_NULL;
}

void Statement::bind(int index, std::int64_t value) {
    check(sqlite3_bind_int64(statement.get(), index, value));
}

void Statement::bind(int index, std::string_view value) {
    // A text without an address would be no value at all.
    const char* bytes = value.empty() ? "" : value.data();
    check(sqlite3_bind_text64(statement.get(), index, bytes, value.size(), SQLITE_STATIC,
                              SQLITE_UTF8));
}

void Statement::bind(int index, std::nullptr_t) {
    check(sqlite3_bind_null(statement.get(), index));
}

bool Statement::step() {
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        failOn(database.connection.get());
    }
    return result == SQLITE_ROW;
}

void Statement::check(int result) const {
    if (result != SQLITE_OK) {
        failOn(database.connection.get());
    }
}

}  // namespace ponmgr::dbman
