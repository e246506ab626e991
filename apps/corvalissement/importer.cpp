// corvalissement importer, generer: bases made from accounting files, and made up.
#include "command_line.h"
#include "fec/fec_importer.h"
#include "made_up/made_up_base.h"
#include "records/bad_input.h"

#include <iostream>

namespace corvalissement {

namespace {

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
    FecSummary summary;
    try {
        fill_embedded_store(options.base, [&](Store& store) {
            ProgressBar bar("importation");
            summary = import_fec(store, options.fec, bar.sink());
        });
    } catch (const BadInput& bad) {
        complain(bad.text());
        for (const std::string& fault : bad.others())
            complain(fault);
        complain("la base est inchangée");
        return BAD_INPUT;
    }
    std::cout << summary.to_json() << std::endl;
    require_standard_output();
    return DONE;
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
    command->add_option(
        "--debut", options->first,
        "Premier jour de l'exercice N (jj/mm/aaaa), sinon celui de la base, sinon celui que le "
        "fichier laisse déduire");
    command->add_option("--fin", options->last, "Dernier jour de l'exercice N (jj/mm/aaaa)");
    command->add_flag("--brouillards", options->fec.drafts,
                      "Lignes sans date de validation en séquences de brouillard");
    command->add_flag("--auxiliaires", options->fec.auxiliaries, "Un compte pour chaque tiers");
    command->add_flag("--hors-bornes", options->fec.outside_bounds,
                      "Laisse de côté les lignes hors des trois exercices");
    command->add_flag("--meme-entite", options->fec.same_entity,
                      "Prend aussi un fichier dont le nom est celui d'une autre entreprise (SIREN)");
    finish_options(*command);
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
    command->add_option("--lignes", options->made_up.lines, "Nombre de lignes d'écriture")
        ->required()
        ->check(between(0, INT64_MAX));
    command->add_option("--comptes", options->made_up.accounts, "Nombre de comptes, 7 au moins")
        ->check(between(7, INT64_MAX));
    command->add_option("--graine", options->made_up.seed, "Graine du tirage")->check(between(0, INT64_MAX));
    command->add_option("--brouillards", options->made_up.drafts, "Nombre de lignes de brouillard")
        ->check(between(0, INT64_MAX));
    finish_options(*command);
    command->callback([options, &run] {
        run = [options] {
            if (std::string fault = fault_of_options(options->made_up); !fault.empty())
                throw UsageError(fault);
            fill_embedded_store(options->base, [&](Store& store) {
                ProgressBar bar("génération");
                make_up_base(store, options->made_up, bar.sink());
            });
            return static_cast<int>(DONE);
        };
    });
}

} // namespace corvalissement
