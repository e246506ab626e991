#include "output/print_queue.h"

#include "files/output_file.h"
#include "platform/failures.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

extern char** environ; // the name that the system gives it

namespace corvalissement {

namespace {

constexpr mode_t OWNER_ONLY = 0600;
constexpr std::size_t WORDS_KEPT = 4'096; // of what the print service says, in bytes

[[noreturn]] void queue_failure(const std::string& queue, const std::string& reason) {
    throw StepFailure(ERR_OUTPUT, "la file d'impression « " + queue + " » a refusé l'édition : " + reason,
                      queue);
}

using Clock = std::chrono::steady_clock;

// How long the print service may stand still over a file.
std::chrono::milliseconds patience() {
    constexpr double USUAL_SECONDS = 60.0;
    constexpr double MOST_SECONDS = 86'400.0;
    const char* given = std::getenv("CORVALISSEMENT_DELAI_IMPRESSION");
    double seconds = USUAL_SECONDS;
    if (given != nullptr) {
        const std::string_view text(given);
        double value = 0.0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error == std::errc() && end == text.data() + text.size() && value > 0.0) seconds = value;
    }
    return std::chrono::milliseconds(std::llround(std::min(seconds, MOST_SECONDS) * 1000.0));
}

// What came of the command: what it said, and how it ended, nothing when the time was over before.
struct Outcome {
    std::string words;
    std::optional<int> status;
};

// Reads what is there, so that the one who writes is never stopped, and keeps the beginning. False at the
// end.
bool read_words(int channel, std::string& words) {
    std::array<char, 512> buffer{};
    ssize_t got = 0;
    while ((got = ::read(channel, buffer.data(), buffer.size())) > 0 || (got < 0 && errno == EINTR))
        if (got > 0 && words.size() < WORDS_KEPT) words.append(buffer.data(), static_cast<std::size_t>(got));
    return got != 0;
}

// It is the command's own end that counts: a process that it has left behind may hold the channel on, and the
// command may go on without it.
Outcome await_end(pid_t child, int file, int channel) {
    constexpr int LOOK_EVERY_MS = 10;
    Outcome outcome;
    bool more = true;
    int status = 0;
    off_t taken = 0; // of the file, whose place the command shares
    for (auto moved = Clock::now(); !outcome.status && Clock::now() < moved + patience();) {
        pollfd watched{more ? channel : -1, POLLIN, 0};
        static_cast<void>(::poll(&watched, 1, LOOK_EVERY_MS));
        // A host that ignores its children never learns how one ended.
        const pid_t ended = ::waitpid(child, &status, WNOHANG);
        if (ended == child || (ended < 0 && errno == ECHILD)) outcome.status = status;
        more = more && read_words(channel, outcome.words);
        const off_t place = ::lseek(file, 0, SEEK_CUR);
        if (place != taken) moved = Clock::now();
        taken = place;
    }
    if (!outcome.status) {
        static_cast<void>(::kill(child, SIGKILL));
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
    }
    while (!outcome.words.empty() && (outcome.words.back() == '\n' || outcome.words.back() == ' '))
        outcome.words.pop_back();
    outcome.words = sanitize(outcome.words);
    return outcome;
}

// Starts lp with the file as its input, its output and its complaints going into `channel`. Gives the
// system's error number.
int start_lp(std::array<std::string, 7> words, int file, int channel, pid_t& child) {
    posix_spawn_file_actions_t actions;
    if (const int error = ::posix_spawn_file_actions_init(&actions); error != 0) return error;
    int error = ::posix_spawn_file_actions_adddup2(&actions, file, STDIN_FILENO);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        if (error == 0) error = ::posix_spawn_file_actions_adddup2(&actions, channel, stream);
    std::array<char*, 8> arguments{};
    for (std::size_t i = 0; i < words.size(); ++i)
        arguments[i] = words[i].data();
    if (error == 0) error = ::posix_spawnp(&child, "lp", &actions, nullptr, arguments.data(), environ);
    static_cast<void>(::posix_spawn_file_actions_destroy(&actions));
    return error;
}

std::string folder_for_temporaries() {
    std::error_code none;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(none);
    return folder.empty() ? "." : folder.string();
}

} // namespace

bool usable_queue(std::string_view queue) {
    return !queue.empty() && queue.front() != '-' && queue.find_first_of(" /\t\n") == std::string_view::npos;
}

QueuedFile::QueuedFile() : file_(folder_for_temporaries(), OWNER_ONLY) {
    if (file_.error() != 0)
        throw StepFailure(ERR_OUTPUT, "dossier des fichiers temporaires : " + system_reason(file_.error()),
                          folder_for_temporaries());
}

void QueuedFile::send(const std::string& queue, const std::string& title, int copies) const {
    if (!usable_queue(queue)) queue_failure(queue, "ce n'est pas le nom d'une file d'impression");
    std::array<int, 2> channel{};
    if (::lseek(file_.descriptor(), 0, SEEK_SET) != 0 || ::pipe2(channel.data(), O_CLOEXEC) != 0 ||
        ::fcntl(channel[0], F_SETFL, O_NONBLOCK) != 0)
        queue_failure(queue, system_reason(errno));
    pid_t child = 0;
    const int error = start_lp({"lp", "-d", queue, "-n", std::to_string(copies), "-t", title},
                               file_.descriptor(), channel[1], child);
    static_cast<void>(::close(channel[1]));
    const Outcome outcome = error == 0 ? await_end(child, file_.descriptor(), channel[0]) : Outcome();
    static_cast<void>(::close(channel[0]));
    if (error != 0)
        queue_failure(queue, "la commande lp ne peut pas être lancée (" + system_reason(error) + ")");
    if (!outcome.status) queue_failure(queue, "la commande lp n'en finit pas, elle a été arrêtée");
    if (!WIFEXITED(*outcome.status) || WEXITSTATUS(*outcome.status) != 0)
        queue_failure(queue, outcome.words.empty() ? "sans motif" : outcome.words);
}

} // namespace corvalissement
