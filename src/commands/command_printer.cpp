#include "commands/command_printer.h"

#include "data/dyn_array.h"
#include "data/keys.h"
#include "files/output_file.h"
#include "launch/server_edition.h"
#include "output/print_queue.h"
#include "platform/failures.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <utility>
#include <vector>

namespace corvalissement {

namespace {

namespace fs = std::filesystem;

// What a base's engine and its locks keep beside it, and a base under way.
constexpr std::array<std::string_view, 5> BASE_ENDINGS = {"-journal", "-wal", "-shm", "-verrous",
                                                          ".creation"};

// Attribute 1 of a record; nothing when the file does not hold it.
std::optional<std::string> first_attribute(Store& store, std::string_view file, std::string_view key) {
    DynArray record;
    if (!store.read(store.file(file), key, record.buffer())) return std::nullopt;
    record.changed();
    return std::string(record(1));
}

std::string key_of(std::string_view word, std::string_view user) { return std::string(word).append(user); }

struct Border {
    std::string_view user;
    std::string_view printer;
    bool known = false; // the printer, with a target
    bool keyed = false; // the user's keys stand in TEMPO
    [[nodiscard]] int rank() const { return (known ? 2 : 0) + (keyed ? 1 : 0); }
};

std::vector<Border> best_borders(Store& store, std::string_view rest) {
    std::vector<Border> best;
    for (std::size_t at = rest.find(' '); at != std::string_view::npos; at = rest.find(' ', at + 1)) {
        Border border{rest.substr(0, at), rest.substr(at + 1)};
        border.known = !first_attribute(store, files::IMPRIMANTES, border.printer).value_or("").empty();
        border.keyed =
            first_attribute(store, files::TEMPO, key_of(tempo::LEDGER_KEYS, border.user)).has_value();
        if (!best.empty() && border.rank() < best.front().rank()) continue;
        if (!best.empty() && border.rank() > best.front().rank()) best.clear();
        best.push_back(border);
    }
    return best;
}

void set_printer(Store& store, FileId file, const Border& border) {
    store.write(file, key_of(tempo::PRINTER_ANSWER, border.user), tempo::PRINTER_KNOWN);
    store.write(file, key_of(tempo::PRINTER_SET, border.user), border.printer);
}

[[noreturn]] void refuse_target(const std::string& printer, const std::string& target,
                                const std::string& reason) {
    throw StepFailure(ERR_OUTPUT,
                      "imprimante « " + printer + " » : la destination « " + target +
                          " » est refusée : " + reason,
                      printer);
}

bool is_file_of_a_base(const fs::path& path, const fs::path& own_base) {
    constexpr std::string_view HEADER = "SQLite format 3";
    std::string begin(HEADER.size(), '\0');
    if (fs::is_regular_file(path)) // anything else could keep the one who reads it
        std::ifstream(path, std::ios::binary).read(begin.data(), static_cast<std::streamsize>(begin.size()));
    return begin == HEADER || path == own_base ||
           std::any_of(BASE_ENDINGS.begin(), BASE_ENDINGS.end(), [&](std::string_view ending) {
               return std::string_view(path.native()).ends_with(ending);
           });
}

// Throws the system's own failure when the folder or the path cannot be followed.
std::string file_in_base_folder(const std::string& printer, const std::string& target,
                                const std::string& base_path) {
    const fs::path base = fs::absolute(base_path);
    const fs::path folder = fs::canonical(base.parent_path());
    const fs::path path = fs::weakly_canonical(folder / target);
    const fs::path inside = path.lexically_relative(folder);
    // What is still a link behind all that was followed leads to nothing yet, wherever that may be.
    if (inside.empty() || inside == "." || *inside.begin() == ".." || !path.has_filename() ||
        fs::is_symlink(path))
        refuse_target(printer, target, "elle n'est pas un fichier du dossier de la base");
    if (is_file_of_a_base(path, folder / base.filename()))
        refuse_target(printer, target, "c'est un fichier de la base");
    return path.string();
}

std::string file_of(const std::string& printer, const std::string& target, const std::string& base_path) {
    if (base_path.empty()) refuse_target(printer, target, "une base en mémoire n'a pas de dossier");
    if (target.find('\0') != std::string::npos)
        refuse_target(printer, target, "elle contient un caractère NUL");
    try {
        return file_in_base_folder(printer, target, base_path);
    } catch (const fs::filesystem_error& failure) {
        refuse_target(printer, target, system_reason(failure.code().value()));
    }
}

} // namespace

void test_and_set_printer(Store& store, std::string_view rest) {
    const std::vector<Border> borders = best_borders(store, rest);
    if (borders.empty())
        throw StepFailure(ERR_COMMAND, "TESTESETPTR : il faut un utilisateur et une imprimante : « " +
                                           std::string(rest) + " »");
    Transaction whole(store);
    const FileId file = store.file(files::TEMPO);
    if (borders.front().known) {
        set_printer(store, file, borders.back());
    } else {
        for (const Border& border : borders) {
            store.write(file, key_of(tempo::PRINTER_ANSWER, border.user), tempo::PRINTER_UNKNOWN);
            store.erase(file, key_of(tempo::PRINTER_SET, border.user));
        }
    }
    whole.commit();
}

PrinterTarget target_in_base(const std::string& printer, const std::string& target,
                             const std::string& base_path) {
    if (target.empty()) refuse_target(printer, target, "elle est vide");
    if (!target.starts_with(QUEUE_PREFIX)) return {printer, file_of(printer, target, base_path), ""};
    std::string queue = target.substr(QUEUE_PREFIX.size());
    if (!usable_queue(queue)) refuse_target(printer, target, "ce n'est pas le nom d'une file d'impression");
    return {printer, "", std::move(queue)};
}

PrinterTarget printer_of_user(Store& store, std::string_view user, const std::string& base_path) {
    const std::optional<std::string> printer =
        first_attribute(store, files::TEMPO, key_of(tempo::PRINTER_SET, user));
    if (!printer)
        throw StepFailure(ERR_COMMAND,
                          "CORVALISSEMENT : l'utilisateur « " + std::string(user) +
                              " » n'a pas choisi d'imprimante",
                          std::string(user));
    const std::optional<std::string> target = first_attribute(store, files::IMPRIMANTES, *printer);
    if (!target)
        throw StepFailure(ERR_COMMAND, "l'imprimante « " + *printer + " » n'est pas connue du serveur",
                          *printer);
    return target_in_base(*printer, *target, base_path);
}

} // namespace corvalissement
