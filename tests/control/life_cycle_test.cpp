// Start and end of the control: what a host may forget, what a failing base leaves, what the end releases.
#include "commands/session.h"
#include "control/ctr_corvalissement.h"
#include "data/keys.h"
#include "host/fixed_rights.h"
#include "support/faulty_session.h"
#include "support/small_base.h"
#include "support/test_host.h"

#include <gtest/gtest.h>

namespace corvalissement::testing_support {
namespace {

class Level2 final : public UserRights, public UserRight, public std::enable_shared_from_this<Level2> {
public:
    [[nodiscard]] std::shared_ptr<UserRight> DroitSur(std::string_view key) override {
        asked = key;
        return shared_from_this();
    }
    [[nodiscard]] std::int32_t Niveau() const override { return LEVEL_EDITION; }
    std::string asked;
};

TEST(LifeCycle, rights_are_asked_when_set_and_missed_at_Init) {
    TestHost host;
    Ctr_Corvalissement control(host);
    EXPECT_NE(error_of([&] { control.set_DroitsUtilisateur(nullptr); }), 0);
    const auto rights = std::make_shared<Level2>();
    control.set_DroitsUtilisateur(rights);
    EXPECT_EQ(rights->asked, "EDITCORVALISSEMENT");
    control.set_TheDatabase(nullptr);
    EXPECT_EQ(error_of([&] { control.Init(); }), ERR_STORE);
    EXPECT_TRUE(control.enabled()) << "no routine leaves a dead form";
    EXPECT_EQ(host.pointers.back(), POINTER_NORMAL);
}

TEST(LifeCycle, dialog_misses_rights_as_the_control_does) {
    TestHost host;
    Variable variable;
    Frm_AffectCompta dialog(host, variable);
    EXPECT_NE(error_of([&] { dialog.set_DroitsUtilisateur(nullptr); }), 0);
    EXPECT_NE(error_of([&] { dialog.Init(); }), 0);
    for (const std::int32_t level : {1, LEVEL_EDITION}) {
        dialog.set_DroitsUtilisateur(std::make_shared<FixedRights>(level));
        dialog.Init();
        EXPECT_EQ(dialog.find("Cmd_Affecter")->visible(), level == LEVEL_EDITION);
        dialog.find("Cmd_Affecter")->set_visible(true);
    }
}

TEST(LifeCycle, file_that_cannot_be_opened_reaches_the_host) {
    TestHost host;
    Ctr_Corvalissement control(host);
    control.set_DroitsUtilisateur(std::make_shared<Level2>());
    std::string opened;
    control.set_TheDatabase(
        watched_session(std::make_shared<ServerSession>(make_memory_store()), [&](const std::string& call) {
            opened += call.substr(call.find(' ') + 1) + " ";
            if (call == "DBOpen BROUILLARDTETE") throw StepFailure(ERR_STORE, "fichier illisible");
        }));
    EXPECT_EQ(error_of([&] { control.Init(); }), ERR_STORE);
    EXPECT_EQ(opened, "ASSOCIATION BALANCEGENE BALANCEGENEARCHIVE BALANCEGENETEMPO BROUILLARDTETE ");
    control.UserControl_Terminate();
}

TEST(LifeCycle, end_releases_rights_files_and_session_but_not_the_client) {
    TestHost host;
    Ctr_Corvalissement control(host);
    auto rights = std::make_shared<Level2>();
    auto session = std::make_shared<ServerSession>(make_memory_store());
    const std::weak_ptr<Level2> rights_held = rights;
    const std::weak_ptr<ServerSession> session_held = session;
    control.set_DroitsUtilisateur(std::move(rights));
    auto client = std::make_shared<TarvexClient>();
    const std::weak_ptr<TarvexClient> client_held = client;
    control.set_TheClient(std::move(client));
    control.set_TheDatabase(std::move(session));
    control.Init();
    EXPECT_EQ(control.focus(), control.find("Txt_Entite"));
    EXPECT_EQ(control.W_Sortir, 0);
    control.find("Mnu_Sommaire")->Click(); // help keeps no session that its control has let go
    control.UserControl_Terminate();
    EXPECT_TRUE(rights_held.expired() && session_held.expired());
    EXPECT_FALSE(client_held.expired());
}

// A host of its own for each, so that neither the bases nor the records last read are shared.
TEST(LifeCycle, controls_of_one_process_keep_to_their_own_sessions) {
    struct Place final : TestHost {
        explicit Place(const std::string& name) {
            auto store = make_memory_store();
            TestLedger ledger;
            ledger.association.front() = name;
            ledger.chart["0014010000000"] = "Compte de " + name;
            ledger.ledger = {{"N00014010000000",
                              "1",
                              {{45292, "001VEN000001", "0014010000000", "", "", "5", "", "", "", ""}}}};
            put(*store, ledger);
            put(*store, "PARAMENTITECOMPTA", "001", {"45292", "45657", "45658", "46022"});
            printers = {std::make_shared<RecordingSurface>()};
            start(std::make_shared<ServerSession>(std::move(store)));
        }
        [[nodiscard]] std::string paper() const {
            std::string text;
            for (const PaperRow& row : printers.front()->rows())
                text += row.text + "\n";
            return text;
        }
    };
    Place first("PREMIER");
    Place second("SECOND");
    for (Place* place : {&first, &second})
        place->control()->field<TextField>("Txt_Entite").set_text("001");
    first.control()->find("Cmd_Imprimer")->Click();
    second.control()->find("Cmd_Imprimer")->Click();
    EXPECT_NE(first.paper().find("Compte de PREMIER"), std::string::npos) << first.paper();
    EXPECT_NE(second.paper().find("Compte de SECOND"), std::string::npos) << second.paper();
    EXPECT_EQ(first.paper().find("SECOND"), std::string::npos);
    EXPECT_EQ(second.paper().find("PREMIER"), std::string::npos);
}

} // namespace
} // namespace corvalissement::testing_support
