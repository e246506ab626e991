#include "server/command_output.h"

#include "output/forwarding_surface.h"
#include "output/output_file.h"
#include "platform/failures.h"
#include "platform/text.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace corvalissement {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view GRAPHIC_FOLDER = "LIENCOMPTA";
constexpr double COLUMN_UNITS = 120.0; // a character of the text grid

class MatrixSurface final : public ForwardingSurface {
public:
    using ForwardingSurface::ForwardingSurface;

    void Print(std::string_view text, LineEnd line_end) override {
        const double x = CurrentX();
        const long column = std::lround(x / COLUMN_UNITS);
        const long room = std::max(0L, static_cast<long>(MATRIX_COLUMNS) - std::max(0L, column));
        inner().Print(chars(text, 1, static_cast<std::size_t>(room)), line_end);
        if (line_end == LineEnd::keep)
            set_CurrentX(x + static_cast<double>(char_count(text)) * CHAR_UNITS_PER_POINT * points_);
    }
    void set_FontSize(double points) override {
        ForwardingSurface::set_FontSize(points);
        points_ = points;
    }

private:
    double points_ = 10.0; // of a surface that has just been made
};

[[noreturn]] void output_failure(const std::string& path, int error_number) {
    throw StepFailure(ERR_OUTPUT, path + " : " + system_reason(error_number), path);
}

// A part of a file name that means nothing to any file system.
std::string safe_name(std::string_view text) {
    constexpr std::size_t LONGEST = 64;
    std::string name;
    for (std::size_t at = 0; at < text.size() && name.size() < LONGEST;) {
        const char32_t c = next_char(text, at);
        const bool plain = (c >= U'0' && c <= U'9') || (c >= U'A' && c <= U'Z') || (c >= U'a' && c <= U'z');
        name += plain ? static_cast<char>(c) : '_';
    }
    return name;
}

std::string graphic_folder(const std::string& base_path) {
    if (base_path.empty())
        throw StepFailure(ERR_OUTPUT,
                          "une base en mémoire n'a pas de dossier LIENCOMPTA : aucun fichier graphique");
    const std::string folder = (fs::path(base_path).parent_path() / GRAPHIC_FOLDER).string();
    std::error_code failed;
    fs::create_directory(folder, failed);
    if (failed) output_failure(folder, failed.value());
    if (::access(folder.c_str(), W_OK | X_OK) != 0) output_failure(folder, errno);
    return folder;
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

std::unique_ptr<PrintSurface> limit_columns(std::unique_ptr<PrintSurface> inner) {
    return std::make_unique<MatrixSurface>(std::move(inner));
}

TemporaryFile::TemporaryFile() {
    std::error_code failed;
    path_ = (fs::temp_directory_path(failed) / "corvalissement-XXXXXX").string();
    const int descriptor = failed ? -1 : ::mkstemp(path_.data());
    if (descriptor < 0) output_failure(path_, failed ? failed.value() : errno);
    unfinished_ = UnfinishedFile(path_);
    static_cast<void>(::close(descriptor));
}

TemporaryFile::~TemporaryFile() { static_cast<void>(::unlink(path_.c_str())); }

GraphicFile::GraphicFile(const std::string& base_path, std::string_view entity, std::string_view user)
    : folder_(graphic_folder(base_path)), stem_("GL" + safe_name(entity) + "-" + safe_name(user) + "-") {
    static std::atomic<unsigned> count{0};
    working_path_ =
        folder_ + "/." + stem_ + std::to_string(::getpid()) + "-" + std::to_string(++count) + ".tmp.pdf";
    unfinished_ = UnfinishedFile(working_path_);
}

GraphicFile::~GraphicFile() { static_cast<void>(::unlink(working_path_.c_str())); }

std::string GraphicFile::publish() {
    for (std::uint64_t number = 1;; ++number) {
        std::string name = stem_ + std::to_string(number) + ".pdf";
        const int error = rename_new(working_path_, folder_ + "/" + name);
        if (error == 0) return name;
        if (error != EEXIST) output_failure(folder_ + "/" + name, error);
    }
}

} // namespace corvalissement
