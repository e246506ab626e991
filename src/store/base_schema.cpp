#include "store/base_schema.h"

#include "data/keys.h"
#include "platform/failures.h"
#include "store/sqlite_base.h"

#include <map>
#include <set>

namespace corvalissement {

namespace {

bool holds_large_records(std::string_view file) {
    return file == files::BALANCEGENE || file == files::BALANCEGENEARCHIVE || file == files::BALANCEGENETEMPO;
}

// What the library notes of each thing in a base: its kind, its table and the statement that made it.
struct Thing {
    std::string kind, table, statement;
    friend bool operator==(const Thing&, const Thing&) = default;
};
using Things = std::map<std::string, Thing, std::less<>>; // by name

[[noreturn]] void refuse(const SqliteConnection& connection) {
    throw StepFailure(ERR_STORE,
                      connection.shown() + " : la base contient autre chose que ce que ce programme y met",
                      connection.shown());
}

// Stops the library after more steps than any base needs to tell its shape: some seconds.
class BoundedLook {
public:
    explicit BoundedLook(const SqliteConnection& connection) : handle_(connection.handle()) {
        sqlite3_progress_handler(
            handle_, STEPS, [](void* left) { return --*static_cast<int*>(left) < 0 ? 1 : 0; }, &left_);
    }
    ~BoundedLook() { sqlite3_progress_handler(handle_, 0, nullptr, nullptr); }
    BoundedLook(const BoundedLook&) = delete;
    BoundedLook& operator=(const BoundedLook&) = delete;

private:
    static constexpr int STEPS = 10'000;
    sqlite3* handle_;
    int left_ = 5'000;
};

Things things_of(const SqliteConnection& connection) {
    Things things;
    std::set<std::int64_t> roots; // no two trees may share their pages
    SqliteStatement list;
    list.prepare(connection, "SELECT name,type,tbl_name,sql,rootpage FROM sqlite_schema");
    while (list.step()) {
        const Thing thing{std::string(list.bytes(1)), std::string(list.bytes(2)), std::string(list.bytes(3))};
        const bool first = things.emplace(list.bytes(0), thing).second;
        if (!first || list.number(4) < 2 || !roots.insert(list.number(4)).second) refuse(connection);
    }
    return things;
}

Things directory() {
    return {{"fichiers", {"table", "fichiers", DIRECTORY_TABLE}},
            {"sqlite_autoindex_fichiers_1", {"index", "fichiers", ""}}};
}

void add_table(Things& things, std::int64_t number, std::string_view name) {
    const std::string table = table_name(number);
    const std::vector<std::string> statements = table_statements(number, name);
    things.emplace(table, Thing{"table", table, statements[0]});
    if (statements.size() > 1) things.emplace(table + "c", Thing{"index", table, statements[1]});
}

} // namespace

std::string table_name(std::int64_t number) { return "f" + std::to_string(number); }

std::vector<std::string> table_statements(std::int64_t number, std::string_view name) {
    const std::string table = table_name(number);
    if (!holds_large_records(name))
        return {"CREATE TABLE " + table + "(cle BLOB PRIMARY KEY, texte BLOB NOT NULL) WITHOUT ROWID"};
    return {"CREATE TABLE " + table + "(cle BLOB NOT NULL, texte BLOB NOT NULL)",
            "CREATE UNIQUE INDEX " + table + "c ON " + table + "(cle)"};
}

void check_schema(const SqliteConnection& connection) {
    const BoundedLook bounded(connection);
    connection.run("BEGIN"); // another process may be adding a file
    const Things things = things_of(connection);
    Things expected = directory();
    for (const auto& [name, thing] : expected) {
        const auto there = things.find(name);
        if (there == things.end() || there->second != thing) refuse(connection);
    }
    SqliteStatement list;
    list.prepare(connection, "SELECT numero,nom FROM fichiers WHERE typeof(nom)='blob'");
    while (expected.size() <= things.size() && list.step())
        add_table(expected, list.number(0), list.bytes(1));
    if (things != expected) refuse(connection);
    connection.run("COMMIT");
}

} // namespace corvalissement
