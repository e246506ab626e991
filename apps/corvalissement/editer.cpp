// corvalissement editer, piloter: hosts of the control.
#include "command_line.h"
#include "commands/command_printer.h"
#include "commands/commands.h"
#include "commands/session.h"
#include "data/keys.h"
#include "data/util_object.h"
#include "host/edition_host.h"
#include "host/scripted_host.h"
#include "output/surfaces.h"
#include "platform/text.h"
#include "records/bad_input.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>

namespace corvalissement {

namespace {

struct EditerOptions {
    std::string base;
    EditionOptions edition;
    std::string start;
    std::string end;
    std::string account_class = "Globale";
    std::vector<std::string> ranges;
    std::optional<std::string> drafts;
    std::string today;
    std::string output;
    std::string printer;
    std::string printer_list;
    std::string user;
    std::string computer;
};

HostSettings host_settings(const std::string& today, const std::string& user, const std::string& computer) {
    HostSettings settings;
    settings.today = today.empty() ? system_today() : date_option(today, "--date");
    settings.user = user.empty() ? system_user_name() : user;
    settings.computer = computer.empty() ? system_computer_name() : computer;
    return settings;
}

std::vector<PrinterEntry> printers_of_file(const std::string& path) {
    std::ifstream input(path, std::ios::binary);
    if (!input || std::filesystem::is_directory(path))
        throw BadInput(path, 0, "cette liste d'imprimantes ne peut pas être lue");
    try {
        return read_printers(input, path);
    } catch (const StepFailure& failure) {
        throw BadInput("", 0, failure.text());
    }
}

std::shared_ptr<TarvexSession> open_session(std::unique_ptr<Store> store, const std::string& base,
                                            HeadlessHost& host) {
    ServerSettings server;
    server.base_path = base;
    server.today = [&host] { return host.today(); };
    server.failures = &host;
    return std::make_shared<ServerSession>(std::move(store), make_server_commands(std::move(server)));
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(separator, at), text.size());
        parts.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

EditionOptions edition_options(const EditerOptions& options) {
    EditionOptions edition = options.edition;
    if (!options.start.empty()) edition.start_date = options.start;
    if (!options.end.empty()) edition.end_date = options.end;
    if (options.account_class == "Fournisseurs") edition.account_class = 1;
    if (options.account_class == "Clients") edition.account_class = 2;
    for (const std::string& range : options.ranges) {
        const std::vector<std::string> ends = split(range, ':');
        if (ends.size() != 2 || ends[0].empty() || ends[1].empty())
            throw UsageError("--comptes : « " + range + " » n'est pas de la forme DE:A");
        edition.ranges.emplace_back(ends[0], ends[1]);
    }
    if (options.drafts == "tous")
        edition.all_drafts = true;
    else if (options.drafts)
        edition.drafts = split(*options.drafts, ',');
    for (const std::string& key : edition.drafts)
        if (key.empty()) throw UsageError("--brouillard : une clé de séquence est vide");
    return edition;
}

// Puts the printer of this edition first in the host's list.
void choose_output(const EditerOptions& options, Store& store, HostSettings& settings) {
    if (!options.output.empty()) {
        settings.printers.push_back({"Sortie", options.output, options.output, ""});
        return;
    }
    if (options.printer.empty()) return;
    const auto list = options.printer_list.empty() ? printers_of_base(store, options.base)
                                                   : printers_of_file(options.printer_list);
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const PrinterEntry& entry) { return entry.name == options.printer; });
    if (found != list.end()) {
        settings.printers.push_back(*found);
    } else if (options.printer.starts_with(QUEUE_PREFIX)) {
        settings.printers.push_back(
            {options.printer.substr(QUEUE_PREFIX.size()), options.printer, options.printer, ""});
    } else {
        throw StepFailure(ERR_PROPERTY, "L'imprimante « " + options.printer +
                                            " » n'est pas dans la liste des imprimantes.");
    }
    settings.output_folder = options.printer_list.empty() ? base_folder(options.base) : ".";
}

// What the host's outcome is for a script.
int status_of(const EditionHost& host, EditionEnd end, bool graphic) {
    std::set<std::string> told{""};
    std::vector<std::string> messages = host.messages();
    messages.push_back(host.notice());
    for (const std::string& text : messages)
        if (told.insert(text).second) tell(text);
    const auto& failures = host.failures();
    tell_skipped(failures);
    if (host.withheld()) {
        complain("l'édition serait incomplète : elle n'est pas remise");
        return INPUT_OUTPUT;
    }
    if (has_number(failures, ERR_OUTPUT)) return INPUT_OUTPUT;
    const bool nothing = graphic ? host.file_made().empty() : !host.printer_asked();
    if (end == EditionEnd::refused || nothing) {
        if (has_number(failures, ERR_STORE)) return INPUT_OUTPUT;
        if (host.messages().empty()) complain("rien à éditer pour cette sélection");
        return REFUSED;
    }
    // A command of the server that failed has made nothing; nor has a printer that could not be opened.
    if (has_number(failures, ERR_COMMAND) || !host.handed_out()) return INPUT_OUTPUT;
    if (graphic) {
        std::cout << host.file_made() << std::endl;
        require_standard_output();
    }
    return failures.empty() ? DONE : SKIPPED;
}

int run_editer(const EditerOptions& options) {
    const int outputs = (options.output.empty() ? 0 : 1) + (options.printer.empty() ? 0 : 1) +
                        (options.edition.graphic ? 1 : 0);
    if (outputs != 1)
        throw UsageError("il faut une et une seule des options --sortie, --imprimante, --graphique");
    if (!options.output.empty() && !surface_kind(options.output))
        throw UsageError("--sortie : « " + options.output +
                         " » ne finit ni par .pdf, ni par .txt, ni par .jsonl");
    HostSettings settings = host_settings(options.today, options.user, options.computer);
    EditionOptions edition = edition_options(options);
    auto store = open_embedded_store(options.base, OpenMode::must_exist);
    try {
        choose_output(options, *store, settings);
    } catch (const StepFailure& failure) {
        if (failure.number() != ERR_PROPERTY) throw;
        complain(failure.text());
        return REFUSED;
    }
    ProgressBar bar("édition");
    EditionHost host(std::move(settings), std::move(edition));
    host.progress = bar.sink();
    const EditionEnd end = host.run(open_session(std::move(store), options.base, host));
    return status_of(host, end, options.edition.graphic);
}

struct PiloterOptions {
    std::string base;
    std::int32_t level = LEVEL_EDITION;
    std::string user;
    std::string computer;
    std::string today;
    std::string folder = ".";
    std::string printers;
};

int run_piloter(const PiloterOptions& options) {
    HostSettings settings = host_settings(options.today, options.user, options.computer);
    auto store = open_embedded_store(options.base, OpenMode::must_exist);
    settings.level = options.level;
    settings.output_folder = options.folder;
    if (options.printers.empty()) {
        settings.printers = printers_of_base(*store, options.base);
        settings.output_folder = base_folder(options.base);
    } else {
        settings.printers = printers_of_file(options.printers);
    }
    ScriptedHost host(std::move(settings), std::cin, std::cout,
                      [&] { return open_embedded_store(options.base, OpenMode::must_exist); });
    const auto failed = host.run(open_session(std::move(store), options.base, host));
    const auto& failures = host.failures();
    tell_skipped(failures);
    require_standard_output();
    if (failed) complain(failed->text());
    if (failed && failed->number() == ERR_STORE) return INPUT_OUTPUT;
    if (has_number(failures, ERR_OUTPUT)) return INPUT_OUTPUT;
    if (host.pages_printed() > 0) return failures.empty() ? DONE : SKIPPED;
    const bool lost = std::any_of(failures.begin(), failures.end(),
                                  [](const auto& told) { return spoils_edition(told.first, told.second); });
    return lost ? INPUT_OUTPUT : DONE;
}

} // namespace

void add_editer(CLI::App& app, Run& run) {
    auto options = std::make_shared<EditerOptions>();
    CLI::App* command = app.add_subcommand("editer", "Edite le grand livre d'une entité");
    command->add_option("--base", options->base, "Base")->required();
    command->add_option("--entite", options->edition.entity, "Code de l'entité")->required();
    command->add_option("--exercice", options->edition.exercice, "\"N - 1\", \"N\" ou \"N + 1\"")
        ->check(one_of({"N - 1", "N", "N + 1"}));
    command->add_option("--debut", options->start, "Date de début (jj/mm/aaaa)");
    command->add_option("--fin", options->end, "Date de fin (jj/mm/aaaa)");
    command->add_option("--classe", options->account_class, "Globale, Fournisseurs ou Clients")
        ->check(one_of({"Globale", "Fournisseurs", "Clients"}));
    command->add_option("--comptes", options->ranges, "Tranche de comptes DE:A, autant de fois qu'il faut")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command->add_flag("--hors-comptes-soldes", options->edition.only_unsettled, "Sans les comptes soldés");
    command->add_flag("--non-lettrees", options->edition.only_unlettered,
                      "Les seules écritures non lettrées");
    command->add_flag("--cumuls", options->edition.with_earlier,
                      "Avec les cumuls antérieurs (exercice N + 1)");
    command->add_flag("--rupture", options->edition.page_per_account, "Une page nouvelle à chaque compte");
    command->add_option("--brouillard", options->drafts,
                        "Séquences de brouillard : tous, ou des clés CLE,CLE");
    command->add_option("--date", options->today, "Date du jour dans la tête de page (jj/mm/aaaa)");
    command->add_option("--sortie", options->output, "Fichier .pdf, .txt ou .jsonl (trace)");
    command->add_option("--imprimante", options->printer, "Nom d'une imprimante de la liste");
    command->add_option("--imprimantes", options->printer_list,
                        "Liste d'imprimantes, au lieu de celle de la base");
    command->add_flag("--graphique", options->edition.graphic, "Fichier graphique fait par le serveur");
    command->add_option("--copies", options->edition.copies, "Nombre d'exemplaires")
        ->check(between(1, 32767));
    command->add_option("--utilisateur", options->user, "Nom de l'utilisateur");
    command->add_option("--ordinateur", options->computer, "Nom de l'ordinateur");
    finish_options(*command);
    command->callback([options, &run] { run = [options] { return run_editer(*options); }; });
}

void add_piloter(CLI::App& app, Run& run) {
    auto options = std::make_shared<PiloterOptions>();
    CLI::App* command =
        app.add_subcommand("piloter", "Conduit la vue par un script lu sur l'entrée standard");
    command->add_option("--base", options->base, "Base")->required();
    command->add_option("--niveau", options->level, "Niveau que répond l'objet de droits")
        ->check(between(INT32_MIN, INT32_MAX));
    command->add_option("--utilisateur", options->user, "Nom de l'utilisateur");
    command->add_option("--ordinateur", options->computer, "Nom de l'ordinateur");
    command->add_option("--date", options->today, "Date du jour (jj/mm/aaaa)");
    command->add_option("--sortie-dossier", options->folder, "Dossier des sorties d'imprimantes");
    command->add_option("--imprimantes", options->printers, "Liste d'imprimantes, un objet JSON par ligne");
    finish_options(*command);
    command->callback([options, &run] { run = [options] { return run_piloter(*options); }; });
}

} // namespace corvalissement
