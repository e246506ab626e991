#include "commands/commands.h"

#include "commands/command_drafts.h"
#include "commands/command_edition.h"
#include "commands/command_printer.h"
#include "commands/session.h"
#include "platform/text.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace corvalissement {

namespace {

// Far beyond any command but the list of draft sequences, which may name each sequence of an entity.
constexpr std::size_t LONGEST_LINE = 1'000;

void require_short(std::string_view line) {
    if (line.size() > LONGEST_LINE)
        throw StepFailure(ERR_COMMAND, "commande trop longue : " + std::string(chars(line, 1, 40)) + "...");
}

class ServerCommands final : public CommandRunner {
public:
    explicit ServerCommands(ServerSettings settings) : settings_(std::move(settings)) {
        if (settings_.today == nullptr || settings_.failures == nullptr)
            throw StepFailure(ERR_COMMAND, "les commandes du serveur ont besoin d'une date et d'un journal");
        // The commands mean the same folder also after the process has changed its own.
        if (!settings_.base_path.empty())
            settings_.base_path = std::filesystem::absolute(settings_.base_path).lexically_normal().string();
    }

    void run(ServerSession& session, std::string_view command, bool /*prefixed*/) override {
        // The marks of records and lists are no UTF-8, so no key made from the line can hold one.
        if (!is_utf8(command))
            throw StepFailure(ERR_COMMAND, "la commande n'est pas un texte UTF-8 : " + sanitize(command));
        const std::string_view word = command.substr(0, command.find(' '));
        const std::string_view rest = command.substr(std::min(word.size() + 1, command.size()));
        if (word == "AFFECTCOMPTATEMPO") return assign_drafts(session, rest);
        require_short(command);
        if (word == "LOGIN" || word == "DATE.FORMAT") return;
        if (word == "VIDER-FICHIER") return empty_file(session, rest);
        if (word == "TESTESETPTR") return test_and_set_printer(session.store(), rest);
        if (word == "CORVALISSEMENT") return run_edition(session, settings_, rest);
        throw StepFailure(ERR_COMMAND, "commande inconnue : " + std::string(command), std::string(command));
    }

private:
    ServerSettings settings_;
};

} // namespace

std::shared_ptr<CommandRunner> make_server_commands(ServerSettings settings) {
    return std::make_shared<ServerCommands>(std::move(settings));
}

} // namespace corvalissement
