// Locks of records between the users of one base, in this process or others.
//
// A lock is a byte-range lock that the system keeps on an empty file beside the base: the byte whose number
// is drawn from the names of the file and the key. It belongs to the open file of one RecordLocks object,
// so two objects exclude each other also inside one process, and the system frees it when the object or its
// process ends, however it ends. Nothing is written, so a lock costs no flush and none can be left behind.
//
// Two records may draw the same byte (one chance in four billion billions); they then exclude each other
// between users. A lock is never granted twice.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace corvalissement {

class RecordLocks {
public:
    // `base` is the path of the base. The file beside it is opened, and made, by the first lock.
    explicit RecordLocks(std::string base) : base_(std::move(base)) {}
    ~RecordLocks();
    RecordLocks(const RecordLocks&) = delete;
    RecordLocks& operator=(const RecordLocks&) = delete;

    // False when another object holds the record; true when this one holds it from now on, or did already.
    // StepFailure (ERR_STORE) when no lock can be laid at all.
    [[nodiscard]] bool lock(std::string_view file, std::string_view key);

    // Frees a record; nothing happens when this object doesn't hold it.
    void unlock(std::string_view file, std::string_view key) noexcept;

private:
    using Name = std::pair<std::string, std::string>;

    void open();

    std::string base_;
    int descriptor_ = -1;
    // Names held at each byte: a byte is freed with the last name that drew it.
    std::map<std::int64_t, std::set<Name>> held_;
};

} // namespace corvalissement
