// The engine that keeps a base in one file. Each file of records is a table of its own, numbered in the
// directory `fichiers`, so that any text can name a file. Keys and records are bytes, ordered byte by byte.
// Small records lie in the key's own tree; those of the balance files, which grow with the entries of an
// account, lie apart from their keys, so that a walk over keys doesn't wade through them.
#include "files/output_file.h"
#include "platform/failures.h"
#include "store/base_file.h"
#include "store/base_schema.h"
#include "store/new_base.h"
#include "store/page_guard.h"
#include "store/record_locks.h"
#include "store/sqlite_base.h"
#include "store/store.h"

#include <deque>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <unistd.h>

namespace corvalissement {

namespace {

constexpr std::uintmax_t LONG_LOG =
    1U << 20U; // a log of this size slows readers enough to be worth a checkpoint

// The name of a file as the library takes it with options: every byte that could be one is spelled out.
std::string immutable_name(const std::string& path) {
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string name = "file:";
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= 'a' && byte <= 'z') || byte == '/' || byte == '.' || byte == '-' ||
                           byte == '_';
        if (plain) {
            name.push_back(c);
        } else {
            name.push_back('%');
            name.push_back(DIGITS[byte >> 4U]);
            name.push_back(DIGITS[byte & 15U]);
        }
    }
    return name + "?immutable=1";
}

// Lets the changes of the library come across pages that were never written, as long as it lives.
class Changing {
public:
    explicit Changing(const SqliteConnection& connection) : connection_(connection) { let(1); }
    ~Changing() { let(0); }
    Changing(const Changing&) = delete;
    Changing& operator=(const Changing&) = delete;

private:
    void let(int holes) { sqlite3_file_control(connection_.handle(), "main", GUARD_HOLES, &holes); }
    const SqliteConnection& connection_;
};

class EmbeddedStore final : public Store {
public:
    // `path` is a whole path, `shown` the base as the user knows it. A base that is being made has no log
    // and no second user, and is worth nothing before it is published: nothing in it is brought to the disk.
    EmbeddedStore(const std::string& path, const std::string& shown, int patience_ms,
                  BaseLog log = BaseLog::kept)
        : path_(path), log_(log), guarded_(path), connection_(shown), locks_(path) {
        open(patience_ms);
    }
    ~EmbeddedStore() override {
        rollback();
        files_.clear();
        find_.finish();
    }
    EmbeddedStore(const EmbeddedStore&) = delete;
    EmbeddedStore& operator=(const EmbeddedStore&) = delete;

    FileId file(std::string_view name) override {
        const auto known = ids_.find(name);
        if (known != ids_.end()) return known->second;
        files_.emplace_back().name = name;
        ids_.emplace(std::string(name), files_.size() - 1);
        return files_.size() - 1;
    }

    std::vector<std::string> file_names() override;
    bool read(FileId file, std::string_view key, std::string& record) override;
    void write(FileId file, std::string_view key, std::string_view record) override;
    bool erase(FileId file, std::string_view key) override;
    void clear(FileId file) override;
    void scan(FileId file, std::string_view from, const Visit& visit) override;
    void scan_keys(FileId file, std::string_view from, const VisitKey& visit) override;

    void begin() override;
    void commit() override;
    void rollback() noexcept override;
    void begin_reading() override;
    void end_reading() override;

    // Ends what is under way. StepFailure when a change could not be taken back: without a log that leaves
    // the base neither as it was nor as it was to be.
    void require_sound();

    bool lock(std::string_view file, std::string_view key) override { return locks_.lock(file, key); }
    void unlock(std::string_view file, std::string_view key) override { locks_.unlock(file, key); }

private:
    // A file of records and its statements, each prepared when it is first run.
    struct File {
        std::string name;
        std::int64_t number = 0; // of its table; 0 as long as the base has none
        SqliteStatement read, write, erase, scan, keys;
        bool scanned = false; // `scan` or `keys` is standing in a walk
    };

    [[noreturn]] void fail(const char* reason) const {
        throw StepFailure(ERR_STORE, connection_.shown() + " : " + reason, connection_.shown());
    }
    void open(int patience_ms);
    void open_connection(const std::string& name, int flags, int patience_ms);
    void first_look();
    bool unchanging() const;

    bool exists(File& file);
    void make_table(File& file);
    static SqliteStatement& ready(SqliteStatement& statement, const SqliteConnection& connection,
                                  const std::string& text);
    template <class Row>
    void walk(FileId id, std::string_view from, bool with_records, Row&& row);
    template <class Change>
    void change(FileId id, std::string_view key, Change&& make);

    void begin_state();
    void end_state() noexcept;
    void resume_state() noexcept;
    void require_state();
    void shorten_log();

    std::string record_name(const File& file, std::string_view key) const {
        return key.empty() ? file.name : file.name + " " + std::string(key);
    }

    std::string path_;
    BaseLog log_;
    bool alone_ = false; // no other may use the base meanwhile
    GuardedFile guarded_;
    SqliteConnection connection_;
    RecordLocks locks_;
    SqliteStatement find_;
    std::deque<File> files_; // statements don't move
    std::map<std::string, FileId, std::less<>> ids_;
    std::vector<FileId> made_; // tables that the open transaction made
    bool in_transaction_ = false;
    int rolled_back_ = SQLITE_OK; // the first rollback that failed
    bool state_kept_ = false;     // a read transaction is open
    std::size_t reading_depth_ = 0;
};

// --- opening ---

void EmbeddedStore::open_connection(const std::string& name, int flags, int patience_ms) {
    connection_.close();
    connection_.open(name, flags, patience_ms);
    check_base_header(connection_, log_);
    // None of these looks at the base; most of the settings below do.
    connection_.run("PRAGMA cell_size_check=ON;PRAGMA temp_store=MEMORY");
    if (alone_ || log_ == BaseLog::none) connection_.run("PRAGMA locking_mode=EXCLUSIVE");
    first_look();
    connection_.run("PRAGMA cache_size=-2048;PRAGMA journal_size_limit=67108864;PRAGMA secure_delete=OFF");
    connection_.run(log_ == BaseLog::kept ? "PRAGMA synchronous=FULL;PRAGMA mmap_size=1073741824"
                                          : "PRAGMA synchronous=OFF;PRAGMA journal_mode=MEMORY");
    find_.prepare(connection_, "SELECT numero FROM fichiers WHERE nom=?");
}

// Tells a damaged base, one that these rights don't open, one that holds what this program doesn't know.
void EmbeddedStore::first_look() {
    try {
        check_schema(connection_);
    } catch (const StepFailure&) {
        if ((sqlite3_errcode(connection_.handle()) & 0xFF) != SQLITE_CORRUPT ||
            !is_cut_short(connection_, path_))
            throw;
        fail("la base est abîmée (fichier tronqué)");
    }
    int moved = 0;
    const int result = sqlite3_file_control(connection_.handle(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    if (result == SQLITE_OK && moved != 0) fail("la base vient d'être ôtée de là");
}

void EmbeddedStore::open(int patience_ms) {
    try {
        open_connection(path_, SQLITE_OPEN_READWRITE, patience_ms);
    } catch (const StepFailure&) {
        alone_ = sqlite3_extended_errcode(connection_.handle()) == SQLITE_IOERR_SHMSIZE;
        find_.finish();
        // Where nothing can be written beside the base, not even the log of its readers, the file alone can
        // still be read, as long as it is all there is. A disk without room for the index of the log leaves
        // the base to one user at a time, who keeps that index in memory.
        if (unchanging())
            open_connection(immutable_name(path_), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, patience_ms);
        else if (alone_)
            open_connection(path_, SQLITE_OPEN_READWRITE, patience_ms);
        else
            throw;
    }
}

// True when this user may write neither the base nor its folder, and no log holds a part of it.
bool EmbeddedStore::unchanging() const {
    std::filesystem::path folder = std::filesystem::path(path_).parent_path();
    if (folder.empty()) folder = ".";
    std::error_code none;
    const std::uintmax_t log = std::filesystem::file_size(path_ + "-wal", none);
    return (none || log == 0) && ::faccessat(AT_FDCWD, folder.c_str(), W_OK, AT_EACCESS) != 0 &&
           ::faccessat(AT_FDCWD, path_.c_str(), R_OK, AT_EACCESS) == 0;
}

// --- tables and statements ---

bool EmbeddedStore::exists(File& file) {
    require_state();
    if (file.number != 0) return true;
    const StatementRun run(find_);
    find_.bind(1, file.name);
    if (find_.step(file.name)) file.number = find_.number(0);
    return file.number != 0;
}

// REQUIRES an open write transaction.
void EmbeddedStore::make_table(File& file) {
    SqliteStatement add;
    add.prepare(connection_, "INSERT INTO fichiers(nom) VALUES(?)");
    add.bind(1, file.name);
    static_cast<void>(add.step(file.name));
    add.finish();
    file.number = sqlite3_last_insert_rowid(connection_.handle());
    made_.push_back(ids_.find(file.name)->second);
    for (const std::string& statement : table_statements(file.number, file.name))
        connection_.run(statement.c_str());
}

SqliteStatement& EmbeddedStore::ready(SqliteStatement& statement, const SqliteConnection& connection,
                                      const std::string& text) {
    if (!statement.prepared()) statement.prepare(connection, text);
    return statement;
}

std::vector<std::string> EmbeddedStore::file_names() {
    std::map<std::string, std::string> tables;
    SqliteStatement list;
    list.prepare(connection_, "SELECT nom, 'f' || numero FROM fichiers");
    while (list.step())
        tables.emplace(list.bytes(0), list.bytes(1));
    std::vector<std::string> names;
    for (const auto& [name, holder] : tables) {
        SqliteStatement first;
        first.prepare(connection_, "SELECT 1 FROM " + holder + " LIMIT 1");
        if (first.step(name)) names.push_back(name);
    }
    return names;
}

// --- reading ---

bool EmbeddedStore::read(FileId id, std::string_view key, std::string& record) {
    File& file = files_.at(id);
    if (!exists(file)) return false;
    if (!file.read.prepared())
        file.read.prepare(connection_, "SELECT texte FROM " + table_name(file.number) + " WHERE cle=?");
    const StatementRun run(file.read);
    file.read.bind(1, key);
    bool found = false;
    try {
        found = file.read.step();
    } catch (const StepFailure& failure) {
        throw StepFailure(failure.number(), failure.text(), record_name(file, key));
    }
    if (found) record.assign(file.read.bytes(0));
    return found;
}

template <class Row>
void EmbeddedStore::walk(FileId id, std::string_view from, bool with_records, Row&& row) {
    File& file = files_.at(id);
    if (!exists(file)) return;
    const std::string text = std::string("SELECT cle") + (with_records ? ",texte" : "") + " FROM " +
                             table_name(file.number) + " WHERE cle>=? ORDER BY cle";
    // A walk begun inside a visit of another one over the same file takes a statement of its own.
    SqliteStatement inner;
    const bool nested = file.scanned;
    SqliteStatement& statement = nested ? inner : with_records ? file.scan : file.keys;
    struct Standing {
        bool& flag;
        const bool before;
        ~Standing() { flag = before; }
    } const standing{file.scanned, nested};
    file.scanned = true;
    ready(statement, connection_, text);
    const std::string start(from); // a visit may change what `from` looks at
    const StatementRun run(statement);
    statement.bind(1, start);
    // Records come in order, each once: a tree in which they don't leads round in circles.
    std::string last;
    for (bool first = true; statement.step(file.name); first = false) {
        const std::string_view key = statement.bytes(0);
        if (!first && key <= last) connection_.fail(SQLITE_CORRUPT, file.name);
        last.assign(key);
        if (!row(statement)) break;
    }
}

void EmbeddedStore::scan(FileId file, std::string_view from, const Visit& visit) {
    walk(file, from, true, [&](const SqliteStatement& row) { return visit(row.bytes(0), row.bytes(1)); });
}

void EmbeddedStore::scan_keys(FileId file, std::string_view from, const VisitKey& visit) {
    walk(file, from, false, [&](const SqliteStatement& row) { return visit(row.bytes(0)); });
}

// --- writing ---

// One change, in the open transaction or in one of its own.
template <class Change>
void EmbeddedStore::change(FileId id, std::string_view key, Change&& make) {
    File& file = files_.at(id);
    const Changing changing(connection_);
    try {
        if (in_transaction_) {
            if (!exists(file)) make_table(file);
            make(file);
        } else {
            Transaction whole(*this);
            if (!exists(file)) make_table(file);
            make(file);
            whole.commit();
        }
    } catch (const StepFailure& failure) {
        throw StepFailure(failure.number(), failure.text(), record_name(file, key));
    }
}

void EmbeddedStore::write(FileId id, std::string_view key, std::string_view record) {
    change(id, key, [&](File& file) {
        SqliteStatement& statement =
            ready(file.write, connection_,
                  "INSERT INTO " + table_name(file.number) +
                      "(cle,texte) VALUES(?,?) ON CONFLICT(cle) DO UPDATE SET texte=excluded.texte");
        const StatementRun run(statement);
        statement.bind(1, key);
        statement.bind(2, record);
        static_cast<void>(statement.step());
    });
}

bool EmbeddedStore::erase(FileId id, std::string_view key) {
    if (!exists(files_.at(id))) return false;
    bool held = false;
    change(id, key, [&](File& file) {
        SqliteStatement& statement =
            ready(file.erase, connection_, "DELETE FROM " + table_name(file.number) + " WHERE cle=?");
        const StatementRun run(statement);
        statement.bind(1, key);
        static_cast<void>(statement.step());
        held = sqlite3_changes(connection_.handle()) > 0;
    });
    return held;
}

void EmbeddedStore::clear(FileId id) {
    if (!exists(files_.at(id))) return;
    change(id, "", [&](File& file) { connection_.run(("DELETE FROM " + table_name(file.number)).c_str()); });
}

// --- transactions ---

void EmbeddedStore::begin() {
    if (in_transaction_) fail("une transaction est déjà ouverte");
    end_state(); // a writer works on the newest state, not on the one being read
    try {
        connection_.run("BEGIN IMMEDIATE");
    } catch (...) {
        resume_state();
        throw;
    }
    in_transaction_ = true;
}

void EmbeddedStore::commit() {
    if (!in_transaction_) fail("aucune transaction n'est ouverte");
    // A full disk may have made the library give the whole transaction up already: nothing is there to
    // commit.
    if (sqlite3_get_autocommit(connection_.handle()) != 0) fail("la transaction a été abandonnée");
    connection_.run("COMMIT");
    in_transaction_ = false;
    made_.clear();
    resume_state();
}

void EmbeddedStore::rollback() noexcept {
    if (!in_transaction_) return;
    if (sqlite3_get_autocommit(connection_.handle()) == 0) {
        const int result = sqlite3_exec(connection_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
        if (rolled_back_ == SQLITE_OK) rolled_back_ = result;
    }
    in_transaction_ = false;
    for (const FileId id : made_) {
        File& file = files_[id];
        file.number = 0;
        for (SqliteStatement* statement : {&file.read, &file.write, &file.erase, &file.scan, &file.keys})
            statement->finish();
    }
    made_.clear();
    resume_state();
}

void EmbeddedStore::require_sound() {
    rollback();
    if (rolled_back_ != SQLITE_OK) connection_.fail(rolled_back_);
}

// --- one state for a run of reads ---

void EmbeddedStore::begin_state() {
    connection_.run("BEGIN");
    state_kept_ = true;
    try {
        // The state is taken by the first read, so one is made at once.
        const StatementRun run(find_);
        find_.bind(1, std::string_view());
        static_cast<void>(find_.step());
    } catch (...) {
        end_state();
        throw;
    }
}

void EmbeddedStore::end_state() noexcept {
    if (!state_kept_) return;
    sqlite3_exec(connection_.handle(), "COMMIT", nullptr, nullptr, nullptr);
    state_kept_ = false;
}

// Back to a kept state after a write. Should that fail, the next read tries again and tells.
void EmbeddedStore::resume_state() noexcept {
    if (reading_depth_ == 0 || in_transaction_) return;
    try {
        begin_state();
    } catch (const StepFailure&) {
        state_kept_ = false;
    }
}

void EmbeddedStore::require_state() {
    if (reading_depth_ > 0 && !in_transaction_ && !state_kept_) begin_state();
}

void EmbeddedStore::shorten_log() {
    std::error_code none;
    const std::uintmax_t size = std::filesystem::file_size(path_ + "-wal", none);
    if (none || size < LONG_LOG) return;
    // Only as far as others' readings allow, and without waiting for them: it is for speed alone.
    sqlite3_wal_checkpoint_v2(connection_.handle(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
}

void EmbeddedStore::begin_reading() {
    if (reading_depth_ == 0 && !in_transaction_) {
        shorten_log();
        begin_state();
    }
    ++reading_depth_;
}

void EmbeddedStore::end_reading() {
    if (reading_depth_ == 0 || --reading_depth_ > 0) return;
    end_state();
}

} // namespace

std::unique_ptr<Store> open_embedded_store(const std::string& path, OpenMode mode, int patience_ms) {
    const std::string whole = base_path(path);
    const BaseState state = look_at_base(whole, path);
    if (state != BaseState::present) {
        if (mode == OpenMode::must_exist)
            throw StepFailure(ERR_STORE,
                              path + (state == BaseState::missing ? " : cette base n'existe pas"
                                                                  : " : ce fichier n'est pas une base"),
                              path);
        NewBase made(whole, path);
        if (made.needed()) made.publish();
    }
    return std::make_unique<EmbeddedStore>(whole, path, patience_ms);
}

void fill_embedded_store(const std::string& path, const std::function<void(Store&)>& fill) {
    const std::string whole = base_path(path);
    NewBase made(whole, path);
    if (!made.needed()) {
        EmbeddedStore store(whole, path, WRITER_PATIENCE_MS);
        fill(store);
        return;
    }
    {
        EmbeddedStore store(made.aside(), path, WRITER_PATIENCE_MS, BaseLog::none);
        fill(store);
        store.require_sound();
    }
    made.publish();
}

} // namespace corvalissement
