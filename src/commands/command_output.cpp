#include "commands/command_output.h"

#include "files/output_file.h"
#include "platform/failures.h"
#include "platform/text.h"

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace corvalissement {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view GRAPHIC_FOLDER = "LIENCOMPTA";
constexpr mode_t NEW_FILE_MODE = 0666; // less the user's mask

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
    // One laid there beforehand would lead the ledgers out of the base's folder.
    if (fs::is_symlink(folder))
        throw StepFailure(ERR_OUTPUT, folder + " : c'est un lien symbolique, qui n'est pas suivi", folder);
    if (::access(folder.c_str(), W_OK | X_OK) != 0) output_failure(folder, errno);
    return folder;
}

} // namespace

GraphicFile::GraphicFile(const std::string& base_path, std::string_view entity, std::string_view user)
    : folder_(graphic_folder(base_path)), stem_("GL" + safe_name(entity) + "-" + safe_name(user) + "-"),
      file_(folder_, NEW_FILE_MODE) {
    if (file_.error() != 0) output_failure(folder_, file_.error());
}

void GraphicFile::publish(const std::function<void(const std::string& name)>& named) {
    std::string name;
    int error = EEXIST;
    for (std::uint64_t number = 1; error == EEXIST; ++number) {
        name = stem_ + std::to_string(number) + ".pdf";
        error = file_.put_new(folder_ + "/" + name);
    }
    if (error != 0) output_failure(folder_ + "/" + name, error);
    try {
        named(name);
    } catch (...) {
        static_cast<void>(::unlink((folder_ + "/" + name).c_str()));
        throw;
    }
}

} // namespace corvalissement
