// The command `corvalissement`: everything that the control can do, with no window.
#include "command_line.h"
#include "files/unfinished_files.h"
#include "records/bad_input.h"

#include <csignal>
#include <cstdio>
#include <memory>

#include <unistd.h>

namespace corvalissement {

namespace {

// The help page in French; the words of the library are English.
class FrenchHelp : public CLI::Formatter {
public:
    FrenchHelp() {
        label("REQUIRED", "(obligatoire)");
        label("TEXT", "TEXTE");
        label("INT", "N");
        label("UINT", "N");
        label("Usage", "Usage ");
        label("OPTIONS", "OPTIONS");
        label("SUBCOMMAND", "SOUS-COMMANDE");
        label("SUBCOMMANDS", "SOUS-COMMANDES");
        label("Positionals", "Arguments");
        label("Options", "Options");
        label("Subcommands", "Sous-commandes");
        column_width(34);
    }
    std::string make_option_opts(const CLI::Option* option) const override {
        std::string text;
        if (option->get_type_size() != 0 && !option->get_type_name().empty())
            text += " " + get_label(option->get_type_name());
        if (option->get_expected_max() > 1) text += " ...";
        if (option->get_required()) text += " " + get_label("REQUIRED");
        return text;
    }
};

// What the parser says, in the user's language.
std::string in_french(const CLI::ParseError& error) {
    const auto kind = static_cast<CLI::ExitCodes>(error.get_exit_code());
    const std::string text = error.what();
    const std::size_t colon = std::min(text.find(':'), text.size());
    const std::string subject = text.substr(0, colon);
    if (kind == CLI::ExitCodes::RequiredError) {
        if (text.find("subcommand") != std::string::npos) return "une sous-commande est attendue";
        return "il manque " + text.substr(0, text.find(" is required"));
    }
    if (kind == CLI::ExitCodes::ExtrasError) return "argument inattendu" + text.substr(colon);
    if (kind == CLI::ExitCodes::ArgumentMismatch) return subject + " : nombre de valeurs inattendu";
    if (kind == CLI::ExitCodes::ConversionError) return "valeur refusée" + text.substr(colon);
    if (kind == CLI::ExitCodes::ValidationError) return "valeur refusée : " + text;
    return "mauvais usage : " + text;
}

// A run that is stopped takes its unfinished files with it.
void stopped(int signal) {
    remove_unfinished_files();
    static_cast<void>(std::signal(signal, SIG_DFL));
    static_cast<void>(std::raise(signal));
}

// The base is read through memory: when somebody cuts the file short meanwhile, what lay behind is gone.
void base_cut_short(int) {
    constexpr char TEXT[] = "corvalissement : la base a été tronquée pendant qu'elle était lue\n";
    remove_unfinished_files();
    if (::write(STDERR_FILENO, TEXT, sizeof TEXT - 1) < 0) ::_exit(INPUT_OUTPUT);
    ::_exit(INPUT_OUTPUT);
}

void handle_signals() {
    // A reader that stops reading, a file that may not grow any more: outputs that cannot be written, not
    // the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        if (std::signal(signal, stopped) == SIG_IGN) std::signal(signal, SIG_IGN);
    std::signal(SIGBUS, base_cut_short);
}

int run_command(int argc, char** argv) {
    CLI::App app{"Edition du grand livre général d'une entité juridique.", "corvalissement"};
    app.formatter(std::make_shared<FrenchHelp>());
    app.set_help_flag("-h,--help", "Montre cette aide");
    app.set_version_flag("--version", "corvalissement " CORVALISSEMENT_VERSION, "Montre la version");
    app.require_subcommand(1);
    app.footer("Statuts : 0 fait, 1 refusé ou rien à éditer, 2 mauvais usage, 3 données incorrectes,\n"
               "4 base ou sortie inaccessible, 5 édité mais une étape a échoué.");
    Run run;
    add_importer(app, run);
    add_charger(app, run);
    add_extraire(app, run);
    add_editer(app, run);
    add_piloter(app, run);
    add_generer(app, run);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        complain(in_french(error) + " (voir --help)");
        return WRONG_USAGE;
    }
    try {
        return run();
    } catch (const UsageError& error) {
        complain(error.what());
        return WRONG_USAGE;
    } catch (const BadInput& error) {
        complain(error.what());
        return BAD_INPUT;
    } catch (const StepFailure& failure) {
        complain(failure.text());
        return INPUT_OUTPUT;
    } catch (const std::bad_alloc&) {
        complain("mémoire insuffisante");
        return INPUT_OUTPUT;
    } catch (const std::exception& other) {
        complain(other.what());
        return INPUT_OUTPUT;
    }
}

} // namespace

} // namespace corvalissement

int main(int argc, char** argv) {
    corvalissement::handle_signals();
    return corvalissement::run_command(argc, argv);
}
