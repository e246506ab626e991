#include "files/unnamed_file.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace corvalissement {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view BEGIN = ".corvalissement-";
constexpr std::string_view LOCKED_END = ".tmp"; // locked before it had the name
constexpr std::string_view NAMED_END = ".tmp0"; // locked just after

// A name that no other output of this machine uses: the process and a count within it. The rest of the
// name is fixed, so that it never outgrows what the file system allows.
std::string hidden_name(const std::string& folder, std::string_view end) {
    static std::atomic<unsigned> count{0};
    return (folder + "/").append(BEGIN) + std::to_string(::getpid()) + "-" +
           std::to_string(++count).append(end);
}

// Removes what a killed process has left. A file that got its name before its lock may have just been made.
void remove_if_abandoned(const std::string& path) {
    constexpr std::time_t JUST_NOW = 60;
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) return;
    struct stat status {};
    const bool ours = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                      (path.ends_with(LOCKED_END) || status.st_mtime + JUST_NOW < std::time(nullptr));
    if (ours && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0) static_cast<void>(::unlink(path.c_str()));
    static_cast<void>(::close(descriptor));
}

// Once a folder and process: reading a large folder takes its time.
void clear_abandoned(const std::string& folder) {
    static std::set<std::string> cleared;
    if (!cleared.insert(folder).second) return;
    std::error_code failed;
    for (fs::directory_iterator entry(folder, failed), end; !failed && entry != end;
         entry.increment(failed)) {
        const std::string name = entry->path().filename().string();
        if (name.starts_with(BEGIN) && (name.ends_with(LOCKED_END) || name.ends_with(NAMED_END)))
            remove_if_abandoned(entry->path().string());
    }
}

// Brings the folder's names to the disk. The file is complete whatever comes of this: it only shortens the
// moment in which a power cut would show the earlier state.
void keep_names(const std::string& folder) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    static_cast<void>(::fsync(descriptor));
    static_cast<void>(::close(descriptor));
}

// Renames unless something of that name is there. Gives the system's error number.
int rename_new(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // A file system that cannot do this has links, which never replace either.
    if (::link(from.c_str(), to.c_str()) != 0) return errno;
    return ::unlink(from.c_str()) == 0 ? 0 : errno;
}

} // namespace

UnnamedFile::UnnamedFile(const std::string& folder, mode_t mode) : folder_(folder) {
    clear_abandoned(folder_);
    // The name is given through the system's own view of open files.
    if (::access("/proc/self/fd", X_OK) == 0)
        descriptor_ = ::open(folder_.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode);
    if (descriptor_ >= 0)
        static_cast<void>(::flock(descriptor_, LOCK_EX | LOCK_NB));
    else
        open_named(mode);
}

// Where there are no files without a name. What else is wrong with the folder shows here too.
void UnnamedFile::open_named(mode_t mode) {
    do {
        hidden_ = hidden_name(folder_, NAMED_END);
        descriptor_ = ::open(hidden_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0) {
        error_ = errno;
        hidden_.clear();
        return;
    }
    unfinished_ = UnfinishedFile(hidden_);
    static_cast<void>(::flock(descriptor_, LOCK_EX | LOCK_NB));
}

UnnamedFile::~UnnamedFile() {
    drop_hidden_name();
    if (descriptor_ >= 0) static_cast<void>(::close(descriptor_));
}

std::string UnnamedFile::path() const {
    return hidden_.empty() ? "/proc/self/fd/" + std::to_string(descriptor_) : hidden_;
}

int UnnamedFile::take_hidden_name() {
    if (!hidden_.empty()) return 0;
    while (true) {
        std::string name = hidden_name(folder_, LOCKED_END);
        UnfinishedFile noted(name);
        if (::linkat(AT_FDCWD, path().c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            hidden_ = std::move(name);
            unfinished_ = std::move(noted);
            return 0;
        }
        if (errno != EEXIST) return errno;
    }
}

void UnnamedFile::drop_hidden_name() noexcept {
    if (!hidden_.empty()) static_cast<void>(::unlink(hidden_.c_str()));
    hidden_.clear();
    unfinished_ = UnfinishedFile();
}

int UnnamedFile::replace(const std::string& target) {
    if (::fsync(descriptor_) != 0) return errno;
    if (const int error = take_hidden_name(); error != 0) return error;
    if (::rename(hidden_.c_str(), target.c_str()) != 0) {
        const int error = errno;
        drop_hidden_name();
        return error;
    }
    hidden_.clear();
    unfinished_ = UnfinishedFile();
    keep_names(folder_);
    return 0;
}

int UnnamedFile::put_new(const std::string& target) {
    if (::fsync(descriptor_) != 0) return errno;
    int error = 0;
    if (!hidden_.empty())
        error = rename_new(hidden_, target);
    else if (::linkat(AT_FDCWD, path().c_str(), AT_FDCWD, target.c_str(), AT_SYMLINK_FOLLOW) != 0)
        error = errno;
    if (error != 0) return error;
    hidden_.clear();
    unfinished_ = UnfinishedFile();
    keep_names(folder_);
    return 0;
}

} // namespace corvalissement
