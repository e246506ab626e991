#include "server/record_locks.h"

#include "platform/failures.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace corvalissement {

namespace {

std::uint64_t mixed(std::uint64_t sum, std::string_view text) {
    for (const char c : text)
        sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    return sum;
}

// The byte of a record: 62 bits, so that the offset and the one behind it are valid file positions.
std::int64_t byte_of(std::string_view file, std::string_view key) {
    std::uint64_t sum = mixed(0xCBF29CE484222325U, file);
    sum = (sum ^ 0xFFU) * 0x100000001B3U; // between the names: a byte that no UTF-8 text holds
    sum = mixed(sum, key);
    sum = (sum ^ (sum >> 30U)) * 0xBF58476D1CE4E5B9U;
    sum = (sum ^ (sum >> 27U)) * 0x94D049BB133111EBU;
    return static_cast<std::int64_t>((sum ^ (sum >> 31U)) >> 2U);
}

int set_lock(int descriptor, short kind, std::int64_t byte) {
    struct flock range {};
    range.l_type = kind;
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    int result = 0;
    do {
        result = ::fcntl(descriptor, F_OFD_SETLK, &range);
    } while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

} // namespace

RecordLocks::~RecordLocks() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

void RecordLocks::open() {
    if (descriptor_ >= 0) return;
    // Two paths to one base must lead to one file of locks.
    std::error_code unresolved;
    const std::filesystem::path base = std::filesystem::canonical(base_, unresolved);
    const std::string path = (unresolved ? base_ : base.string()) + "-verrous";
    struct stat facts {};
    const mode_t mode = ::stat(base_.c_str(), &facts) == 0 ? facts.st_mode & 0666U : 0666U;
    descriptor_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, mode);
    if (descriptor_ < 0)
        throw StepFailure(ERR_STORE, path + " : impossible de poser un verrou (chemin ou droits)", path);
    // Whoever may write the base may lock its records, whatever mask the first of them had. Only the owner
    // can do this, and only he needs to.
    if (::fstat(descriptor_, &facts) == 0 && facts.st_uid == ::geteuid()) {
        if ((facts.st_mode & 0666U) != mode && ::fchmod(descriptor_, mode) != 0) errno = 0;
    }
}

bool RecordLocks::lock(std::string_view file, std::string_view key) {
    open();
    const std::int64_t byte = byte_of(file, key);
    const auto held = held_.find(byte);
    if (held == held_.end()) {
        const int error = set_lock(descriptor_, F_WRLCK, byte);
        if (error == EAGAIN || error == EACCES) return false;
        if (error != 0)
            throw StepFailure(ERR_STORE, base_ + " : le système refuse de poser un verrou",
                              std::string(file) + " " + std::string(key));
    }
    held_[byte].emplace(file, key);
    return true;
}

void RecordLocks::unlock(std::string_view file, std::string_view key) noexcept {
    const std::int64_t byte = byte_of(file, key);
    const auto held = held_.find(byte);
    if (held == held_.end() || held->second.erase(Name(file, key)) == 0 || !held->second.empty()) return;
    held_.erase(held);
    // Freeing a lock that is held cannot be refused.
    static_cast<void>(set_lock(descriptor_, F_UNLCK, byte));
}

} // namespace corvalissement
