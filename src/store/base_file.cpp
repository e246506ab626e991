#include "store/base_file.h"

#include "platform/failures.h"
#include "store/page_guard.h"
#include "store/sqlite_base.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace corvalissement {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t HEADER = 100;
constexpr std::string_view MAGIC{"SQLite format 3\0", 16};

using Header = std::array<unsigned char, HEADER>;

unsigned long number_at(const Header& header, std::size_t at) {
    unsigned long number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number << 8U | header[at + i];
    return number;
}

bool is_mark(const Header& header) { return std::memcmp(header.data(), MAGIC.data(), MAGIC.size()) == 0; }

bool is_guarded(const Header& header, BaseLog log) {
    const int version = log == BaseLog::kept ? 2 : 1;
    return (header[16] << 8U | header[17]) == static_cast<int>(GUARDED_PAGE) && header[20] == GUARD_BYTES &&
           header[18] == version && header[19] == version;
}

std::uintmax_t counted_bytes(const Header& header) { return number_at(header, 28) * GUARDED_PAGE; }

sqlite3_file* file_of(const SqliteConnection& connection) {
    sqlite3_file* file = nullptr;
    const int result = sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
    if (result != SQLITE_OK || file == nullptr || file->pMethods == nullptr) connection.fail(SQLITE_CANTOPEN);
    return file;
}

bool same_file(const struct stat& one, const struct stat& other) {
    return one.st_ino == other.st_ino && one.st_dev == other.st_dev;
}

// A base that got its name in two steps, and the second never came, still has the one it was made under.
bool drop_made_name(const std::string& path, const struct stat& facts) {
    const std::string made = path + MADE_ASIDE;
    struct stat there {};
    return facts.st_nlink == 2 && ::lstat(made.c_str(), &there) == 0 && same_file(facts, there) &&
           (::unlink(made.c_str()) == 0 || errno == ENOENT);
}

// The library would write into whatever stands where it keeps its log.
void check_beside(const std::string& path, const std::string& shown) {
    for (const char* beside : {"-wal", "-shm", "-journal"}) {
        struct stat facts {};
        if (::lstat((path + beside).c_str(), &facts) != 0) continue;
        if (!S_ISREG(facts.st_mode) || facts.st_nlink > 1)
            refuse_base(shown, "« " + fs::path(path).filename().string() + beside +
                                   " » est un lien ou n'est pas un fichier ; rien n'y est changé");
    }
}

} // namespace

void refuse_base(const std::string& shown, std::string_view reason) {
    throw StepFailure(ERR_STORE, shown + " : " + std::string(reason), shown);
}

std::string base_path(const std::string& shown) {
    if (shown.empty() || shown.find('\0') != std::string::npos)
        refuse_base(shown, "le nom de la base est vide ou n'en est pas un");
    std::error_code failed;
    const fs::path named(shown);
    if (fs::exists(named, failed)) {
        const fs::path whole = fs::canonical(named, failed);
        if (!failed) return whole.string();
    }
    if (failed) refuse_base(shown, "la base ne peut pas être ouverte (chemin ou droits)");
    if (fs::is_symlink(fs::symlink_status(named, failed)))
        refuse_base(shown, "ce lien ne mène à aucun fichier");
    const fs::path parent = named.has_parent_path() ? named.parent_path() : fs::path(".");
    const fs::path folder = fs::canonical(parent, failed);
    if (failed || !fs::is_directory(folder, failed)) refuse_base(shown, "le dossier de la base n'existe pas");
    return (folder / named.filename()).string();
}

BaseState look_at_base(const std::string& path, const std::string& shown) {
    struct stat facts {};
    if (::lstat(path.c_str(), &facts) != 0) {
        if (errno == ENOENT) return BaseState::missing;
        refuse_base(shown, "la base ne peut pas être ouverte (chemin ou droits)");
    }
    if (S_ISDIR(facts.st_mode)) refuse_base(shown, "ce chemin est un dossier, pas une base");
    if (!S_ISREG(facts.st_mode)) refuse_base(shown, "ce fichier n'est pas une base");
    if (facts.st_nlink > 1 && !drop_made_name(path, facts))
        refuse_base(shown, "ce fichier a plusieurs noms (liens physiques), une base n'en a qu'un");
    if (facts.st_size == 0) return BaseState::empty;
    check_beside(path, shown);
    return BaseState::present;
}

void check_base_header(const SqliteConnection& connection, BaseLog log) {
    sqlite3_file* const file = file_of(connection);
    Header header{};
    const int result = file->pMethods->xRead(file, header.data(), static_cast<int>(HEADER), 0);
    if (result != SQLITE_OK && result != SQLITE_IOERR_SHORT_READ) connection.fail(result);
    const std::string& shown = connection.shown();
    if (result != SQLITE_OK || !is_mark(header)) refuse_base(shown, "ce fichier n'est pas une base");
    if (number_at(header, 68) != BASE_APPLICATION)
        refuse_base(shown, "ce fichier est la base d'un autre programme");
    if (number_at(header, 60) != BASE_FORMAT)
        refuse_base(shown, "cette base est d'une autre version du programme");
    if (!is_guarded(header, log)) refuse_base(shown, "la base est abîmée");
}

bool is_cut_short(const SqliteConnection& connection, const std::string& path) {
    std::error_code none;
    const std::uintmax_t log = fs::file_size(path + "-wal", none);
    if (!none && log > 0) return false;
    sqlite3_file* const file = file_of(connection);
    Header header{};
    sqlite3_int64 size = 0;
    return file->pMethods->xRead(file, header.data(), static_cast<int>(HEADER), 0) == SQLITE_OK &&
           file->pMethods->xFileSize(file, &size) == SQLITE_OK &&
           counted_bytes(header) > static_cast<std::uintmax_t>(size);
}

} // namespace corvalissement
