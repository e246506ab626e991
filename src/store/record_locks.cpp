#include "store/record_locks.h"

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

[[noreturn]] void refuse(const std::string& path, const char* reason) {
    throw StepFailure(ERR_STORE, path + " : " + reason, path);
}

// A link laid there beforehand, or a file with something in it, is another's: never followed, never changed.
bool is_for_locks(const struct stat& facts) {
    return S_ISREG(facts.st_mode) && facts.st_nlink == 1 && facts.st_size == 0;
}

// Gives our empty file of locks the owner, group and rights of the base. Where the group can't be given,
// ours gets no right of its own.
void open_to_users(int descriptor, const struct stat& facts, const struct stat& users) {
    gid_t group = facts.st_gid;
    const bool superuser = ::geteuid() == 0;
    if ((group != users.st_gid || (superuser && facts.st_uid != users.st_uid)) &&
        ::fchown(descriptor, superuser ? users.st_uid : static_cast<uid_t>(-1), users.st_gid) == 0)
        group = users.st_gid;
    const mode_t given = (users.st_mode & (group == users.st_gid ? 0666U : 0606U)) | S_IRUSR | S_IWUSR;
    if ((facts.st_mode & 0777U) != given && ::fchmod(descriptor, given) != 0) errno = 0;
}

} // namespace

RecordLocks::~RecordLocks() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

// Whoever may write the base may lock its records, whatever mask the first of them had: a file of locks is
// for the users of the base, and for nobody else.
void RecordLocks::open() {
    if (descriptor_ >= 0) return;
    // Two paths to one base must lead to one file of locks.
    std::error_code unresolved;
    const std::filesystem::path base = std::filesystem::canonical(base_, unresolved);
    const std::string path = (unresolved ? base_ : base.string()) + "-verrous";
    struct stat users {};
    if (::stat(base_.c_str(), &users) != 0) refuse(path, "la base n'est plus là");
    const int made =
        ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, users.st_mode & 0666U);
    descriptor_ = made >= 0 || errno != EEXIST
                      ? made
                      : ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor_ < 0 && errno != ELOOP) refuse(path, "impossible de poser un verrou (chemin ou droits)");
    struct stat facts {};
    if (descriptor_ < 0 || ::fstat(descriptor_, &facts) != 0 || !is_for_locks(facts)) {
        if (descriptor_ >= 0) ::close(descriptor_);
        descriptor_ = -1;
        refuse(path, "ce n'est pas un fichier de verrous ; rien n'y est changé");
    }
    // Only its owner can do this, and only he needs to: also when he was stopped right after he had made it.
    if (facts.st_uid == ::geteuid()) open_to_users(descriptor_, facts, users);
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
