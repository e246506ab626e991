#include "output/output_file.h"

#include "platform/failures.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <set>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace corvalissement {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t BUFFER_BYTES = 65536;
constexpr mode_t NEW_FILE_MODE = 0666; // less the user's mask
constexpr mode_t PERMISSION_BITS = 0777;

struct Reason {
    int number;
    std::string_view text;
};

constexpr std::array REASONS{
    Reason{ENOENT, "le fichier ou le dossier n'existe pas"},
    Reason{EEXIST, "un autre fichier porte ce nom"},
    Reason{ENOTDIR, "le chemin passe par un fichier qui n'est pas un dossier"},
    Reason{EISDIR, "c'est un dossier"},
    Reason{EACCES, "l'accès est refusé"},
    Reason{EPERM, "l'accès est refusé"},
    Reason{EROFS, "le disque est en lecture seule"},
    Reason{ENOSPC, "le disque est plein"},
    Reason{EDQUOT, "la place accordée sur le disque est épuisée"},
    Reason{EFBIG, "le fichier devient trop grand"},
    Reason{ENAMETOOLONG, "le nom est trop long"},
    Reason{ELOOP, "les liens symboliques tournent en rond"},
    Reason{EIO, "erreur de lecture ou d'écriture du disque"},
    Reason{EPIPE, "le programme qui lisait s'est arrêté"},
    Reason{ENXIO, "le périphérique n'est pas là"},
    Reason{EMFILE, "trop de fichiers sont ouverts"},
    Reason{ENFILE, "trop de fichiers sont ouverts"},
};

// Names of a descriptor that the process was started with. What lies behind may well be a regular file,
// but the one who redirected it holds it open: a file renamed over it would never reach him.
bool names_a_descriptor(const std::string& path) {
    return path == "/dev/stdout" || path == "/dev/stderr" || path.starts_with("/dev/fd/") ||
           path.starts_with("/proc/self/fd/");
}

// What a link to nothing yet names: the file is made there, and the link stays.
std::string behind_link(const std::string& path) {
    std::error_code no_link;
    const fs::path named = fs::read_symlink(path, no_link);
    if (no_link) return path;
    return named.is_absolute() ? named.string() : (fs::path(path).parent_path() / named).string();
}

std::string folder_of(const std::string& path) {
    const std::string folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::string folder_for_temporaries() {
    std::error_code ignored;
    const fs::path folder = fs::temp_directory_path(ignored);
    return folder.empty() ? "." : folder.string();
}

// A name that no other output of this machine uses: the process and a count within it. The rest of the
// name is fixed, so that it never outgrows what the file system allows.
std::string temporary_name(const std::string& folder) {
    static std::atomic<unsigned> count{0};
    return folder + "/.corvalissement-" + std::to_string(::getpid()) + "-" + std::to_string(++count) + ".tmp";
}

// The files that no output may replace, as the system tells them apart. A base that is made comes to stand
// under its path later, so the path is looked at anew each time.
std::map<const GuardedFile*, std::string>& guarded_paths() {
    static std::map<const GuardedFile*, std::string> paths;
    return paths;
}

bool is_guarded(const struct stat& status) {
    return std::any_of(guarded_paths().begin(), guarded_paths().end(), [&](const auto& guard) {
        struct stat guarded {};
        return ::stat(guard.second.c_str(), &guarded) == 0 && guarded.st_ino == status.st_ino &&
               guarded.st_dev == status.st_dev;
    });
}

// Whether a name is one that `temporary_name` gives.
bool is_temporary(const std::string& name) {
    constexpr std::string_view BEGIN = ".corvalissement-";
    constexpr std::string_view END = ".tmp";
    return name.starts_with(BEGIN) && name.ends_with(END) && name.size() > BEGIN.size() + END.size();
}

// A temporary file is locked by the process that writes it. One that is not, and has not just been made, is
// of a process that was killed.
void remove_if_abandoned(const std::string& path) {
    constexpr std::time_t JUST_NOW = 60;
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) return;
    struct stat status {};
    const bool old = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                     status.st_mtime + JUST_NOW < std::time(nullptr);
    if (old && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0) static_cast<void>(::unlink(path.c_str()));
    static_cast<void>(::close(descriptor));
}

// Once a folder and process: reading a large folder takes its time.
void clear_abandoned(const std::string& folder) {
    static std::set<std::string> cleared;
    if (!cleared.insert(folder).second) return;
    std::error_code failed;
    for (fs::directory_iterator entry(folder, failed), end; !failed && entry != end; entry.increment(failed))
        if (is_temporary(entry->path().filename().string())) remove_if_abandoned(entry->path().string());
}

} // namespace

std::string system_reason(int error_number) {
    for (const Reason& reason : REASONS)
        if (reason.number == error_number) return std::string(reason.text);
    return "erreur " + std::to_string(error_number) + " du système";
}

GuardedFile::GuardedFile(const std::string& path) { guarded_paths().emplace(this, path); }
GuardedFile::~GuardedFile() { guarded_paths().erase(this); }

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
    buffer_.reserve(BUFFER_BYTES);
    reason_.reserve(128);
    open();
}

OutputFile::~OutputFile() { discard(); }

void OutputFile::open() {
    if (path_.empty()) return fail("aucun nom de fichier n'est donné");
    struct stat status {};
    const bool there = ::stat(path_.c_str(), &status) == 0;
    if (!there && errno != ENOENT) return fail_with_errno(errno);
    if (there && is_guarded(status)) return fail("c'est la base elle-même");
    if (there && S_ISDIR(status.st_mode)) return fail_with_errno(EISDIR);
    if (names_a_descriptor(path_) || (there && !S_ISREG(status.st_mode))) return open_straight(path_);
    if (there && ::access(path_.c_str(), W_OK) != 0) return fail_with_errno(errno);
    std::error_code failed;
    target_ = there ? fs::canonical(path_, failed).string() : behind_link(path_);
    if (failed) return fail_with_errno(failed.value());
    folder_ = folder_of(target_);
    open_temporary(there ? static_cast<int>(status.st_mode & PERMISSION_BITS) : -1);
}

void OutputFile::open_straight(const std::string& target) {
    folder_ = folder_for_temporaries();
    descriptor_ = ::open(target.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (descriptor_ < 0) fail_with_errno(errno);
}

// `mode` is that of the file to be replaced, -1 for a new one.
void OutputFile::open_temporary(int mode) {
    clear_abandoned(folder_);
    do {
        temporary_ = temporary_name(folder_);
        descriptor_ = ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, NEW_FILE_MODE);
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0) {
        temporary_.clear();
        return fail_with_errno(errno);
    }
    unfinished_ = UnfinishedFile(temporary_);
    static_cast<void>(::flock(descriptor_, LOCK_EX | LOCK_NB));
    if (mode >= 0 && ::fchmod(descriptor_, static_cast<mode_t>(mode)) != 0) {
        fail_with_errno(errno);
    }
}

void OutputFile::write(std::string_view bytes) noexcept {
    if (failed()) return;
    if (bytes.size() > BUFFER_BYTES - buffer_.size()) flush();
    if (bytes.size() > BUFFER_BYTES)
        write_out(bytes);
    else
        buffer_.append(bytes);
}

void OutputFile::fail(std::string reason) {
    if (!failed()) reason_ = std::move(reason);
}

void OutputFile::fail_with_errno(int error_number) noexcept {
    if (!failed()) reason_ = system_reason(error_number);
}

void OutputFile::write_out(std::string_view bytes) noexcept {
    while (!bytes.empty() && !failed()) {
        const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
        if (written >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            fail_with_errno(errno);
    }
}

void OutputFile::flush() noexcept {
    write_out(buffer_);
    buffer_.clear();
}

// The disk may tell only here that there was no room for what it had accepted.
void OutputFile::close_descriptor() noexcept {
    if (descriptor_ < 0) return;
    const int closed = ::close(descriptor_);
    descriptor_ = -1;
    if (closed != 0 && errno != EINTR) fail_with_errno(errno);
}

void OutputFile::commit() {
    if (committed_) return;
    if (!failed()) flush();
    if (!failed() && !target_.empty() && ::fsync(descriptor_) != 0) fail_with_errno(errno);
    close_descriptor();
    if (!failed() && !target_.empty()) put_in_place();
    if (failed()) {
        discard();
        throw StepFailure(ERR_OUTPUT, path_ + " : " + reason_, path_);
    }
    committed_ = true;
}

void OutputFile::put_in_place() {
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) return fail_with_errno(errno);
    temporary_.clear();
    unfinished_ = UnfinishedFile();
    // The file is complete whatever comes of this: bringing the name to the disk only shortens the moment
    // in which a power cut would show the earlier file.
    const int folder = ::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    static_cast<void>(::fsync(folder));
    static_cast<void>(::close(folder));
}

void OutputFile::discard() noexcept {
    close_descriptor();
    if (!temporary_.empty()) static_cast<void>(::unlink(temporary_.c_str()));
    temporary_.clear();
    unfinished_ = UnfinishedFile();
}

} // namespace corvalissement
