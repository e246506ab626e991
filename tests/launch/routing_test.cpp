// Who edits, and what is left when a step fails: the view always comes back, the document always ends.
#include "commands/session.h"
#include "data/variable.h"
#include "launch/routing.h"
#include "launch/server_edition.h"
#include "support/faulty_session.h"
#include "support/small_base.h"
#include "support/test_host.h"

#include <gtest/gtest.h>

namespace corvalissement::testing_support {
namespace {

class CommandLog final : public CommandRunner {
public:
    explicit CommandLog(std::string answer) : answer_(std::move(answer)) {}
    void run(ServerSession& session, std::string_view line, bool) override {
        lines.emplace_back(line);
        if (line.starts_with("TESTESETPTR") && !answer_.empty())
            put(session.store(), "TEMPO", "RETOURIMPRIMANTEDUPUIS", {answer_});
        if (line.starts_with("CORVALISSEMENT")) put(session.store(), "TEMPO", "CORVALISSEMENT", {"gl.pdf"});
    }
    std::vector<std::string> lines;

private:
    std::string answer_;
};

struct Bar final : ProgressSink {
    void show_progress(bool visible) override { told += visible ? "vue " : "cachée "; }
    bool set_progress_max(long max) override { return told += "jusqu'à " + std::to_string(max) + " ", true; }
    bool set_progress(long value) override { return told += std::to_string(value) + " ", true; }
    std::string told;
};

struct Route {
    TestHost host;
    View view{host, "Vue", "", 1, 1, {}};
    std::shared_ptr<RecordingSurface> printer = std::make_shared<RecordingSurface>();
    std::shared_ptr<CommandLog> commands;
    Selection selection;
    DynArray keys{std::string("N00014010000000")};
    std::string target = "avant";
    PrintState state;
    std::string written; // what stands in TEMPO for the user
    bool no_state = false;
    Bar bar;
    std::vector<TestEntry> entries = {{45292, "001VEN000001", "0014010000000", "", "", "5", "", "", "", ""}};

    void run(const std::string& answer = "OK") {
        TestLedger ledger;
        ledger.chart["0014010000000"] = "Un";
        ledger.ledger = {{"N00014010000000", "1", entries}};
        auto store = make_memory_store();
        put(*store, ledger);
        commands = std::make_shared<CommandLog>(answer);
        const auto session = watched_session(std::make_shared<ServerSession>(std::move(store), commands),
                                             [this](const std::string& call) {
                                                 if (no_state && call == "begin_reading")
                                                     throw StepFailure(ERR_STORE, "base abîmée");
                                             });
        LedgerFiles files;
        files.open(*session);
        selection.entity = "001";
        selection.exercice = "N";
        selection.start_date = "01/01/2024";
        selection.end_date = "31/12/2024";
        host.printers = {printer};
        const DynArray drafts;
        UtilObject util(host);
        Imprime({.selection = selection,
                 .W_ListeBalance = keys,
                 .W_ListeBalanceTempo = drafts,
                 .files = files,
                 .session = *session,
                 .state = state,
                 .progress = bar,
                 .failures = host.skipped_failures(),
                 .today = host.today(),
                 .routine = "Imprime"},
                view, util, target);
        TarvexRecord record;
        static_cast<void>(error_of([&] { files.F_TEMPO->DBRead("BALANCEGENEDUPUIS", record); }));
        written = record(1);
    }
};

TEST(Routing, page_printer_is_driven_by_the_control) {
    Route route;
    route.host.choice = {0, 3};
    route.run();
    EXPECT_EQ(route.printer->page_count(), 2);
    EXPECT_EQ(route.printer->orientation, 2);
    EXPECT_EQ(route.printer->copies, 3);
    EXPECT_EQ(route.printer->documents_ended, 1);
    EXPECT_EQ(route.target, "");
    EXPECT_EQ(route.host.pointers, (std::vector{POINTER_HOURGLASS, POINTER_NORMAL}));
    EXPECT_EQ(route.bar.told, "vue 0 jusqu'à 1 1 cachée ");
    EXPECT_TRUE(route.commands->lines.empty());
}

TEST(Routing, bar_s_total_is_a_16_bit_number_that_a_key_may_not_pass) {
    Route route;
    route.entries.front().day = 1; // outside the dates, so that the pass only counts
    route.entries.resize(20'000, route.entries.front());
    route.keys = DynArray(std::string("N00014010000000\xFEN00014010000000"));
    route.run();
    EXPECT_TRUE(route.bar.told.starts_with("vue 0 jusqu'à 20000 1 ")) << route.bar.told.substr(0, 40);
    EXPECT_TRUE(route.bar.told.ends_with(" 40000 cachée "));
}

TEST(Routing, nothing_is_asked_for_no_key_and_nothing_printed_when_given_up) {
    Route empty;
    empty.keys = DynArray();
    empty.run();
    EXPECT_EQ(empty.host.printer_choices, 0);
    Route given_up;
    given_up.host.choice.index = -1;
    given_up.run();
    EXPECT_EQ(given_up.printer->documents_ended, 0);
    EXPECT_TRUE(given_up.host.pointers.empty());
}

TEST(Routing, unknown_index_goes_to_the_printer_in_force) {
    for (const bool there : {false, true}) { // a printer that is there and cannot be opened has no stand-in
        Route route;
        route.host.choice.index = there ? 0 : 7;
        if (there) route.printer = nullptr;
        route.run();
        EXPECT_EQ(route.host.in_force->documents_ended, there ? 0 : 1);
        EXPECT_EQ(route.host.failures().size(), 1U);
    }
}

TEST(Routing, refused_copies_are_nobody_s_business) {
    Route route;
    route.printer->refuses_copies = true;
    route.run();
    EXPECT_EQ(route.printer->orientation, 2);
    EXPECT_TRUE(route.host.failures().empty());
}

TEST(Routing, edition_ends_as_a_document_wherever_paper_fails) {
    Route whole;
    whole.run();
    const int prints = static_cast<int>(whole.printer->texts.size());
    for (int at = 0; at <= prints; ++at) {
        Route route;
        route.no_state = at == 0; // the base gives no state to read in
        route.printer->fail_at_print = at;
        route.run();
        ASSERT_EQ(route.printer->documents_ended, 1) << "print " << at;
        ASSERT_TRUE(route.view.enabled());
        ASSERT_EQ(route.host.pointers.back(), POINTER_NORMAL);
        ASSERT_EQ(route.host.failures().size(), 1U) << "told once";
    }
}

TEST(Routing, matrix_printer_is_named_as_the_server_knows_it) {
    struct Printer {
        const char* device;
        const char* port;
        const char* target;
    };
    for (const auto& [device, port, target] :
         {Printer{"\\\\SRV\\Matricielle", "LPT1", "\\\\SRV\\Matricielle"},
          Printer{"Epson matric", "LPT2:", "\\\\POSTE7\\Epson matric"},
          Printer{"MATRICIELLE", "COM1", "COM1"}}) {
        Route route;
        route.printer->device_name = device;
        route.printer->port = port;
        route.run();
        const std::vector<std::string> lines = {"LOGIN", std::string("TESTESETPTR DUPUIS ") + target,
                                                "CORVALISSEMENT DUPUIS 0 0 0 001 N0 0 45292 45657 LISTE"};
        EXPECT_EQ(route.commands->lines, lines);
        EXPECT_EQ(route.target, target);
        EXPECT_EQ(route.written, "N00014010000000|");
        EXPECT_EQ(route.printer->orientation, 0) << "settings stay as the platform has them";
        EXPECT_EQ(route.printer->documents_ended, 1);
    }
}

TEST(Routing, server_s_answer_on_the_printer_decides) {
    for (const auto& [answer, messages] : {std::pair("IMPRIMANTE NON TROUVEE", 1U), {"", 0U}}) {
        Route route;
        route.printer->device_name = "matric";
        route.run(answer);
        EXPECT_EQ(route.commands->lines.size(), 2U) << "no edition";
        EXPECT_EQ(route.host.messages.size(), messages);
    }
}

TEST(Routing, keys_joined_for_the_server_have_their_odd_ends) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "|"}, {{"a"}, "a|"}, {{"a", "b"}, "a|b"}, {{"a", "b", "c"}, "a|b|c"}};
    for (const auto& [keys, joined] : cases)
        EXPECT_EQ(joined_keys(DynArray(record_of(keys))), joined);
}

TEST(Routing, graphic_file_needs_no_printer) {
    Route route;
    route.selection.as_list = false;
    route.run();
    EXPECT_EQ(route.host.printer_choices, 0);
    EXPECT_EQ(route.target, "avant");
    EXPECT_TRUE(route.host.pointers.empty());
    EXPECT_EQ(route.commands->lines.size(), 2U);
    EXPECT_EQ(route.host.messages,
              std::vector<std::string>{"Le fichier gl.pdf a été généré dans le répertoire LIENCOMPTA"});
}

} // namespace
} // namespace corvalissement::testing_support
