#include "server/base_file.h"

#include "platform/failures.h"
#include "server/page_guard.h"
#include "server/sqlite_base.h"

#include <array>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/file.h>
#include <unistd.h>

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

// The folder of a base while the base is put there: one process at a time, and its new names safe on the
// disk in the end. Where folders know no locks the work goes on without.
class FolderInHand {
public:
    explicit FolderInHand(const std::filesystem::path& folder)
        : descriptor_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (descriptor_ >= 0) static_cast<void>(::flock(descriptor_, LOCK_EX));
    }
    ~FolderInHand() {
        if (descriptor_ < 0) return;
        static_cast<void>(::fsync(descriptor_));
        ::close(descriptor_);
    }
    FolderInHand(const FolderInHand&) = delete;
    FolderInHand& operator=(const FolderInHand&) = delete;

private:
    int descriptor_;
};

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

// Puts the finished file under its name, but never over a base that came about meanwhile.
void publish(const std::string& temporary, const std::string& path, const std::filesystem::path& folder) {
    const FolderInHand in_hand(folder);
    if (check_base_file(path) == BaseState::present) return;
    // The log of a base that was killed and then deleted would be taken for a part of the new one.
    std::error_code failed;
    for (const char* rest : {"-wal", "-shm"})
        std::filesystem::remove(path + rest, failed);
    if (::link(temporary.c_str(), path.c_str()) == 0) return;
    std::filesystem::rename(temporary, path, failed); // over an empty file, or where links don't exist
    if (failed) refuse(path, "la base ne peut pas être créée (chemin ou droits)");
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

void create_base_file(const std::string& path) {
    std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (folder.empty()) folder = ".";
    std::error_code failed;
    if (!std::filesystem::is_directory(folder, failed)) refuse(path, "le dossier de la base n'existe pas");
    static int made = 0; // several bases can be made at once in one process
    const std::string temporary =
        path + ".creation-" + std::to_string(::getpid()) + "-" + std::to_string(++made);
    try {
        std::filesystem::remove(temporary, failed); // of a process of the same number, long dead
        fill_new_base(temporary, path);
        publish(temporary, path, folder);
    } catch (...) {
        std::filesystem::remove(temporary, failed);
        throw;
    }
    std::filesystem::remove(temporary, failed);
}

} // namespace corvalissement
