// One edition driven from options: what it ends with, and what a list of printers may hold.
#include "data/keys.h"
#include "drafts/frm_affect_compta.h"
#include "host/edition_host.h"
#include "importers/raw_records.h"
#include "server/commands.h"
#include "server/session.h"
#include "support/scratch.h"
#include "support/small_base.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace corvalissement::testing_support {
namespace {

struct Outcome {
    const char* name;
    void (*choose)(EditionOptions&);
    EditionEnd end;
    const char* message;  // the first, "" for none
    const char* on_paper; // what the paper must hold, "" for no file
};

const Outcome OUTCOMES[] = {
    {"whole_year", [](EditionOptions&) {}, EditionEnd::done, "", "PRESTATIONS"},
    {"entity_code_completed", [](EditionOptions& o) { o.entity = "1"; }, EditionEnd::done, "",
     "ALPHA NEGOCE"},
    {"entity_unknown", [](EditionOptions& o) { o.entity = "777"; }, EditionEnd::refused,
     "Cette entité juridique n'existe pas.", ""},
    {"no_parameters", [](EditionOptions& o) { o.entity = "003"; }, EditionEnd::refused,
     "Vous devez renseigner les paramètres généraux avant la saisie.", ""},
    {"no_such_day", [](EditionOptions& o) { o.start_date = "30/02/2024"; }, EditionEnd::refused,
     "La date saisie n'est pas valide.", ""},
    {"date_before_the_year", [](EditionOptions& o) { o.start_date = "31/12/2023"; }, EditionEnd::refused,
     "La date de début ne peut pas être antérieure à la date de début d'exercice.", ""},
    {"range",
     [](EditionOptions& o) {
         o.ranges = {{"401", "401"}};
     },
     EditionEnd::refused, "Plusieurs comptes commencent par « 401 » : donnez le numéro entier.", ""},
    {"range_of_one",
     [](EditionOptions& o) {
         o.ranges = {{"606", "6060000000"}};
     },
     EditionEnd::done, "", "ACHATS NON STOCKES"},
    {"range_cut_by_class",
     [](EditionOptions& o) {
         o.ranges = {{"4010000001", "7060000000"}}, o.account_class = 1;
     },
     EditionEnd::done, "", "MERCIER"},
    {"range_unknown",
     [](EditionOptions& o) {
         o.ranges = {{"999", "999"}};
     },
     EditionEnd::refused, "Aucune écriture sur ce compte.", ""},
    {"cumuls_closed_in_year_n", [](EditionOptions& o) { o.with_earlier = true; }, EditionEnd::refused,
     "L'option --cumuls n'est pas accessible pour cette sélection.", ""},
    {"cumuls", [](EditionOptions& o) { o.with_earlier = true, o.exercice = "N + 1", o.account_class = 1; },
     EditionEnd::done, "", "Suite"},
    {"nothing_selected", [](EditionOptions& o) { o.entity = "002"; }, EditionEnd::refused,
     "Aucun compte ne correspond aux critères sélectionnés.", ""},
    {"drafts", [](EditionOptions& o) { o.all_drafts = true; }, EditionEnd::done, "", "Brouillard vente"},
    {"draft_unknown", [](EditionOptions& o) { o.drafts = {"001ACN03"}; }, EditionEnd::refused,
     "La séquence « 001ACN03 » n'est pas parmi les séquences de saisie soldées.", ""},
};

class EditionOutcome : public testing::TestWithParam<Outcome> {};

TEST_P(EditionOutcome, is_told_and_leaves_a_whole_file_or_none) {
    const Scratch folder;
    auto store = make_memory_store();
    std::ifstream records(std::string(TESTS_DIR) + "/golden/base.jsonl");
    load_records(*store, records, "base.jsonl", nullptr);
    HostSettings settings;
    settings.today = TEST_TODAY;
    settings.user = "dupuis";
    settings.printers = {{"Sortie", "", folder / "papier.txt", ""}};
    EditionOptions options;
    options.entity = "001";
    GetParam().choose(options);
    EditionHost host(settings, options);
    RecordedFailures failures;
    ServerSettings server{"", [] { return TEST_TODAY; }, &failures};
    EXPECT_EQ(host.run(std::make_shared<ServerSession>(std::move(store), make_server_commands(server))),
              GetParam().end);
    EXPECT_EQ(host.messages().empty() ? "" : host.messages().front(), GetParam().message);
    EXPECT_TRUE(host.failures().empty());
    std::ostringstream paper;
    const std::ifstream file(folder / "papier.txt");
    EXPECT_EQ(file.is_open(), *GetParam().on_paper != '\0');
    if (!file) return;
    paper << file.rdbuf();
    EXPECT_NE(paper.str().find(GetParam().on_paper), std::string::npos);
    EXPECT_NE(paper.str().find("TOTAL DES MOUVEMENTS EDITES"), std::string::npos);
}

// What happens to the drafts of an edition before it is printed, and what becomes of it.
struct Trouble {
    std::string held;   // a sequence that another user holds
    std::string asked;  // "" for all
    std::string broken; // the key of a draft line that cannot be assigned
    EditionEnd end;
    bool withheld;
    bool told; // that sequences are held, word for word
    bool on_paper;
};

const Trouble TROUBLES[] = {
    {"001VEN01", "", "", EditionEnd::refused, false, true, false},
    {"001VEN01", "001VEN01", "", EditionEnd::refused, false, true, false},
    {"001VEN01", "001ACN01", "", EditionEnd::done, false, true, true}, // complete as asked
    {"", "", "001ACN0100003", EditionEnd::done, true, false, false},
    {"", "001VEN01", "001ACN0100003", EditionEnd::done, false, false, true},
};

TEST(EditionHost, ledger_that_lacks_drafts_is_not_handed_out) {
    for (const Trouble& trouble : TROUBLES) {
        SCOPED_TRACE(trouble.held + "/" + trouble.asked + "/" + trouble.broken);
        const Scratch folder;
        const auto base = make_memory_base();
        const auto other = make_memory_store(base);
        std::ifstream records(std::string(TESTS_DIR) + "/golden/base.jsonl");
        load_records(*other, records, "base.jsonl", nullptr);
        if (!trouble.broken.empty()) other->write(other->file(files::BROUILLARDDETAIL), trouble.broken, "x");
        if (!trouble.held.empty()) {
            ASSERT_TRUE(other->lock(files::BROUILLARDTETE, trouble.held));
        }
        HostSettings settings;
        settings.today = TEST_TODAY;
        settings.printers = {{"Sortie", "", folder / "papier.txt", ""}};
        EditionOptions options;
        options.entity = "001";
        options.all_drafts = trouble.asked.empty();
        if (!trouble.asked.empty()) options.drafts = {trouble.asked};
        EditionHost host(settings, options);
        ServerSettings server{"", [] { return TEST_TODAY; }, &host};
        EXPECT_EQ(
            host.run(std::make_shared<ServerSession>(make_memory_store(base), make_server_commands(server))),
            trouble.end);
        EXPECT_EQ(host.withheld(), trouble.withheld);
        EXPECT_EQ(host.notice() == SEQUENCES_HELD, trouble.told);
        EXPECT_EQ(std::filesystem::exists(folder / "papier.txt"), trouble.on_paper);
    }
}

INSTANTIATE_TEST_SUITE_P(Host, EditionOutcome, testing::ValuesIn(OUTCOMES),
                         [](const auto& outcome) { return outcome.param.name; });

TEST(Printers, list_is_read_and_its_faults_name_the_line) {
    std::istringstream good("{\"nom\":\"A\",\"port\":\"LPT1\",\"sortie\":\"a.pdf\"}\n\n{\"nom\":\"É\"}\n");
    const auto printers = read_printers(good, "liste");
    ASSERT_EQ(printers.size(), 2U);
    EXPECT_EQ(printers[0].output, "a.pdf");
    EXPECT_EQ(printers[1].name + printers[1].port, "É");
    for (const char* bad :
         {"[]", "{", "{\"nom\":\"\"}", "{\"port\":\"x\"}", "{\"nom\":5}", "{\"nom\":\"a\",\"sortie\":5}"}) {
        std::istringstream list(std::string("{\"nom\":\"A\"}\n") + bad + "\n");
        try {
            static_cast<void>(read_printers(list, "liste.jsonl"));
            ADD_FAILURE() << bad;
        } catch (const StepFailure& failure) {
            EXPECT_EQ(failure.number(), ERR_PROPERTY);
            EXPECT_EQ(failure.text().rfind("liste.jsonl, ligne 2 : ", 0), 0U) << failure.text();
        }
    }
    EXPECT_EQ(error_of([] { static_cast<void>(open_printer({"A", "", "a.xyz", ""}, ".")); }), ERR_OUTPUT);
}

} // namespace
} // namespace corvalissement::testing_support
