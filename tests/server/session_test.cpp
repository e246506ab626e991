// The session: records in slots, locks of records, commands handed on, several sessions at once.
#include "server/session.h"

#include "data/keys.h"
#include "scratch.h"

namespace corvalissement {
namespace {

// Keeps what it was given.
class Recorder final : public CommandRunner {
public:
    void run(ServerSession& session, std::string_view command, bool prefixed) override {
        session.store().write(session.store().file("TEMPO"), "RECU", command);
        seen.push_back((prefixed ? "P:" : "") + std::string(command));
    }
    std::vector<std::string> seen;
};

class SessionTest : public testing::Test {
protected:
    std::shared_ptr<MemoryBase> base_ = make_memory_base();
    ServerSession session_{make_memory_store(base_)};
    std::string work_;
};

TEST_F(SessionTest, a_record_goes_to_its_file_and_comes_back_into_a_slot) {
    const auto file = session_.DBOpen("TEMPO");
    TarvexRecord fresh = file->DBNew("cle");
    fresh.set(2, "deux");
    fresh.DBWrite();
    TarvexRecord slot;
    slot.set(5, "ancien");
    file->DBRead("cle", slot);
    EXPECT_EQ(slot.key(), "cle");
    EXPECT_EQ(slot.DCount(), 2U);
    slot.set(1, "un");
    slot.DBWrite(); // a record that was read knows where it stands
    file->DBRead("cle", slot);
    EXPECT_EQ(slot.text(), "un\xFE"
                           "deux");
    std::string text;
    EXPECT_EQ(failure_number([&] { file->DBRead("absent", slot); }, &text), ERR_NOT_FOUND);
    EXPECT_NE(text.find("TEMPO absent"), std::string::npos);
    EXPECT_EQ(slot.key() + "/" + std::string(slot(1)), "cle/un"); // the slot keeps what it held
    EXPECT_EQ(failure_number([&] {
                  file->DBNew("a\xFE"
                              "b")
                      .DBWrite();
              }),
              ERR_STORE);
}

TEST_F(SessionTest, a_locked_record_is_kept_from_other_sessions_until_the_session_ends) {
    TarvexRecord slot;
    {
        ServerSession holder(make_memory_store(base_));
        const auto file = holder.DBOpen("BROUILLARDTETE");
        file->DBNew("001VEN01").DBWrite();
        file->DBReadLock("001VEN01", slot);
        file->DBReadLock("001VEN01", slot); // its own lock doesn't stop it
        EXPECT_EQ(failure_number([&] { file->DBReadLock("001VEN02", slot); }), ERR_NOT_FOUND);
        const auto other = session_.DBOpen("BROUILLARDTETE");
        slot.bind(nullptr, "avant");
        EXPECT_EQ(failure_number([&] { other->DBReadLock("001VEN01", slot); }), ERR_HELD);
        EXPECT_EQ(slot.key(), "avant");
        other->DBRead("001VEN01", slot); // a lock keeps no reader off
        other->DBNew("001VEN02").DBWrite();
        other->DBReadLock("001VEN02", slot); // what was not there was not kept locked
        EXPECT_EQ(failure_number([&] { file->DBReadLock("001VEN02", slot); }), ERR_HELD);
    }
    session_.DBOpen("BROUILLARDTETE")->DBReadLock("001VEN01", slot);
}

TEST_F(SessionTest, files_outlive_their_session_but_its_locks_do_not) {
    std::shared_ptr<TarvexFile> file;
    TarvexRecord slot;
    {
        ServerSession holder(make_memory_store(base_));
        file = holder.DBOpen("TEMPO");
        file->DBNew("k").DBWrite();
        file->DBReadLock("k", slot);
    }
    session_.DBOpen("TEMPO")->DBReadLock("k", slot);
    file->DBRead("k", slot);
}

TEST_F(SessionTest, commands_go_to_the_runner_in_both_forms) {
    const auto recorder = std::make_shared<Recorder>();
    ServerSession session(make_memory_store(base_), recorder);
    session.DBExecute(bare_command("VIDER-FICHIER TEMPO"), "", work_);
    session.DBExecute(prefixed_command("TESTESETPTR a|b"), "", work_);
    EXPECT_EQ(recorder->seen, (std::vector<std::string>{"VIDER-FICHIER TEMPO", "P:TESTESETPTR a|b"}));
    TarvexRecord slot;
    session.DBOpen("TEMPO")->DBRead("RECU", slot); // done when it returns
    EXPECT_EQ(failure_number([&] { session_.DBExecute(bare_command("LOGIN"), "", work_); }), ERR_COMMAND);
}

TEST_F(SessionTest, a_query_request_gives_a_list) {
    const auto file = session_.DBOpen("ASSOCIATION");
    for (const char* key : {"002", "001"}) {
        TarvexRecord record = file->DBNew(key);
        record.set(association::NAME, std::string("Entité ") + key);
        record.DBWrite();
    }
    const DynArray list =
        session_.DBSelect(query_request("SSELECT ASSOCIATION PAR 0", "ASSOCIATION", "0 1"), "", work_);
    ASSERT_EQ(list.DCount(), 2U);
    EXPECT_EQ(list(2, 2), "Entité 002");
    EXPECT_EQ(failure_number([&] { static_cast<void>(session_.DBSelect("n'importe quoi", "", work_)); }),
              ERR_QUERY);
}

} // namespace
} // namespace corvalissement
