#include "store/new_base.h"

#include "files/output_file.h"
#include "platform/failures.h"
#include "store/base_file.h"
#include "store/base_schema.h"
#include "store/page_guard.h"
#include "store/sqlite_base.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace corvalissement {

namespace {

namespace fs = std::filesystem;

// What the engine and the locks keep beside a base.
constexpr std::array<const char*, 4> BESIDE = {"-wal", "-shm", "-journal", "-verrous"};
// Those of them that hold a part of a base: what was written and is not yet in its file.
constexpr std::array<const char*, 2> LOGS = {"-wal", "-journal"};

std::string name_of(const std::string& path) { return fs::path(path).filename().string(); }
std::string folder_of(const std::string& path) { return fs::path(path).parent_path().string(); }

// Brings the names of the file's folder to the disk. False when that failed, with errno.
bool keep_names(const std::string& folder, int file) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // A folder that may be written and not read: the whole file system, then.
    if (descriptor < 0) return errno == EACCES && ::syncfs(file) == 0;
    // Some file systems keep no folder apart from its names.
    const bool kept = ::fsync(descriptor) == 0 || errno == EINVAL;
    const int error = errno;
    ::close(descriptor);
    errno = error;
    return kept;
}

bool is_ours(const struct stat& facts) {
    return S_ISREG(facts.st_mode) && facts.st_nlink == 1 && facts.st_uid == ::geteuid();
}

[[noreturn]] void refuse_foreign(const std::string& shown, const std::string& path) {
    refuse_base(shown, "la base ne peut pas être créée : « " + name_of(path) +
                           " » est là et n'est pas de ce programme ou de cet utilisateur");
}

// Opens the file whose lock is the right to make a base. Whatever was laid there beforehand, a link above
// all, is neither followed nor touched. -1 with errno when it can't be made.
int open_place(const std::string& place, const std::string& shown) {
    for (;;) {
        int descriptor = ::open(place.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (descriptor >= 0 || errno != EEXIST) return descriptor;
        descriptor = ::open(place.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (descriptor < 0 && errno == ENOENT) continue;
        if (descriptor < 0) refuse_foreign(shown, place);
        struct stat facts {};
        if (::fstat(descriptor, &facts) == 0 && is_ours(facts) && facts.st_size == 0) return descriptor;
        ::close(descriptor);
        if (facts.st_nlink != 0) refuse_foreign(shown, place);
    }
}

bool stands_at(int descriptor, const std::string& path) {
    struct stat ours {};
    struct stat there {};
    return ::fstat(descriptor, &ours) == 0 && ::lstat(path.c_str(), &there) == 0 &&
           ours.st_ino == there.st_ino && ours.st_dev == there.st_dev;
}

// Keeps the engines of others off the file as long as the descriptor is open: they wait, as for a writer.
bool keep_others_off(int descriptor) {
    struct flock range {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = 0x40000000; // the bytes that the library locks
    range.l_len = 512;
    return ::fcntl(descriptor, F_OFD_SETLK, &range) == 0;
}

void fill_new_base(const std::string& aside, const std::string& shown) {
    SqliteConnection connection(shown);
    connection.open(aside, SQLITE_OPEN_READWRITE, 0);
    int reserved = GUARD_BYTES;
    const int result =
        sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_RESERVE_BYTES, &reserved);
    if (result != SQLITE_OK) connection.fail(result);
    const std::string statements =
        "PRAGMA page_size=" + std::to_string(GUARDED_PAGE) + ";PRAGMA auto_vacuum=NONE;" +
        "PRAGMA journal_mode=MEMORY;PRAGMA synchronous=OFF;BEGIN;" +
        "PRAGMA application_id=" + std::to_string(BASE_APPLICATION) + ";" +
        "PRAGMA user_version=" + std::to_string(BASE_FORMAT) + ";" + DIRECTORY_TABLE + ";COMMIT;";
    connection.run(statements.c_str());
}

} // namespace

NewBase::NewBase(std::string path, std::string shown)
    : path_(std::move(path)), shown_(std::move(shown)), aside_(path_ + MADE_ASIDE),
      place_(aside_ + "-verrou") {
    if (look_at_base(path_, shown_) == BaseState::present) {
        clear_left();
        return;
    }
    try {
        while (!take_place()) {
        }
        if (holder_ >= 0) make_aside();
    } catch (...) {
        if (needed()) clear_aside();
        leave_place();
        throw;
    }
}

// True when this process has the right to make the base, or when there is none to make any more: then
// nothing is held. False when the file that was waited for has gone: whoever comes next takes a new one.
bool NewBase::take_place() {
    holder_ = open_place(place_, shown_);
    if (holder_ < 0) refuse_creation(errno);
    int locked = 0;
    do {
        locked = ::flock(holder_, LOCK_EX);
    } while (locked != 0 && errno == EINTR);
    const int error = errno;
    if (locked != 0 || !stands_at(holder_, place_)) {
        ::close(holder_);
        holder_ = -1;
        if (locked != 0) refuse_creation(error);
        return false;
    }
    if (look_at_base(path_, shown_) == BaseState::present) leave_place();
    return true;
}

// What stands beside a finished base is of a process that was killed, unless one still holds the place.
void NewBase::clear_left() noexcept {
    holder_ = ::open(place_.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (holder_ < 0) return;
    struct stat place {};
    struct stat left {};
    const bool held = ::fstat(holder_, &place) == 0 && is_ours(place) && place.st_size == 0 &&
                      ::flock(holder_, LOCK_EX | LOCK_NB) == 0 && stands_at(holder_, place_);
    if (held && ::lstat(aside_.c_str(), &left) == 0 && is_ours(left)) clear_aside();
    if (held) return leave_place();
    ::close(holder_);
    holder_ = -1;
}

// REQUIRES the place. A file that a killed process has left is taken away; one that is another's stays.
void NewBase::make_aside() {
    unfinished_[0] = UnfinishedFile(place_);
    require_no_log();
    struct stat left {};
    if (::lstat(aside_.c_str(), &left) == 0) {
        if (!is_ours(left)) refuse_foreign(shown_, aside_);
        clear_aside();
    }
    descriptor_ = ::open(aside_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (descriptor_ < 0) refuse_creation(errno);
    unfinished_[1] = UnfinishedFile(aside_);
    fill_new_base(aside_, shown_);
}

void NewBase::refuse_creation(int error) const {
    refuse_base(shown_, "la base ne peut pas être créée (" + system_reason(error) + ")");
}

void NewBase::clear_aside() const noexcept {
    static_cast<void>(::unlink(aside_.c_str()));
    for (const char* beside : BESIDE)
        static_cast<void>(::unlink((aside_ + beside).c_str()));
}

// The name goes before the lock does, so that whoever waits for it finds it gone.
void NewBase::leave_place() noexcept {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
    if (holder_ < 0) return;
    static_cast<void>(::unlink(place_.c_str()));
    ::close(holder_);
    holder_ = -1;
}

NewBase::~NewBase() {
    if (needed()) clear_aside();
    leave_place();
}

void NewBase::publish() {
    complete_aside();
    check_aside();
    if (::fsync(descriptor_) != 0 || !keep_names(folder_of(path_), descriptor_)) refuse_creation(errno);
    clear_beside();
    // From here to the end nobody can use the base, so that the name can still be taken back.
    if (!keep_others_off(descriptor_)) refuse_creation(errno);
    give_name();
    if (!keep_names(folder_of(path_), descriptor_)) {
        const int error = errno;
        if (::rename(path_.c_str(), aside_.c_str()) == 0) clear_aside();
        refuse_creation(error);
    }
    leave_place();
}

// From here on the base has a log. It is not begun before somebody opens the base under its name, so that
// no part of a new base is ever in one.
void NewBase::complete_aside() const {
    SqliteConnection connection(shown_);
    connection.open(aside_, SQLITE_OPEN_READWRITE, 0);
    connection.run("PRAGMA synchronous=OFF;PRAGMA journal_mode=MEMORY;PRAGMA journal_mode=WAL;");
    check_base_header(connection, BaseLog::kept);
    if (is_cut_short(connection, aside_)) refuse_creation(EIO);
}

// The file aside is the one that was made, and all there is.
void NewBase::check_aside() const {
    struct stat facts {};
    if (!stands_at(descriptor_, aside_) || ::fstat(descriptor_, &facts) != 0 || !is_ours(facts))
        refuse_foreign(shown_, aside_);
    for (const char* log : LOGS)
        if (::lstat((aside_ + log).c_str(), &facts) == 0 || errno != ENOENT) refuse_creation(EIO);
}

// What stands beside the name is of a base that is gone. A log that holds something may be all that is left
// of what was last written there; it is never taken away, nor left to be read as a part of the new base.
void NewBase::require_no_log() const {
    for (const char* log : LOGS) {
        struct stat facts {};
        if (::lstat((path_ + log).c_str(), &facts) == 0 && facts.st_size > 0)
            refuse_base(shown_, "la base ne peut pas être créée : « " + name_of(path_) + log +
                                    " » est resté d'une base qui n'est plus là ; remettez-la à sa place, ou "
                                    "supprimez ce journal");
    }
}

void NewBase::clear_beside() const {
    require_no_log();
    for (const char* beside : {"-wal", "-shm", "-journal"})
        if (::unlink((path_ + beside).c_str()) != 0 && errno != ENOENT) refuse_creation(errno);
}

void NewBase::give_name() {
    const BaseState state = look_at_base(path_, shown_);
    bool given = false;
    if (state == BaseState::missing)
        given = renamed_at_once();
    else if (state == BaseState::empty)
        given = ::rename(aside_.c_str(), path_.c_str()) == 0;
    else
        errno = EEXIST;
    if (given) return;
    if (errno == EEXIST)
        refuse_base(shown_, "une base de ce nom vient d'être mise là ; rien n'y a été changé");
    refuse_creation(errno);
}

// Gives the name unless something has come to stand there, in one step where the file system can do that.
bool NewBase::renamed_at_once() const {
    if (::renameat2(AT_FDCWD, aside_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    return linked() ||
           ((errno == EPERM || errno == EOPNOTSUPP) && ::rename(aside_.c_str(), path_.c_str()) == 0);
}

// The same in two steps: with both names for a moment, which nobody takes for a base.
bool NewBase::linked() const {
    if (::link(aside_.c_str(), path_.c_str()) != 0) return false;
    if (::unlink(aside_.c_str()) == 0 || errno == ENOENT) return true;
    const int error = errno;
    static_cast<void>(::unlink(path_.c_str()));
    errno = error;
    return false;
}

} // namespace corvalissement
