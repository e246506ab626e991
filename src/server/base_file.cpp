#include "server/base_file.h"

#include "platform/failures.h"
#include "server/page_guard.h"
#include "server/sqlite_base.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace corvalissement {

namespace {

constexpr std::size_t HEADER = 100;
constexpr std::string_view MAGIC{"SQLite format 3\0", 16};

using Header = std::array<unsigned char, HEADER>;

unsigned long number_at(const Header& header, std::size_t at) {
    unsigned long number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number << 8U | header[at + i];
    return number;
}

[[noreturn]] void refuse(const std::string& path, std::string_view reason) {
    throw StepFailure(ERR_STORE, path + " : " + std::string(reason), path);
}

void check_header(const std::string& path, const Header& header, std::uintmax_t size) {
    if (std::memcmp(header.data(), MAGIC.data(), MAGIC.size()) != 0)
        refuse(path, "ce fichier n'est pas une base");
    if (number_at(header, 68) != BASE_APPLICATION)
        refuse(path, "ce fichier est la base d'un autre programme");
    if (number_at(header, 60) != BASE_FORMAT) refuse(path, "cette base est d'une autre version du programme");
    const bool guarded = (header[16] << 8U | header[17]) == static_cast<int>(GUARDED_PAGE) &&
                         header[20] == GUARD_BYTES && header[18] == 2 && header[19] == 2;
    if (!guarded) refuse(path, "la base est abîmée");
    // Without a log the file holds every page that its head counts; with one, the missing are in the log.
    std::error_code none;
    const std::uintmax_t log = std::filesystem::file_size(path + "-wal", none);
    const bool logged = !none && log > 0;
    if (!logged && number_at(header, 24) == number_at(header, 92) &&
        number_at(header, 28) * GUARDED_PAGE > size)
        refuse(path, "la base est abîmée (fichier tronqué)");
}

// What the engine and the locks keep beside a base.
constexpr std::array<const char*, 4> BESIDE = {"-wal", "-shm", "-journal", "-verrous"};

// Brings the folder's new names to the disk.
void keep_names(const std::string& folder) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    static_cast<void>(::fsync(descriptor));
    ::close(descriptor);
}

std::string folder_of(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

void fill_new_base(const std::string& temporary, const std::string& shown) {
    SqliteConnection connection(shown);
    connection.open(temporary, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0);
    int reserved = GUARD_BYTES;
    const int result =
        sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_RESERVE_BYTES, &reserved);
    if (result != SQLITE_OK) connection.fail(result);
    const std::string statements =
        "PRAGMA page_size=" + std::to_string(GUARDED_PAGE) + ";PRAGMA auto_vacuum=NONE;" +
        "PRAGMA synchronous=FULL;BEGIN;" + "PRAGMA application_id=" + std::to_string(BASE_APPLICATION) + ";" +
        "PRAGMA user_version=" + std::to_string(BASE_FORMAT) + ";" +
        "CREATE TABLE fichiers(numero INTEGER PRIMARY KEY, nom BLOB NOT NULL UNIQUE);" +
        "COMMIT;PRAGMA journal_mode=WAL;";
    connection.run(statements.c_str());
}

} // namespace

BaseState check_base_file(const std::string& path) {
    std::error_code failed;
    const std::filesystem::file_status status = std::filesystem::status(path, failed);
    if (status.type() == std::filesystem::file_type::not_found) return BaseState::missing;
    if (failed) refuse(path, "la base ne peut pas être ouverte (chemin ou droits)");
    if (std::filesystem::is_directory(status)) refuse(path, "ce chemin est un dossier, pas une base");
    if (!std::filesystem::is_regular_file(status)) refuse(path, "ce fichier n'est pas une base");
    const std::uintmax_t size = std::filesystem::file_size(path, failed);
    if (!failed && size == 0) return BaseState::empty;
    std::ifstream file(path, std::ios::binary);
    if (failed || !file) refuse(path, "la base ne peut pas être ouverte (chemin ou droits)");
    std::array<char, HEADER> bytes{};
    if (!file.read(bytes.data(), HEADER)) refuse(path, "ce fichier n'est pas une base");
    Header header{};
    std::memcpy(header.data(), bytes.data(), HEADER);
    check_header(path, header, size);
    return BaseState::present;
}

NewBase::NewBase(std::string path) : path_(std::move(path)), aside_(path_ + ".creation") {
    std::error_code failed;
    if (check_base_file(path_) == BaseState::present) return;
    if (!std::filesystem::is_directory(folder_of(path_), failed))
        refuse(path_, "le dossier de la base n'existe pas");
    while (!take_place()) {
    }
    if (!needed()) return;
    unfinished_[0] = UnfinishedFile(aside_);
    unfinished_[1] = UnfinishedFile(aside_ + "-wal");
    unfinished_[2] = UnfinishedFile(aside_ + "-shm");
    try {
        fill_new_base(aside_, path_);
    } catch (...) {
        clear_aside();
        ::close(descriptor_);
        throw;
    }
}

// True when this process makes the base, or when there is none to make any more. False when the file aside
// that was waited for has become the base, or has gone: whoever comes next makes a new one.
bool NewBase::take_place() {
    descriptor_ = ::open(aside_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor_ < 0) refuse(path_, "la base ne peut pas être créée (chemin ou droits)");
    int locked = 0;
    do {
        locked = ::flock(descriptor_, LOCK_EX);
    } while (locked != 0 && errno == EINTR);
    struct stat ours {};
    struct stat there {};
    const bool standing = ::fstat(descriptor_, &ours) == 0 && ::stat(aside_.c_str(), &there) == 0 &&
                          ours.st_ino == there.st_ino && ours.st_dev == there.st_dev;
    const bool made = check_base_file(path_) == BaseState::present;
    if (standing && !made) {
        // Of a process that was killed on the way, perhaps.
        for (const char* beside : BESIDE)
            static_cast<void>(::unlink((aside_ + beside).c_str()));
        if (::ftruncate(descriptor_, 0) == 0) return true;
        refuse(path_, "la base ne peut pas être créée (chemin ou droits)");
    }
    if (standing) clear_aside();
    ::close(descriptor_);
    descriptor_ = -1;
    return made;
}

void NewBase::clear_aside() const noexcept {
    static_cast<void>(::unlink(aside_.c_str()));
    for (const char* beside : BESIDE)
        static_cast<void>(::unlink((aside_ + beside).c_str()));
}

NewBase::~NewBase() {
    if (!needed()) return;
    clear_aside();
    ::close(descriptor_);
}

void NewBase::publish() {
    const BaseState state = check_base_file(path_);
    if (state == BaseState::present)
        refuse(path_, "une base de ce nom vient d'être mise là ; rien n'y a été changé");
    // The log of a base that was killed and then deleted would be taken for a part of the new one.
    for (const char* beside : BESIDE)
        static_cast<void>(::unlink((path_ + beside).c_str()));
    const bool linked = state == BaseState::missing && ::link(aside_.c_str(), path_.c_str()) == 0;
    if (!linked && state == BaseState::missing && errno == EEXIST)
        refuse(path_, "une base de ce nom vient d'être mise là ; rien n'y a été changé");
    if (!linked) {
        std::error_code failed;
        std::filesystem::rename(aside_, path_, failed); // over an empty file, or where links don't exist
        if (failed) refuse(path_, "la base ne peut pas être créée (chemin ou droits)");
    }
    clear_aside();
    keep_names(folder_of(path_));
    ::close(descriptor_);
    descriptor_ = -1;
}

void create_base_file(const std::string& path) {
    NewBase base(path);
    if (base.needed()) base.publish();
}

} // namespace corvalissement
