// corvalissement importer, generer: bases made from accounting files, and made up.
#include "command_line.h"
#include "importers/bad_input.h"
#include "importers/fec_importer.h"
#include "importers/made_up_base.h"

#include <filesystem>
#include <iostream>

namespace corvalissement {

namespace {

// A base that this very command has made is taken away again when the command fails, so that a refusal
// leaves nothing behind.
class NewBase {
public:
    explicit NewBase(std::string path) : path_(std::move(path)), existed_(std::filesystem::exists(path_)) {}
    ~NewBase() {
        if (existed_ || kept_) return;
        std::error_code ignored;
        for (const char* tail : {"", "-wal", "-shm", "-journal", "-verrous"})
            std::filesystem::remove(path_ + tail, ignored);
    }
    NewBase(const NewBase&) = delete;
    NewBase& operator=(const NewBase&) = delete;
    void keep() noexcept { kept_ = true; }

private:
    std::string path_;
    bool existed_;
    bool kept_ = false;
};

struct ImporterOptions {
    FecOptions fec;
    std::string base;
    std::string first;
    std::string last;
};

int run_importer(ImporterOptions options) {
    if (options.first.empty() != options.last.empty()) throw UsageError("--debut et --fin vont ensemble");
    if (!options.first.empty()) {
        options.fec.first_day = day_option(options.first, "--debut");
        options.fec.last_day = day_option(options.last, "--fin");
    }
    if (std::string fault = fault_of_options(options.fec); !fault.empty()) throw UsageError(fault);
    NewBase created(options.base);
    FecSummary summary;
    {
        const auto store = open_embedded_store(options.base, OpenMode::create);
        ProgressBar bar("importation");
        summary = import_fec(*store, options.fec, bar.sink());
    }
    created.keep();
    std::cout << summary.to_json() << std::endl;
    return std::cout ? DONE : INPUT_OUTPUT;
}

} // namespace

void add_importer(CLI::App& app, Run& run) {
    auto options = std::make_shared<ImporterOptions>();
    CLI::App* command =
        app.add_subcommand("importer", "Prend des fichiers des écritures comptables (FEC) dans une base");
    command->add_option("FEC", options->fec.paths, "Fichiers à importer, - pour l'entrée standard")
        ->required();
    command->add_option("--base", options->base, "Base, créée si elle n'existe pas")->required();
    command->add_option("--entite", options->fec.entity, "Code de l'entité, 3 caractères")->required();
    command->add_option("--nom", options->fec.name, "Nom de l'entité")->required();
    command->add_option("--adresse", options->fec.address, "Adresse : \"L1|L2|CP VILLE\"");
    command->add_option("--debut", options->first, "Premier jour de l'exercice N (jj/mm/aaaa)");
    command->add_option("--fin", options->last, "Dernier jour de l'exercice N (jj/mm/aaaa)");
    command->add_flag("--brouillards", options->fec.drafts,
                      "Lignes sans date de validation en séquences de brouillard");
    command->add_flag("--auxiliaires", options->fec.auxiliaries, "Un compte pour chaque tiers");
    command->add_flag("--hors-bornes", options->fec.outside_bounds,
                      "Laisse de côté les lignes hors des trois exercices");
    command->callback([options, &run] { run = [options] { return run_importer(*options); }; });
}

void add_generer(CLI::App& app, Run& run) {
    struct Options {
        MadeUpOptions made_up;
        std::string base;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("generer", "Fait une base inventée, toujours la même pour les mêmes options");
    command->add_option("--base", options->base, "Base, créée si elle n'existe pas")->required();
    command->add_option("--lignes", options->made_up.lines, "Nombre de lignes d'écriture")->required();
    command->add_option("--comptes", options->made_up.accounts, "Nombre de comptes");
    command->add_option("--graine", options->made_up.seed, "Graine du tirage");
    command->add_option("--brouillards", options->made_up.drafts, "Nombre de lignes de brouillard");
    command->callback([options, &run] {
        run = [options] {
            NewBase created(options->base);
            {
                const auto store = open_embedded_store(options->base, OpenMode::create);
                ProgressBar bar("génération");
                make_up_base(*store, options->made_up, bar.sink());
            }
            created.keep();
            return static_cast<int>(DONE);
        };
    });
}

} // namespace corvalissement
