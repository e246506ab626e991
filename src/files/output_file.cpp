#include "files/output_file.h"

#include "platform/failures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace corvalissement {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t BUFFER_BYTES = 65536;
constexpr std::size_t REASON_BYTES = 128; // more than any reason of the system takes
constexpr mode_t NEW_FILE_MODE = 0666;    // less the user's mask
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
    Reason{ENOMEM, "la mémoire manque"},
    Reason{EAGAIN, "le système n'a plus de quoi lancer un travail"},
    Reason{EPIPE, "le programme qui lisait s'est arrêté"},
    Reason{ENXIO, "le périphérique n'est pas là"},
    Reason{EMFILE, "trop de fichiers sont ouverts"},
    Reason{ENFILE, "trop de fichiers sont ouverts"},
};

// "" for a number that has no words of ours.
std::string_view known_reason(int error_number) noexcept {
    for (const Reason& reason : REASONS)
        if (reason.number == error_number) return reason.text;
    return {};
}

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

} // namespace

std::string system_reason(int error_number) {
    const std::string_view known = known_reason(error_number);
    if (!known.empty()) return std::string(known);
    return "erreur " + std::to_string(error_number) + " du système";
}

GuardedFile::GuardedFile(const std::string& path) { guarded_paths().emplace(this, path); }
GuardedFile::~GuardedFile() { guarded_paths().erase(this); }

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
    buffer_.reserve(BUFFER_BYTES);
    reason_.reserve(REASON_BYTES);
    open();
}

OutputFile::~OutputFile() { close_descriptor(); }

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
    open_unnamed(there ? static_cast<int>(status.st_mode & PERMISSION_BITS) : -1);
}

void OutputFile::open_straight(const std::string& target) {
    folder_ = folder_for_temporaries();
    descriptor_ = ::open(target.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (descriptor_ < 0) fail_with_errno(errno);
}

// `mode` is that of the file to be replaced, -1 for a new one.
void OutputFile::open_unnamed(int mode) {
    unnamed_ = std::make_unique<UnnamedFile>(folder_, NEW_FILE_MODE);
    if (unnamed_->error() != 0) return fail_with_errno(unnamed_->error());
    descriptor_ = unnamed_->descriptor();
    if (mode >= 0 && ::fchmod(descriptor_, static_cast<mode_t>(mode)) != 0) fail_with_errno(errno);
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
    if (failed()) return;
    const std::string_view known = known_reason(error_number);
    reason_.assign(known.empty() ? std::string_view("erreur du système") : known);
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

// A pipe or a device may tell only here that it did not take what it had accepted.
void OutputFile::close_descriptor() noexcept {
    if (descriptor_ < 0) return;
    const int closed = unnamed_ != nullptr ? 0 : ::close(descriptor_);
    unnamed_.reset();
    descriptor_ = -1;
    if (closed != 0 && errno != EINTR) fail_with_errno(errno);
}

void OutputFile::commit() {
    if (committed_) return;
    if (!failed()) flush();
    if (!failed() && unnamed_ != nullptr)
        if (const int error = unnamed_->replace(target_); error != 0) fail_with_errno(error);
    close_descriptor();
    if (failed()) throw StepFailure(ERR_OUTPUT, path_ + " : " + reason_, path_);
    committed_ = true;
}

} // namespace corvalissement
