#include "output/print_queue.h"

#include "output/output_file.h"
#include "platform/failures.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
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

// How long the print service may take over a file.
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

// True when there is something to read, or the end; false when the time is over.
bool wait_for_words(int descriptor, Clock::time_point until) {
    pollfd watched{descriptor, POLLIN, 0};
    int ready = 0;
    do {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
        ready = ::poll(&watched, 1, static_cast<int>(std::max<std::int64_t>(0, left)));
    } while (ready < 0 && errno == EINTR);
    return ready != 0;
}

// What the print service says, read until it has no more to say, which is when its command ends.
struct Words {
    std::string text;
    bool ended = true; // false: the time was over before
};

// Reads to the end, so that the one who writes is never stopped, and keeps the beginning.
Words read_words(int descriptor, Clock::time_point until) {
    Words words;
    std::array<char, 512> buffer{};
    while ((words.ended = wait_for_words(descriptor, until))) {
        const ssize_t got = ::read(descriptor, buffer.data(), buffer.size());
        if (got == 0 || (got < 0 && errno != EINTR)) break;
        if (got > 0 && words.text.size() < WORDS_KEPT)
            words.text.append(buffer.data(), static_cast<std::size_t>(got));
    }
    while (!words.text.empty() && (words.text.back() == '\n' || words.text.back() == ' '))
        words.text.pop_back();
    words.text = sanitize(words.text);
    return words;
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
    if (::lseek(file_.descriptor(), 0, SEEK_SET) != 0 || ::pipe2(channel.data(), O_CLOEXEC) != 0)
        queue_failure(queue, system_reason(errno));
    const auto until = Clock::now() + patience();
    pid_t child = 0;
    const int error = start_lp({"lp", "-d", queue, "-n", std::to_string(copies), "-t", title},
                               file_.descriptor(), channel[1], child);
    static_cast<void>(::close(channel[1]));
    const Words said = error == 0 ? read_words(channel[0], until) : Words();
    static_cast<void>(::close(channel[0]));
    if (error != 0)
        queue_failure(queue, "la commande lp ne peut pas être lancée (" + system_reason(error) + ")");
    if (!said.ended) static_cast<void>(::kill(child, SIGKILL));
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!said.ended) queue_failure(queue, "la commande lp n'en finit pas, elle a été arrêtée");
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        queue_failure(queue, said.text.empty() ? "sans motif" : said.text);
}

} // namespace corvalissement
