// corvalissement importer, generer: bases made from accounting files, and made up.
#include "command_line.h"
#include "fec/fec_importer.h"
#include "made_up/made_up_base.h"
#include "platform/text.h"
#include "records/bad_input.h"
#include "records/json_text.h"

#include <filesystem>
#include <iostream>

namespace corvalissement {

namespace {

struct ImporterOptions {
    FecOptions fec;
    std::string base;
    std::string first;
    std::string last;
};

// A trial tells what is refused where its reader looks for the plan.
void tell_refusals(const BadInput& bad) {
    std::string line = "{\"refus\":[";
    append_json(line, sanitize(bad.text()));
    for (const std::string& fault : bad.others()) {
        line.push_back(',');
        append_json(line, sanitize(fault));
    }
    std::cout << line << "]}" << std::endl;
}

int run_importer(ImporterOptions options) {
    if (options.first.empty() != options.last.empty()) throw UsageError("--debut et --fin vont ensemble");
    if (!options.first.empty()) {
        options.fec.first_day = day_option(options.first, "--debut");
        options.fec.last_day = day_option(options.last, "--fin");
    }
    if (std::string fault = fault_of_options(options.fec); !fault.empty()) throw UsageError(fault);
    FecSummary summary;
    std::error_code ignored;
    const auto import = [&](Store& store) {
        ProgressBar bar(options.fec.trial ? "essai" : "importation");
        summary = import_fec(store, options.fec, bar.sink());
    };
    try {
        // A trial for a base that is still to come makes none.
        if (!options.fec.trial)
            fill_embedded_store(options.base, import);
        else if (std::filesystem::exists(options.base, ignored))
            import(*open_embedded_store(options.base, OpenMode::must_exist));
        else
            import(*make_memory_store());
    } catch (const BadInput& bad) {
        if (options.fec.trial) tell_refusals(bad);
        complain(bad.text());
        for (const std::string& fault : bad.others())
            complain(fault);
        complain("la base est inchangée");
        return BAD_INPUT;
    }
    std::cout << summary.to_json() << std::endl;
    require_standard_output(options.fec.trial ? "" : "l'importation est faite, mais ");
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
    command->add_flag("--essai", options->fec.trial,
                      "Montre ce que l'importation ferait (exercices, journaux, comptes, lettrage, totaux, "
                      "remarques, refus) et ne change rien");
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
