#include "output/print_queue.h"

#include "output/output_file.h"
#include "platform/failures.h"
#include "platform/text.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // the name that the system gives it

namespace corvalissement {

namespace {

constexpr std::size_t WORDS_KEPT = 4'096; // of what the print service says, in bytes

[[noreturn]] void queue_failure(const std::string& queue, const std::string& reason) {
    throw StepFailure(ERR_OUTPUT, "la file d'impression « " + queue + " » a refusé l'édition : " + reason,
                      queue);
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
int start_lp(std::array<std::string, 9> words, int channel, pid_t& child) {
    posix_spawn_file_actions_t actions;
    if (const int error = ::posix_spawn_file_actions_init(&actions); error != 0) return error;
    int error = ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        if (error == 0) error = ::posix_spawn_file_actions_adddup2(&actions, channel, stream);
    std::array<char*, 10> arguments{};
    for (std::size_t i = 0; i < words.size(); ++i)
        arguments[i] = words[i].data();
    if (error == 0) error = ::posix_spawnp(&child, "lp", &actions, nullptr, arguments.data(), environ);
    static_cast<void>(::posix_spawn_file_actions_destroy(&actions));
    return error;
}

} // namespace

bool usable_queue(std::string_view queue) {
    return !queue.empty() && queue.front() != '-' && queue.find_first_of(" /\t\n") == std::string_view::npos;
}

void print_on_queue(const std::string& queue, const std::string& file, const std::string& title, int copies) {
    if (!usable_queue(queue)) queue_failure(queue, "ce n'est pas le nom d'une file d'impression");
    std::array<int, 2> channel{};
    if (::pipe2(channel.data(), O_CLOEXEC) != 0) queue_failure(queue, system_reason(errno));
    pid_t child = 0;
    const int error = start_lp({"lp", "-d", queue, "-n", std::to_string(copies), "-t", title, "--", file},
                               channel[1], child);
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
