// The database component as the system sees it: a session, its files, their records. What stands behind
// these interfaces (a store on disk, in memory, a server) is made in server/ or by an embedding host.
//
// All calls are synchronous: when a call returns, what it did is done. One thread.
//
// Failures throw StepFailure. Two numbers are part of the vocabulary, because callers test for them.
#pragma once

#include "data/dyn_array.h"
#include "platform/failures.h"

#include <memory>
#include <string>
#include <string_view>

namespace corvalissement {

inline constexpr int ERR_NOT_FOUND = -2147221493; // 0x8004000b, the file holds no record of that key
inline constexpr int ERR_HELD = -2147221482;      // 0x80040016, another user holds the record

class TarvexFile;

// One record: its key and its multi-valued text. Read and counted like a DynArray. `file` is where DBWrite
// puts it; it must outlive the record.
class TarvexRecord : public DynArray {
public:
    TarvexRecord() = default;

    [[nodiscard]] const std::string& key() const noexcept { return key_; }
    void bind(TarvexFile* file, std::string_view key) {
        file_ = file;
        key_.assign(key);
    }

    // The record stands in its file when this returns.
    void DBWrite();

private:
    TarvexFile* file_ = nullptr;
    std::string key_;
};

class TarvexFile {
public:
    virtual ~TarvexFile() = default;
    [[nodiscard]] virtual const std::string& name() const = 0;

    // Reads the record of `key` into `slot`, which keeps what it held when this fails (ERR_NOT_FOUND).
    virtual void DBRead(std::string_view key, TarvexRecord& slot) = 0;

    // The same, and other users are kept off until the session ends; ERR_HELD when another holds it.
    virtual void DBReadLock(std::string_view key, TarvexRecord& slot) = 0;

    // A blank record of that key, read from nothing; it overwrites at DBWrite.
    [[nodiscard]] virtual TarvexRecord DBNew(std::string_view key) = 0;

    virtual void write(const TarvexRecord& record) = 0;
};

class TarvexSession {
public:
    virtual ~TarvexSession() = default;

    [[nodiscard]] virtual std::shared_ptr<TarvexFile> DBOpen(std::string_view file_name) = 0;

    // `request`: whole text of a DynArray (1 the query, 2 the file, 3 the fields wanted). The second
    // argument is always "" and the third a work text that nobody reads. The result's attribute i is the
    // i-th record in the query's order, its values the fields asked; whole text "" when nothing matches.
    [[nodiscard]] virtual DynArray DBSelect(std::string_view request, std::string_view,
                                            std::string& work) = 0;

    // A command as whole text, or "P" in attribute 1 and a command line in attribute 2. When it returns
    // the server has run it.
    virtual void DBExecute(std::string_view request, std::string_view, std::string& work) = 0;

    // Hints around a long run of reads, nested at will: between the two the session may keep one
    // consistent view of the base and read ahead. Reads outside them are right as well, only slower.
    virtual void begin_reading() {}
    virtual void end_reading() {}
};

// Keeps the reading hints balanced, also when a failure passes.
class ReadingScope {
public:
    explicit ReadingScope(TarvexSession& session) : session_(session) { session_.begin_reading(); }
    ~ReadingScope() { session_.end_reading(); }
    ReadingScope(const ReadingScope&) = delete;
    ReadingScope& operator=(const ReadingScope&) = delete;

private:
    TarvexSession& session_;
};

// A value of a query, between double-quote characters. Throws StepFailure (ERR_QUERY) when it holds one
// itself: what the user typed could otherwise complete into another query.
[[nodiscard]] std::string quoted(std::string_view value);

// A query request, ready for DBSelect.
[[nodiscard]] std::string query_request(std::string_view query, std::string_view file,
                                        std::string_view fields);

// Command requests, ready for DBExecute: the command alone, and "P" with a command line.
[[nodiscard]] std::string bare_command(std::string_view command);
[[nodiscard]] std::string prefixed_command(std::string_view line);

// The client object of the database component; the system only hands it on, to the help.
class TarvexClient {
public:
    virtual ~TarvexClient() = default;
};

} // namespace corvalissement
