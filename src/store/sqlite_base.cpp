#include "store/sqlite_base.h"

#include "platform/failures.h"
#include "store/page_guard.h"

#include <utility>

namespace corvalissement {

namespace {

const char* meaning(int result) {
    if (result == SQLITE_IOERR_DATA || result == SQLITE_IOERR_SHORT_READ || result == SQLITE_IOERR_CORRUPTFS)
        return "la base est abîmée";
    switch (result & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL: // a race for the locks that was lost again and again
        return "la base est tenue par un autre utilisateur";
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_FORMAT:
    case SQLITE_MISMATCH:
    case SQLITE_CONSTRAINT:
    case SQLITE_INTERRUPT: // a look at the base that found no end
    case SQLITE_ERROR:
        return "la base est abîmée"; // our statements are fixed: only the base can be wrong
    case SQLITE_FULL:
        return "le disque est plein";
    case SQLITE_READONLY:
        return "la base ne peut pas être écrite (droits)";
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_CANTOPEN:
        return "la base ne peut pas être ouverte (chemin ou droits)";
    case SQLITE_NOMEM:
        return "la mémoire manque";
    case SQLITE_TOOBIG:
        return "l'enregistrement est trop long";
    case SQLITE_NOLFS:
    case SQLITE_IOERR:
        return "le disque ne peut pas être lu ou écrit";
    default:
        return "la base ne répond pas";
    }
}

} // namespace

void SqliteConnection::open(const std::string& name, int flags, int patience_ms) {
    const char* const guard = page_guard();
    if (guard == nullptr) fail(SQLITE_NOMEM);
    const int all_flags = flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW;
    const int result = sqlite3_open_v2(name.c_str(), &handle_, all_flags, guard);
    if (result != SQLITE_OK) fail(result);
    // Before any other statement: even the first look at a base may have to wait for a writer.
    sqlite3_busy_timeout(handle_, patience_ms);
    sqlite3_extended_result_codes(handle_, 1);
    trust_nothing();
}

// Nothing that a base brings with it is run.
void SqliteConnection::trust_nothing() const {
    constexpr std::pair<int, int> SWITCHES[] = {
        {SQLITE_DBCONFIG_DEFENSIVE, 1},      {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
        {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0}, {SQLITE_DBCONFIG_ENABLE_VIEW, 0},
        {SQLITE_DBCONFIG_DQS_DDL, 0},        {SQLITE_DBCONFIG_DQS_DML, 0}};
    for (const auto& [name, value] : SWITCHES) {
        const int result = sqlite3_db_config(handle_, name, value, nullptr);
        if (result != SQLITE_OK) fail(result);
    }
}

void SqliteConnection::close() noexcept {
    if (handle_ != nullptr) sqlite3_close_v2(handle_);
    handle_ = nullptr;
}

void SqliteConnection::run(const char* statements) const {
    const int result = sqlite3_exec(handle_, statements, nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) fail(result);
}

void SqliteConnection::fail(int result, std::string_view record) const {
    throw StepFailure(ERR_STORE, shown_ + " : " + meaning(result),
                      record.empty() ? shown_ : std::string(record));
}

void SqliteStatement::prepare(const SqliteConnection& connection, const std::string& text) {
    finish();
    connection_ = &connection;
    const int result = sqlite3_prepare_v3(connection.handle(), text.data(), static_cast<int>(text.size()),
                                          SQLITE_PREPARE_PERSISTENT, &handle_, nullptr);
    if (result != SQLITE_OK) connection.fail(result);
}

void SqliteStatement::finish() noexcept {
    sqlite3_finalize(handle_);
    handle_ = nullptr;
}

void SqliteStatement::bind(int position, std::string_view bytes) {
    // An empty view may have no address, which the library would take for no value at all.
    const char* const address = bytes.empty() ? "" : bytes.data();
    const int result = sqlite3_bind_blob64(handle_, position, address, bytes.size(), SQLITE_STATIC);
    if (result != SQLITE_OK) connection_->fail(result);
}

void SqliteStatement::bind(int position, std::int64_t number) {
    const int result = sqlite3_bind_int64(handle_, position, number);
    if (result != SQLITE_OK) connection_->fail(result);
}

bool SqliteStatement::step(std::string_view record) {
    const int result = sqlite3_step(handle_);
    if (result == SQLITE_ROW) return true;
    if (result == SQLITE_DONE) return false;
    reset();
    connection_->fail(result, record);
}

void SqliteStatement::reset() noexcept { sqlite3_reset(handle_); }

std::string_view SqliteStatement::bytes(int column) const {
    const void* const address = sqlite3_column_blob(handle_, column);
    const int size = sqlite3_column_bytes(handle_, column);
    return {static_cast<const char*>(address), address == nullptr ? 0 : static_cast<std::size_t>(size)};
}

} // namespace corvalissement
