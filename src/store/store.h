// The engine interface: records of files by key, whatever keeps them. Two engines stand behind it, one in
// memory and one embedded in a file on disk; a multi-user server engine fits as well.
//
// A record is a byte text (the whole text of a DynArray); keys are UTF-8 and ordered byte by byte, which is
// the order of their characters. A file named exists and is empty until a record is written. Failures throw
// StepFailure (ERR_STORE, with a text in French that names the base). One object, one thread; several
// objects, in several processes, may have the same base open: one writes while others read.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

using FileId = std::size_t;

class Store {
public:
    virtual ~Store() = default;

    // The number of the file of that name, for the calls below; the same for the life of the store.
    [[nodiscard]] virtual FileId file(std::string_view name) = 0;

    // Names of the files that hold a record, in order.
    [[nodiscard]] virtual std::vector<std::string> file_names() = 0;

    // Copies the record of `key` into `record` (its buffer is reused). False, `record` unchanged, when the
    // file does not hold it.
    [[nodiscard]] virtual bool read(FileId file, std::string_view key, std::string& record) = 0;

    // Durable when it returns, unless a transaction is open. An existing record is replaced.
    virtual void write(FileId file, std::string_view key, std::string_view record) = 0;
    virtual bool erase(FileId file, std::string_view key) = 0;
    virtual void clear(FileId file) = 0;

    // Visits records in key order, from the first key not less than `from`, until `visit` gives false.
    // The views are good during the visit only; a visit must not write to the store.
    using Visit = std::function<bool(std::string_view key, std::string_view record)>;
    virtual void scan(FileId file, std::string_view from, const Visit& visit) = 0;

    // The same for keys alone, without reading the records.
    using VisitKey = std::function<bool(std::string_view key)>;
    virtual void scan_keys(FileId file, std::string_view from, const VisitKey& visit) = 0;

    // One write transaction: what is written between the two is seen by others, and durable, all at once
    // at `commit`; `rollback`, or the end of the process, leaves the old state.
    virtual void begin() = 0;
    virtual void commit() = 0;
    virtual void rollback() noexcept = 0;

    // Between the two, reads see one state of the base whatever others write. Nested at will. A write by
    // this object itself ends that state: the reads that follow see a new one, which holds the write.
    virtual void begin_reading() = 0;
    virtual void end_reading() = 0;

    // Takes the lock of a record for this store object, until `unlock` or its end, also when the process
    // dies. False when another holds it. What is held already can be locked again.
    [[nodiscard]] virtual bool lock(std::string_view file, std::string_view key) = 0;
    virtual void unlock(std::string_view file, std::string_view key) = 0;
};

// Keeps a transaction whole: rolled back unless committed.
class Transaction {
public:
    explicit Transaction(Store& store) : store_(store) { store_.begin(); }
    ~Transaction() {
        if (!done_) store_.rollback();
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit() {
        store_.commit();
        done_ = true;
    }

private:
    Store& store_;
    bool done_ = false;
};

enum class OpenMode { must_exist, create };

// How long a writer waits for another one before it gives up, in thousandths of a second.
inline constexpr int WRITER_PATIENCE_MS = 5000;

// Opens the base kept in the file `path`. A path that is no base, a damaged base, a base held by another
// process for longer than `patience_ms`: StepFailure (ERR_STORE) with one clear line in French. A base that
// may only be read opens for reading; writes then fail.
[[nodiscard]] std::unique_ptr<Store> open_embedded_store(const std::string& path, OpenMode mode,
                                                         int patience_ms = WRITER_PATIENCE_MS);

// Runs `fill` on the base of that path. Where there is none a new one is made, which appears under its name
// only when `fill` has returned: a failure or a kill on the way leaves nothing there.
void fill_embedded_store(const std::string& path, const std::function<void(Store&)>& fill);

// A base in memory, and a store on it. Stores on the same base are two users of it.
class MemoryBase;
[[nodiscard]] std::shared_ptr<MemoryBase> make_memory_base();
[[nodiscard]] std::unique_ptr<Store> make_memory_store(std::shared_ptr<MemoryBase> base = make_memory_base());

} // namespace corvalissement
