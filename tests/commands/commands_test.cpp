// The server's commands: the temporary files and who has them, the printers, the editions.
#include "commands/commands.h"

#include "commands/command_edition.h"
#include "commands/session.h"
#include "data/keys.h"
#include "host/printers.h"
#include "launch/server_edition.h"
#include "made_up/made_up_base.h"
#include "support/small_base.h"
#include "support/store_trial.h"

#include <sys/stat.h>

namespace corvalissement {
namespace {

class CommandsTest : public testing::Test {
protected:
    std::unique_ptr<ServerSession> session() {
        const ServerSettings settings{folder_ / "base.db", [] { return CivilDate{2024, 5, 6}; }, &failures_};
        return std::make_unique<ServerSession>(make_memory_store(base_), make_server_commands(settings));
    }
    static int run(ServerSession& session, const std::string& line, std::string* text = nullptr) {
        std::string work;
        return failure_number([&] { session.DBExecute(prefixed_command(line), "", work); }, text);
    }
    int run(const std::string& line, std::string* text = nullptr) { return run(*session_, line, text); }
    int empty_all(ServerSession& session) {
        for (const char* file : {"BALANCEGENETEMPO", "BALANCEANALTEMPO", "DETAILECRITUREGENETEMPO"})
            if (const int error = run(session, std::string("VIDER-FICHIER ") + file); error != 0)
                return error;
        return 0;
    }
    void put(std::string_view file, std::string_view key, const std::vector<std::string>& attributes) {
        testing_support::put(store(), file, key, attributes);
    }
    DynArray get(std::string_view file, std::string_view key) {
        std::string text;
        if (!store().read(store().file(file), key, text)) return DynArray("(absent)");
        return DynArray(text);
    }
    void draft(const std::string& key, int day, const std::string& debit, const std::string& credit,
               const std::string& account = "0014110000000") {
        put(files::BROUILLARDDETAIL, key, {"", std::to_string(day), account, "Été", "P1", debit, credit});
    }
    DynArray select(std::string_view file) {
        std::string work;
        return session_->DBSelect(query_request("SSELECT " + std::string(file) + " PAR 0", file, "0"), "",
                                  work);
    }
    Store& store() { return session_->store(); }

    ScratchFolder folder_;
    testing_support::RecordedFailures failures_;
    std::shared_ptr<MemoryBase> base_ = make_memory_base();
    std::unique_ptr<ServerSession> session_ = session();
};

TEST_F(CommandsTest, both_forms_are_understood_and_what_is_no_command_fails) {
    std::string work;
    session_->DBExecute(bare_command("LOGIN"), "", work);
    EXPECT_EQ(run("DATE.FORMAT"), 0);
    EXPECT_EQ(failure_number([&] { session_->DBExecute(bare_command("login"), "", work); }), ERR_COMMAND);
    for (const char* line : {"", "LOGINX", "CORVALISSEMENT", "TESTESETPTR seul", "AFFECTCOMPTATEMPO",
                             "AFFECTCOMPTATEMPO 001VEN0", "AFFECTCOMPTATEMPO 001VEN01/", "LOGIN \xFF"})
        EXPECT_EQ(run(line), ERR_COMMAND) << line;
    put(files::ASSOCIATION, "001", {"Nom"});
    EXPECT_EQ(run("VIDER-FICHIER ASSOCIATION"), ERR_COMMAND);
    EXPECT_EQ(run("VIDER-FICHIER INCONNU"), 0);
    EXPECT_EQ(get(files::ASSOCIATION, "001")(1), "Nom");
}

TEST_F(CommandsTest, the_assignment_gathers_lines_by_account_in_order_of_date_then_of_copying) {
    draft("001VEN0200001", 45300, "500", "");
    draft("001VEN0200002", 45290, "", "200");
    draft("001ACN0100001", 45300, "7", "");
    draft("001ACN1100001", 45700, "", "9");
    draft("001ACN1100002", 45700, "4", "", "0016000000000");
    draft("001VEN0300001", 45300, "1", ""); // not named
    const std::string line = "AFFECTCOMPTATEMPO 001VEN02/001ZZN09/001ACN01/001ACN11/001VEN02";
    Records first;
    for (int time = 0; time < 2; ++time) { // the second changes nothing
        ASSERT_EQ(run(line), 0);
        const DynArray balance = get(files::BALANCEGENETEMPO, "N00014110000000");
        EXPECT_EQ(balance.text(), "507\xFE"
                                  "200\xFE"
                                  "307\xFE\xFE\xFE\xFE\xFE"
                                  "45290\xFD"
                                  "45300\xFD"
                                  "45300\xFE"
                                  "001VEN200002N0\xFD"
                                  "001VEN200001N0\xFD"
                                  "001ACN100001N0");
        EXPECT_EQ(records_of(store(), "BALANCEGENETEMPO").size(), 3U);
        EXPECT_EQ(records_of(store(), "DETAILECRITUREGENETEMPO").size(), 5U);
    }
    EXPECT_EQ(get(files::BALANCEGENETEMPO, "N10014110000000")(3), "-9");
    EXPECT_EQ(get(files::DETAILECRITUREGENETEMPO, "001ACN100002N1")(3), "0016000000000");
    // A line without a date is taken in too, before the others.
    draft("001VEN0400001", 45300, "7", "");
    put(files::BROUILLARDDETAIL, "001VEN0400002", {"", "", "0014110000000", "Sans date", "P", "1", ""});
    ASSERT_EQ(run("AFFECTCOMPTATEMPO 001VEN04"), 0);
    EXPECT_EQ(get(files::BALANCEGENETEMPO, "N00014110000000")(balance::DATES), "\xFD"
                                                                               "45300");
    EXPECT_EQ(get(files::BALANCEGENETEMPO, "N00014110000000")(balance::ENTRIES, 1), "001VEN400002N0");
    ASSERT_EQ(run("AFFECTCOMPTATEMPO 001VEN02/001ACN01"), 0);
    const Records before = records_of(store(), "BALANCEGENETEMPO");
    for (const auto& [day, debit, account] :
         {std::tuple{45300, "x", "0014110000000"}, {45300, "1", "001411"}}) {
        draft("001VEN0300001", day, debit, "", account);
        std::string text;
        EXPECT_EQ(run("AFFECTCOMPTATEMPO 001ACN01/001VEN03", &text), ERR_COMMAND);
        EXPECT_NE(text.find("001VEN0300001"), std::string::npos);
        EXPECT_EQ(records_of(store(), "BALANCEGENETEMPO"), before);
    }
}

TEST_F(CommandsTest, a_long_sequence_is_copied_whole) {
    for (int i = 1; i <= 2001; ++i) {
        std::string number = std::to_string(i);
        draft("001VEN02" + std::string(5 - number.size(), '0') + number, 45300 + i % 3, "1", "");
    }
    ASSERT_EQ(run("AFFECTCOMPTATEMPO 001VEN02"), 0);
    const DynArray balance = get(files::BALANCEGENETEMPO, "N00014110000000");
    EXPECT_EQ(balance(1), "2001");
    EXPECT_EQ(balance.DCount(balance::ENTRIES), 2001U);
}

TEST_F(CommandsTest, the_temporary_files_serve_one_edition_at_a_time) {
    draft("001VEN0200001", 45300, "5", "");
    auto other = session();
    std::string text;
    const auto select = [&](ServerSession& from) {
        return error_of([&] {
            std::string work;
            static_cast<void>(from.DBSelect(
                query_request("SSELECT BALANCEGENETEMPO PAR 0", "BALANCEGENETEMPO", "0"), "", work));
        });
    };
    ASSERT_EQ(empty_all(*session_), 0);
    EXPECT_EQ(empty_all(*other), 0); // two users before the dialog
    ASSERT_EQ(run("AFFECTCOMPTATEMPO 001VEN02"), 0);
    EXPECT_EQ(empty_all(*other), ERR_STORE);
    EXPECT_EQ(run(*other, "AFFECTCOMPTATEMPO 001VEN02", &text), ERR_STORE);
    EXPECT_EQ(text, "les fichiers temporaires sont tenus par une autre édition");
    EXPECT_EQ(select(*other), ERR_STORE); // and what is in them is not for him
    EXPECT_EQ(select(*session_), 0);
    EXPECT_EQ(records_of(store(), "BALANCEGENETEMPO").size(), 1U);
    ASSERT_EQ(empty_all(*session_), 0);
    ASSERT_EQ(run(*other, "AFFECTCOMPTATEMPO 001VEN02"), 0);
    EXPECT_EQ(empty_all(*session_), ERR_STORE);
    const auto file = other->DBOpen("TEMPO"); // outlives the session
    other.reset();
    EXPECT_EQ(empty_all(*session_), 0);
}

TEST_F(CommandsTest, a_printer_is_found_behind_a_user_with_blanks_and_set_for_him) {
    put(files::IMPRIMANTES, "LPT1:", {"a.txt"});
    put(files::IMPRIMANTES, "Salle B LPT1:", {"b.txt"});
    put(files::IMPRIMANTES, "SANS", {""});
    put(files::TEMPO, "BALANCEGENEÉLODIE DE LA TOUR EN", {"|"});
    const std::string unknown(tempo::PRINTER_UNKNOWN);
    const struct {
        const char* line;
        const char* user;
        std::string answer, set;
    } cases[] = {
        {"JEAN LPT1:", "JEAN", "OK", "LPT1:"},
        {"JEAN Salle B LPT1:", "JEAN Salle B", "OK", "LPT1:"}, // neither user has keys: the longest name
        {"ÉLODIE DE LA TOUR EN Salle B LPT1:", "ÉLODIE DE LA TOUR EN", "OK", "Salle B LPT1:"},
        {"ÉLODIE DE LA TOUR EN LPT2:", "ÉLODIE DE LA TOUR EN", unknown, "(absent)"},
        {"JEAN SANS", "JEAN", unknown, "(absent)"},
        {"JEAN PAUL NON", "JEAN PAUL", unknown, "(absent)"},
        {"JEAN ", "JEAN", unknown, "(absent)"},
        {" LPT1:", "", "OK", "LPT1:"},
    };
    for (const auto& one : cases) {
        ASSERT_EQ(run(std::string("TESTESETPTR ") + one.line), 0) << one.line;
        EXPECT_EQ(get(files::TEMPO, "RETOURIMPRIMANTE" + std::string(one.user))(1), one.answer) << one.line;
        EXPECT_EQ(get(files::TEMPO, "IMPRIMANTE" + std::string(one.user))(1), one.set) << one.line;
    }
    EXPECT_EQ(get(files::TEMPO, "RETOURIMPRIMANTEÉLODIE").text(), "(absent)");
}

TEST_F(CommandsTest, the_edition_line_is_the_one_that_the_control_writes) {
    for (int bits = 0; bits < 32; ++bits) {
        Selection wanted;
        wanted.with_drafts = bits & 1;
        wanted.only_unlettered = bits & 2;
        wanted.page_per_account = bits & 4;
        wanted.with_earlier = bits & 8;
        wanted.as_list = bits & 16;
        wanted.entity = bits % 3 == 0 ? "A É" : "001";
        wanted.exercice = bits % 3 == 0 ? "N - 1" : bits % 3 == 1 ? "N" : "N + 1";
        wanted.start_date = "01/01/2024";
        wanted.end_date = "31/12/2024";
        const std::string user = bits % 2 == 0 ? "ÉLODIE 0 1 0 DURAND" : "";
        const std::string line = edition_command_line(wanted, user);
        const EditionRequest read = parse_edition_line(line.substr(line.find(' ') + 1));
        EXPECT_EQ(edition_command_line(read.selection, read.user), line);
        EXPECT_EQ(read.user, user);
        EXPECT_EQ(read.selection.exercice, wanted.exercice);
    }
    for (const char* line : {"U 2 0 0 001 N0 0 45292 45657 LISTE", "U 0 0 0 001 N2 0 45292 45657 LISTE",
                             "U 0 0 0 001 N0 0  45657 LISTE", "U 0 0 0 001 N0 0 45292 x LISTE",
                             "U 0 0 0 001 N0 0 45292 45657 liste", "0 0 0 001 N0 0 45292 45657 LISTE",
                             "U 0 0 0 01 N0 0 45292 45657 LISTE", "U 0 0 0 001  N0 0 45292 45657 LISTE"})
        EXPECT_EQ(failure_number([&] { static_cast<void>(parse_edition_line(line)); }), ERR_COMMAND) << line;
    EXPECT_EQ(keys_of_joined("|").text(), "");
    EXPECT_EQ(keys_of_joined("a|").DCount(), 1U);
    EXPECT_EQ(keys_of_joined("a|b|c").text(), "a\xFE"
                                              "b\xFE"
                                              "c");
}

// What lists look like is shown by the stored pages.
TEST_F(CommandsTest, drafts_alone_are_an_edition_and_a_longer_line_stays_whole) {
    const std::string name(300, 'W');
    put(files::ASSOCIATION, "001", {name});
    put(files::PLANCOMPTABLE, "0014110000000", {"Client"});
    put(files::IMPRIMANTES, "LPT1:", {"liste.txt"});
    draft("001VEN0200001", 45300, "512", "");
    ASSERT_EQ(run("AFFECTCOMPTATEMPO 001VEN02"), 0);
    put(files::TEMPO, "BALANCEGENEJEAN", {"|"});
    put(files::TEMPO, "BALANCEGENETEMPOJEAN", {joined_keys(select(files::BALANCEGENETEMPO))});
    ASSERT_EQ(run("TESTESETPTR JEAN LPT1:"), 0);
    const std::string line = "CORVALISSEMENT JEAN 1 0 0 001 N0 0 45292 45657 ";
    ASSERT_EQ(run(line + "LISTE"), 0);
    const std::string text = bytes_of(folder_ / "liste.txt");
    EXPECT_NE(text.find(name + "\n"), std::string::npos);
    EXPECT_NE(text.find("       5,12"), std::string::npos);
    ASSERT_EQ(run(line + "GRAPHIQUE"), 0);
    EXPECT_EQ(get(files::TEMPO, "CORVALISSEMENT")(1), "GL001-JEAN-1.pdf");
    EXPECT_TRUE(failures_.list.empty());
}

TEST_F(CommandsTest, an_edition_that_cannot_be_made_fails_and_leaves_nothing) {
    make_up_base(store(), {.lines = 60, .accounts = 20, .seed = 3, .drafts = 0}, {});
    const std::string list = "CORVALISSEMENT JEAN 0 0 0 001 N0 0 45292 45657 LISTE";
    const std::string drafts = "CORVALISSEMENT JEAN 1 0 0 001 N0 0 45292 45657 LISTE";
    EXPECT_EQ(run(list), ERR_COMMAND); // no printer set
    put(files::IMPRIMANTES, "LPT1:", {"liste.txt"});
    ASSERT_EQ(run("TESTESETPTR JEAN LPT1:"), 0);
    EXPECT_EQ(run(list), ERR_COMMAND); // no keys
    put(files::TEMPO, "BALANCEGENEJEAN", {"|"});
    EXPECT_EQ(run(list), ERR_COMMAND); // nothing to print
    put(files::TEMPO, "BALANCEGENEJEAN", {joined_keys(select(files::BALANCEGENE))});
    EXPECT_EQ(run(drafts), ERR_COMMAND); // no draft keys
    const ScratchFolder elsewhere;
    std::filesystem::create_directory_symlink(elsewhere.path(), folder_ / "dehors");
    std::filesystem::create_symlink(elsewhere / "x.txt", folder_ / "mort.txt");
    std::filesystem::create_symlink("liste.txt", folder_ / "lien.txt");
    put_bytes(folder_ / "autre.txt", "SQLite format 3\0...");
    const std::string nul("x.txt\0/../../x.txt", 18);
    for (const std::string& target :
         {std::string("../x.txt"), std::string("a/../../x.txt"), std::string(""), std::string("."),
          std::string(".."), std::string("sous/"), elsewhere / "x.txt", std::string("dehors/x.txt"),
          std::string("mort.txt"), nul, std::string("autre.txt"), std::string("base.db"),
          folder_ / "base.db-wal", std::string("cups:"), std::string("cups:-o x"),
          std::string("absent/liste.txt")}) {
        put(files::IMPRIMANTES, "LPT1:", {target});
        EXPECT_EQ(run(list), ERR_OUTPUT) << target;
        // What the control itself prints goes nowhere else; its file is opened with the first page.
        const PrinterEntry printer = printers_of_base(store(), folder_ / "base.db").front();
        EXPECT_EQ(error_of([&] { static_cast<void>(open_printer(printer, "")); }),
                  target.empty() || target == "absent/liste.txt" ? 0 : ERR_OUTPUT)
            << target;
    }
    EXPECT_TRUE(std::filesystem::is_empty(elsewhere.path()));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 4);
    for (const std::string& target : {std::string("sous/../liste.txt"), folder_ / "lien.txt"}) {
        put(files::IMPRIMANTES, "LPT1:", {target});
        put_bytes(folder_ / "liste.txt", "");
        EXPECT_EQ(run(list), 0) << target;
        EXPECT_NE(bytes_of(folder_ / "liste.txt"), "");
    }
    auto other = session();
    ASSERT_EQ(run(*other, "AFFECTCOMPTATEMPO 001VEN09"), 0);
    put(files::TEMPO, "BALANCEGENETEMPOJEAN", {"|"});
    EXPECT_EQ(run(drafts), ERR_STORE); // another edition has the drafts
}

TEST_F(CommandsTest, a_graphic_file_has_a_name_of_its_own_that_cannot_lead_out_of_the_folder) {
    make_up_base(store(), {.lines = 60, .accounts = 20, .seed = 3, .drafts = 0}, {});
    const std::string options = " 0 0 0 001 N0 0 45292 45657 GRAPHIQUE";
    const struct {
        const char* user;
        const char* name;
    } cases[] = {
        {"../É A", "GL001-_____A-1.pdf"}, {"JEAN", "GL001-JEAN-1.pdf"}, {"JEAN", "GL001-JEAN-2.pdf"}};
    for (const auto& one : cases) {
        put(files::TEMPO, std::string("BALANCEGENE") + one.user, {joined_keys(select(files::BALANCEGENE))});
        ASSERT_EQ(run(std::string("CORVALISSEMENT ") + one.user + options), 0);
        EXPECT_EQ(get(files::TEMPO, "CORVALISSEMENT")(1), one.name);
        EXPECT_EQ(bytes_of(folder_ / (std::string("LIENCOMPTA/") + one.name)).substr(0, 5), "%PDF-");
    }
    EXPECT_EQ(run("CORVALISSEMENT AUTRE" + options), ERR_COMMAND);
    EXPECT_EQ(get(files::TEMPO, "CORVALISSEMENT").text(), "(absent)"); // never the name of an earlier file
    const std::filesystem::path made = folder_.path() / "LIENCOMPTA";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(made), {}), 3);
    std::filesystem::remove_all(made);
    put_bytes(made.string(), "un fichier");
    EXPECT_EQ(run("CORVALISSEMENT JEAN" + options), ERR_OUTPUT);
    std::filesystem::remove(made);
    const ScratchFolder elsewhere;
    std::filesystem::create_directory_symlink(elsewhere.path(), made);
    EXPECT_EQ(run("CORVALISSEMENT JEAN" + options), ERR_OUTPUT);
    EXPECT_TRUE(std::filesystem::is_empty(elsewhere.path()));
    ServerSession memory(make_memory_store(base_), make_server_commands({"",
                                                                         [] {
                                                                             return CivilDate{2024, 5, 6};
                                                                         },
                                                                         &failures_}));
    EXPECT_EQ(run(memory, "CORVALISSEMENT JEAN" + options), ERR_OUTPUT);
}

TEST_F(CommandsTest, a_queue_gets_the_file_through_lp_and_its_refusal_is_told) {
    make_up_base(store(), {.lines = 60, .accounts = 20, .seed = 3, .drafts = 0}, {});
    put_bytes(folder_ / "lp", "#!/bin/sh\n[ \"$2\" = refus ] && { echo 'file arretee' >&2; exit 1; }\n"
                              "[ \"$2\" = muet ] && exec cat \"$(dirname \"$0\")/tube\" >/dev/null 2>&1\n"
                              "cat >\"$(dirname \"$0\")/recu-$2\"\n");
    ::chmod((folder_ / "lp").c_str(), 0700);
    const std::string path = std::getenv("PATH");
    ::setenv("PATH", (folder_.path().string() + ":" + path).c_str(), 1);
    put(files::TEMPO, "BALANCEGENEJEAN", {joined_keys(select(files::BALANCEGENE))});
    const std::string list = "CORVALISSEMENT JEAN 0 0 0 001 N0 0 45292 45657 LISTE";
    put(files::IMPRIMANTES, "LPT1:", {"cups:compta;true"});
    ASSERT_EQ(run("TESTESETPTR JEAN LPT1:"), 0);
    EXPECT_EQ(run(list), 0);
    EXPECT_NE(bytes_of(folder_ / "recu-compta;true").find("TOTAL"), std::string::npos);
    put(files::IMPRIMANTES, "LPT1:", {"cups:refus"});
    std::string text;
    EXPECT_EQ(run(list, &text), ERR_OUTPUT);
    EXPECT_NE(text.find("file arretee"), std::string::npos);
    // One that never ends is given up.
    ASSERT_EQ(::mkfifo((folder_ / "tube").c_str(), 0600), 0);
    ::setenv("CORVALISSEMENT_DELAI_IMPRESSION", "0.05", 1);
    put(files::IMPRIMANTES, "LPT1:", {"cups:muet"});
    EXPECT_EQ(run(list, &text), ERR_OUTPUT);
    EXPECT_NE(text.find("n'en finit pas"), std::string::npos) << text;
    ::unsetenv("CORVALISSEMENT_DELAI_IMPRESSION");
    ::setenv("PATH", folder_.path().c_str(), 1);
    std::filesystem::remove(folder_ / "lp");
    EXPECT_EQ(run(list), ERR_OUTPUT);
    ::setenv("PATH", path.c_str(), 1);
}

} // namespace
} // namespace corvalissement
