// corvalissement charger, extraire: raw records.
#include "command_line.h"
#include "files/output_file.h"
#include "records/bad_input.h"
#include "records/raw_records.h"

#include <cerrno>
#include <fstream>
#include <iostream>

namespace corvalissement {

namespace {

int load(const std::string& base, const std::string& file) {
    std::ifstream opened;
    if (file != "-") {
        opened.open(file, std::ios::binary);
        if (!opened) throw BadInput(file, 0, system_reason(errno));
    }
    fill_embedded_store(base, [&](Store& store) {
        ProgressBar bar("chargement");
        load_records(store, file == "-" ? std::cin : opened, file == "-" ? "entrée standard" : file,
                     bar.sink());
    });
    return DONE;
}

int extract(const std::string& base, const std::string& file) {
    const auto store = open_embedded_store(base, OpenMode::must_exist);
    extract_records(*store, std::cout, file.empty() ? std::nullopt : std::optional<std::string>(file));
    require_standard_output();
    return DONE;
}

} // namespace

void add_charger(CLI::App& app, Run& run) {
    auto base = std::make_shared<std::string>();
    auto file = std::make_shared<std::string>("-");
    CLI::App* command = app.add_subcommand(
        "charger", "Remplace dans la base les enregistrements donnés, un objet JSON par ligne");
    command->add_option("--base", *base, "Base, créée si elle n'existe pas")->required();
    command->add_option("FICHIER", *file, "Fichier à lire, - pour l'entrée standard");
    finish_options(*command);
    command->callback([base, file, &run] { run = [base, file] { return load(*base, *file); }; });
}

void add_extraire(CLI::App& app, Run& run) {
    auto base = std::make_shared<std::string>();
    auto file = std::make_shared<std::string>();
    CLI::App* command =
        app.add_subcommand("extraire", "Ecrit les enregistrements de la base, un objet JSON par ligne");
    command->add_option("--base", *base, "Base")->required();
    command->add_option("--fichier", *file, "Un seul fichier de la base");
    finish_options(*command);
    command->callback([base, file, &run] { run = [base, file] { return extract(*base, *file); }; });
}

} // namespace corvalissement
