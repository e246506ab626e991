#include "server/command_printer.h"

#include "data/dyn_array.h"
#include "data/keys.h"
#include "launch/server_edition.h"
#include "output/output_file.h"
#include "platform/failures.h"
#include "platform/text.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ; // the name that the system gives it

namespace corvalissement {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view QUEUE_PREFIX = "cups:";
// The base itself, and what its engine and its locks keep beside it.
constexpr std::array<std::string_view, 5> BASE_ENDINGS = {"", "-journal", "-wal", "-shm", "-verrous"};
constexpr std::size_t WORDS_KEPT = 4'096; // of what the print service says, in bytes

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

// An absolute path, or the path made absolute from the base's folder, which it must not leave.
std::string file_of(const std::string& printer, const std::string& target, const std::string& base_path) {
    fs::path path = fs::path(target).lexically_normal();
    if (path.is_relative()) {
        if (base_path.empty()) refuse_target(printer, target, "une base en mémoire n'a pas de dossier");
        if (path.begin() == path.end() || *path.begin() == ".." || !path.has_filename() || path == ".")
            refuse_target(printer, target, "elle n'est pas un fichier du dossier de la base");
        path = fs::path(base_path).parent_path() / path;
    }
    for (const std::string_view ending : BASE_ENDINGS)
        if (!base_path.empty() && path.string() == base_path + std::string(ending))
            refuse_target(printer, target, "c'est un fichier de la base");
    return path.string();
}

[[noreturn]] void queue_failure(const std::string& queue, const std::string& reason) {
    throw StepFailure(ERR_OUTPUT, "la file d'impression « " + queue + " » a refusé l'édition : " + reason,
                      queue);
}

bool usable_queue(std::string_view queue) {
    return !queue.empty() && queue.front() != '-' && queue.find_first_of(" /\t\n") == std::string_view::npos;
}

// Reads to the end, so that the one who writes is never stopped, and keeps the beginning.
std::string read_words(int descriptor) {
    std::string words;
    std::array<char, 512> buffer{};
    ssize_t got = 0;
    while ((got = ::read(descriptor, buffer.data(), buffer.size())) > 0 || (got < 0 && errno == EINTR))
        if (got > 0 && words.size() < WORDS_KEPT) words.append(buffer.data(), static_cast<std::size_t>(got));
    while (!words.empty() && (words.back() == '\n' || words.back() == ' '))
        words.pop_back();
    return sanitize(words);
}

// Starts lp with its output and its complaints going into `channel`. Gives the system's error number.
int start_lp(const std::string& queue, const std::string& file, int channel, pid_t& child) {
    posix_spawn_file_actions_t actions;
    if (const int error = ::posix_spawn_file_actions_init(&actions); error != 0) return error;
    int error = ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        if (error == 0) error = ::posix_spawn_file_actions_adddup2(&actions, channel, stream);
    std::array<std::string, 5> words = {"lp", "-d", queue, "--", file};
    std::array<char*, 6> arguments{};
    for (std::size_t i = 0; i < words.size(); ++i)
        arguments[i] = words[i].data();
    if (error == 0) error = ::posix_spawnp(&child, "lp", &actions, nullptr, arguments.data(), environ);
    static_cast<void>(::posix_spawn_file_actions_destroy(&actions));
    return error;
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
    if (target->empty()) refuse_target(*printer, *target, "elle est vide");
    if (!target->starts_with(QUEUE_PREFIX)) return {*printer, file_of(*printer, *target, base_path), ""};
    std::string queue = target->substr(QUEUE_PREFIX.size());
    if (!usable_queue(queue)) refuse_target(*printer, *target, "ce n'est pas le nom d'une file d'impression");
    return {*printer, "", std::move(queue)};
}

void print_on_queue(const std::string& queue, const std::string& file) {
    std::array<int, 2> channel{};
    if (::pipe2(channel.data(), O_CLOEXEC) != 0) queue_failure(queue, system_reason(errno));
    pid_t child = 0;
    const int error = start_lp(queue, file, channel[1], child);
    static_cast<void>(::close(channel[1]));
    const std::string said = error == 0 ? read_words(channel[0]) : "";
    static_cast<void>(::close(channel[0]));
    if (error != 0)
        queue_failure(queue, "la commande lp ne peut pas être lancée (" + system_reason(error) + ")");
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        queue_failure(queue, said.empty() ? "sans motif" : said);
}

} // namespace corvalissement
