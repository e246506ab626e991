// The command as a script sees it: exit statuses, what is told where, and what it leaves behind.
#include "support/scratch.h"

#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

namespace corvalissement::testing_support {
namespace {

class CommandTest : public testing::Test {
protected:
    struct Outcome {
        int status = -1;
        std::string output;
        std::string errors;
    };

    // Runs the command in the folder of the test; the words of `line` are the shell's.
    Outcome run(const std::string& line) {
        const std::string whole =
            "cd '" + folder_.path().string() + "' && " COMMAND_PATH " " + line + " 2>erreurs";
        Outcome outcome;
        FILE* const pipe = ::popen(whole.c_str(), "r");
        std::array<char, 4096> bytes{};
        for (std::size_t got = 0; (got = std::fread(bytes.data(), 1, bytes.size(), pipe)) > 0;)
            outcome.output.append(bytes.data(), got);
        const int ended = ::pclose(pipe);
        outcome.status = WIFEXITED(ended) ? WEXITSTATUS(ended) : 128 + WTERMSIG(ended);
        outcome.errors = content("erreurs");
        std::filesystem::remove(folder_ / "erreurs");
        return outcome;
    }
    std::string content(const std::string& name) { return bytes_of(folder_ / name); }
    void put(const std::string& name, const std::string& text) { put_bytes(folder_ / name, text); }
    void expect(const std::string& line, int status, const std::string& told) {
        const Outcome outcome = run(line);
        EXPECT_EQ(outcome.status, status) << line << "\n" << outcome.errors;
        EXPECT_NE(outcome.errors.find(told), std::string::npos) << line << "\n" << outcome.errors;
    }

    Scratch folder_;
};

TEST_F(CommandTest, status_tells_what_became_of_it) {
    ASSERT_EQ(run("generer --base b.base --lignes 400 --brouillards 40").status, 0);
    put("liste", "{\"nom\":\"P\"}\n{\"nom\":\"\"}\n");
    put("fou.jsonl", "{\"fichier\":\"F\",\"cle\":\"k\",\"attributs\":[1]}\n");
    ASSERT_EQ(run("charger --base g.base " TESTS_DIR "/golden/base.jsonl").status, 0);
    const std::string edit = "editer --base b.base --entite 001 --sortie s.txt ";
    const std::string small = "editer --base g.base --sortie s.txt --entite ";
    const struct {
        std::string line;
        int status;
        const char* told;
    } cases[] = {
        {"", 2, "sous-commande"},
        {"editer --zzz", 2, "voir --help"},
        {"importer", 2, "il manque"},
        {"generer --base n.base --lignes -1", 2, "--lignes"},
        {"generer --base n.base --lignes 10 --comptes 3", 2, "--comptes"},
        {edit + "--exercice M", 2, "N + 1"},
        {edit + "--debut 2024-01-01", 1, "Erreur de saisie dans la date, veuillez la ressaisir."},
        {edit + "--debut ''", 2, "--debut"},
        {edit + "--comptes 1010000000", 2, "DE:A"},
        {edit + "--comptes 1:2:3", 2, "DE:A"},
        {edit + "--brouillard ''", 2, "--brouillard"},
        {edit + "--graphique", 2, "une et une seule"},
        {"editer --base b.base --entite 001 --sortie s.doc", 2, ".pdf"},
        {edit + "--debut 31/12/2024 --fin 01/01/2024", 1,
         "La date de début ne peut pas être supérieure à la date de fin."},
        {edit + "--comptes 9999999999:9999999999", 1, "Ce compte n'existe pas."},
        {edit + "--comptes 10100000000:1010000000", 1, "Le compte de début de sélection est obligatoire."},
        {"editer --base b.base --entite 0019 --sortie s.txt", 1, "3 caractères"},
        {"editer --base b.base --entite 777 --sortie s.txt", 1, "Cette entité juridique n'existe pas."},
        {small + "003", 1, "Vous devez renseigner les paramètres généraux avant la saisie."},
        {small + "001 --debut 30/02/2024", 1, "La date saisie n'est pas valide."},
        {small + "001 --debut 31/12/2023", 1,
         "La date de début ne peut pas être antérieure à la date de début d'exercice."},
        {small + "001 --comptes 401:401", 1, "Plusieurs comptes commencent par « 401 »"},
        {small + "001 --comptes 999:999", 1, "Aucune écriture sur ce compte."},
        {small + "001 --cumuls", 1, "L'option --cumuls n'est pas accessible pour cette sélection."},
        {small + "002", 1, "Aucun compte ne correspond aux critères sélectionnés."},
        {small + "001 --brouillard 001ACN03", 1,
         "« 001ACN03 » n'est pas parmi les séquences de saisie soldées."},
        {edit + "--brouillard 001ZZN0Z", 1, "001ZZN0Z"},
        {"editer --base b.base --entite 001 --imprimante X", 1, "« X »"},
        {"editer --base b.base --entite 001 --imprimante P --imprimantes liste", 3, "liste, ligne 2"},
        {"charger --base b.base fou.jsonl", 3, "fou.jsonl, ligne 1"},
        {"charger --base n.base absent", 3, "absent"},
        {"importer absent --base n.base --entite 001 --nom X", 3, "absent"},
        {"importer liste --base n.base --entite 001 --nom X", 3, "corvalissement : la base est inchangée"},
        {"editer --base absent.base --entite 001 --sortie s.txt", 4, "absent.base"},
        {"extraire --base liste", 4, "n'est pas une base"},
        {"editer --base b.base --entite 001 --sortie absent/s.txt", 4, "absent/s.txt"},
        {"extraire --base b.base > /dev/full", 4, "la sortie ne peut pas être écrite"},
        {"importer --help > /dev/null", 0, ""},
    };
    for (const auto& one : cases)
        expect(one.line, one.status, one.told);
    EXPECT_EQ(folder_.entries(), 6U); // two bases with their locks, and the two files of this test
    std::filesystem::copy(DATA_DIR "/fec/minimal-2026-tab-valid.txt", folder_ / "123456789FEC20261231.txt");
    std::filesystem::copy(DATA_DIR "/fec/bad-unbalanced-entries.txt", folder_ / "987654321FEC20261231.txt");
    expect("importer 123456789FEC20261231.txt --base e.base --entite 001 --nom X", 0, "");
    expect("importer 987654321FEC20261231.txt --base e.base --entite 001 --nom X", 3,
           "--entite 002, ou confirmez");
    expect("importer 987654321FEC20261231.txt --base e.base --entite 001 --nom X --meme-entite", 0, "");
    expect(edit, 0, "");
    EXPECT_EQ(run(edit + "--brouillard tous").status, 0);
    EXPECT_NE(content("s.txt").find("PRISE EN COMPTE DES BROUILLARDS"), std::string::npos);
    // Codes and numbers are completed; a class cuts a range.
    for (const auto& [options, shown] :
         {std::pair("1 --comptes 606:6060000000", "ACHATS NON STOCKES"),
          {"001 --classe Fournisseurs --comptes 4010000001:7060000000", "MERCIER"}}) {
        expect(small + options, 0, "");
        EXPECT_NE(content("s.txt").find(shown), std::string::npos) << options;
    }
}

TEST_F(CommandTest, edition_says_what_it_left_out_and_never_5_without_paper) {
    put("base.jsonl", R"({"fichier":"ASSOCIATION","cle":"001","attributs":["E"]}
{"fichier":"PARAMENTITECOMPTA","cle":"001","attributs":["45292","45657","45658","46022"]}
{"fichier":"BROUILLARDTETE","cle":"001VEN01","attributs":["","5","5"]}
)");
    ASSERT_EQ(run("charger --base b.base base.jsonl").status, 0);
    const std::string edit = "editer --base b.base --entite 001 --date 01/02/2024 --sortie s.txt ";
    expect(edit + "--brouillard tous", 1, "rien à éditer"); // the journal is missing, and so is a ledger
    EXPECT_FALSE(std::filesystem::exists(folder_ / "s.txt"));
    put("compte.jsonl", R"({"fichier":"PLANCOMPTABLE","cle":"0015120000000","attributs":["Banque"]}
{"fichier":"BALANCEGENE","cle":"N00015120000000","attributs":["","","5","","","","",["45300","45301","45302"],["001BQN000001","001BQN000002","001BQN000003"]]}
{"fichier":"DETAILECRITUREGENE","cle":"001BQN000001","attributs":["","45300","0015120000000","Un","P",["1","2"]]}
{"fichier":"DETAILECRITUREGENE","cle":"001BQN000003","attributs":["","45302","0015120000000","Trois","P","300"]}
)");
    ASSERT_EQ(run("charger --base b.base compte.jsonl").status, 0);
    const Outcome printed = run(edit);
    EXPECT_EQ(printed.status, 5);
    EXPECT_NE(printed.errors.find("001BQN000001"), std::string::npos) << printed.errors;
    EXPECT_NE(printed.errors.find("001BQN000002"), std::string::npos) << printed.errors;
    EXPECT_EQ(printed.errors.find('\xFD'), std::string::npos); // a record's marks are no text
    EXPECT_NE(content("s.txt").find("       3,00"), std::string::npos);
}

TEST_F(CommandTest, base_and_earlier_outputs_outlive_whatever_goes_wrong) {
    ASSERT_EQ(run("generer --base b.txt --lignes 3000").status, 0);
    const std::string base = content("b.txt");
    expect("editer --base b.txt --entite 001 --sortie b.txt", 4, "c'est la base elle-même");
    std::filesystem::create_symlink("b.txt", folder_ / "lien.pdf");
    expect("editer --base b.txt --entite 001 --sortie lien.pdf", 4, "c'est la base elle-même");
    EXPECT_EQ(content("b.txt"), base);

    put("s.jsonl", "earlier");
    // The limit of the shell's processes stands for a disk without room.
    EXPECT_EQ(::system(("cd '" + folder_.path().string() +
                        "' && (ulimit -f 200; " COMMAND_PATH
                        " editer --base b.txt --entite 001 --sortie s.jsonl 2>erreurs; [ $? = 4 ])")
                           .c_str()),
              0);
    EXPECT_NE(content("erreurs").find("le fichier devient trop grand"), std::string::npos)
        << content("erreurs");
    EXPECT_EQ(content("s.jsonl"), "earlier");

    // A run that is stopped leaves neither a part of its output nor a base that holds nothing.
    const std::string stop = "timeout -s TERM 0.2 ";
    EXPECT_NE(::system(("cd '" + folder_.path().string() + "' && mkfifo tube && (sleep 2 > tube &) ; " +
                        stop + COMMAND_PATH " importer tube --base n.base --entite 001 --nom X 2>erreurs")
                           .c_str()),
              0);
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
        const std::string name = entry.path().filename().string();
        EXPECT_FALSE(name.starts_with("n.base") || name.starts_with(".")) << name;
    }
}

} // namespace
} // namespace corvalissement::testing_support
