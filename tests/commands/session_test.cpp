// The session: records in slots, locks of records, several sessions at once.
#include "commands/session.h"

#include "data/keys.h"
#include "support/store_trial.h"

namespace corvalissement {
namespace {

class SessionTest : public testing::Test {
protected:
    std::shared_ptr<MemoryBase> base_ = make_memory_base();
    ServerSession session_{make_memory_store(base_)};
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
    std::shared_ptr<TarvexFile> file; // outlives its session, whose locks do not
    {
        ServerSession holder(make_memory_store(base_));
        file = holder.DBOpen("BROUILLARDTETE");
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
    file->DBRead("001VEN01", slot);
}

} // namespace
} // namespace corvalissement
