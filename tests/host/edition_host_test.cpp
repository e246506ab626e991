// One edition with drafts in trouble, and what a list of printers may hold. What options end with is shown by
// the command's own test.
#include "commands/commands.h"
#include "commands/session.h"
#include "data/keys.h"
#include "drafts/frm_affect_compta.h"
#include "host/edition_host.h"
#include "records/raw_records.h"
#include "support/scratch.h"
#include "support/small_base.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace corvalissement::testing_support {
namespace {

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
