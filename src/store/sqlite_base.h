// The embedded library in the store's terms: one connection to the file of a base, its statements, and its
// errors as failures of a step with one clear line. Nothing outside the embedded engine includes this.
#pragma once

#include <cstdint>
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace corvalissement {

// A connection. `shown` is the path that messages name. Not shared between threads.
class SqliteConnection {
public:
    explicit SqliteConnection(std::string shown) : shown_(std::move(shown)) {}
    ~SqliteConnection() { close(); }
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    // Opens `name` with the flags of the library; writers of other connections are waited for. The name is a
    // whole path without links, so that the library takes it for nothing but a path.
    void open(const std::string& name, int flags, int patience_ms);
    void close() noexcept;

    // Runs statements that give no row.
    void run(const char* statements) const;

    // StepFailure (ERR_STORE): what the error number of the library means for a person.
    [[noreturn]] void fail(int result, std::string_view record = "") const;

    [[nodiscard]] sqlite3* handle() const noexcept { return handle_; }
    [[nodiscard]] const std::string& shown() const noexcept { return shown_; }

private:
    void trust_nothing() const;

    std::string shown_;
    sqlite3* handle_ = nullptr;
};

// A prepared statement, kept for many runs. It must end before its connection closes.
class SqliteStatement {
public:
    SqliteStatement() = default;
    ~SqliteStatement() { finish(); }
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    [[nodiscard]] bool prepared() const noexcept { return handle_ != nullptr; }
    void prepare(const SqliteConnection& connection, const std::string& text);
    void finish() noexcept;

    // Values by position from 1. The bytes must stay in place until `reset`.
    void bind(int position, std::string_view bytes);
    void bind(int position, std::int64_t number);

    // True when a row is there. A failure resets the statement first, so that it can be run again; `record`
    // is what it names.
    bool step(std::string_view record = "");
    void reset() noexcept;

    // Columns of the row, from 0. A view is good until the next step or reset.
    [[nodiscard]] std::string_view bytes(int column) const;
    [[nodiscard]] std::int64_t number(int column) const { return sqlite3_column_int64(handle_, column); }

private:
    const SqliteConnection* connection_ = nullptr;
    sqlite3_stmt* handle_ = nullptr;
};

// Resets a statement when a run ends, however it ends: a statement left standing keeps its state of the base.
class StatementRun {
public:
    explicit StatementRun(SqliteStatement& statement) : statement_(statement) {}
    ~StatementRun() { statement_.reset(); }
    StatementRun(const StatementRun&) = delete;
    StatementRun& operator=(const StatementRun&) = delete;

private:
    SqliteStatement& statement_;
};

} // namespace corvalissement
