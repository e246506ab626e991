// What holds for every engine, against plain maps; run on the engine in memory and on the embedded one.
#include "support/store_trial.h"

#include <memory>
#include <random>

namespace corvalissement {
namespace {

using Model = std::map<std::string, Records>;

// A base that stores can be opened on, again and again.
class Base {
public:
    explicit Base(bool embedded) : memory_(embedded ? nullptr : make_memory_base()) {}
    [[nodiscard]] std::unique_ptr<Store> open(int patience_ms = WRITER_PATIENCE_MS) const {
        if (memory_ != nullptr) return make_memory_store(memory_);
        return open_embedded_store(folder_ / "base", OpenMode::create, patience_ms);
    }

private:
    ScratchFolder folder_;
    std::shared_ptr<MemoryBase> memory_;
};

class StoreTest : public testing::TestWithParam<bool> {
protected:
    Base base_{GetParam()};
};

// Few texts, so that they meet; with the bytes that break what takes them for C texts, UTF-8 or names of
// tables. The balance file keeps its records apart from its keys, the other doesn't.
std::string random_file(std::mt19937& random) {
    constexpr const char* NAMES[] = {"BALANCEGENE", "TEMPO", "Tempo", "x\"; DROP TABLE fichiers; --"};
    return NAMES[random() % 4];
}

std::string random_key(std::mt19937& random) {
    const std::string pieces[] = {"", "A", "a", "é", std::string(1, '\0'), "\xFF", "'", "N0001", "\x80"};
    std::string key;
    for (auto i = random() % 4; i > 0; --i)
        key += pieces[random() % std::size(pieces)];
    return key;
}

std::string random_record(std::mt19937& random) {
    std::string record(random() % 20 == 0 ? random() % 20'000 : random() % 30, '\0');
    for (char& c : record)
        c = static_cast<char>(random());
    return record;
}

void change(Store& store, Model& model, std::mt19937& random) {
    const std::string name = random_file(random);
    const std::string key = random_key(random);
    const FileId file = store.file(name);
    switch (random() % 12) {
    case 0:
        store.clear(file);
        model[name].clear();
        break;
    case 1:
    case 2:
        ASSERT_EQ(store.erase(file, key), model[name].erase(key) > 0);
        break;
    default:
        model[name][key] = random_record(random);
        store.write(file, key, model[name][key]);
    }
}

void expect_same(Store& store, Model& model, std::mt19937& random) {
    const std::string name = random_file(random);
    const Records& records = model[name];
    const std::string key = random_key(random);
    const auto expected = records.find(key);
    std::string record = "avant";
    ASSERT_EQ(store.read(store.file(name), key, record), expected != records.end());
    ASSERT_EQ(record, expected == records.end() ? "avant" : expected->second);
    ASSERT_EQ(records_of(store, name, key), Records(records.lower_bound(key), records.end()));
    std::vector<std::string> keys;
    store.scan_keys(store.file(name), key, [&](std::string_view one) {
        keys.emplace_back(one);
        return keys.size() < 3;
    });
    std::vector<std::string> first;
    for (auto at = expected; at != records.end() && first.size() < 3; ++at)
        first.push_back(at->first);
    if (expected != records.end()) {
        ASSERT_EQ(keys, first);
    }
    std::vector<std::string> names;
    for (const auto& [file, held] : model)
        if (!held.empty()) names.push_back(file);
    ASSERT_EQ(store.file_names(), names);
}

TEST_P(StoreTest, random_operations_agree_with_plain_maps) {
    std::mt19937 random(1);
    Model model;
    std::unique_ptr<Store> store = base_.open();
    for (int step = 0; step < 1'500 && !HasFatalFailure(); ++step) {
        if (random() % 40 == 0) store = base_.open(); // the old one ends after the new one has begun
        if (random() % 15 == 0) {
            Model inside = model;
            Transaction whole(*store);
            for (auto changes = random() % 12; changes > 0; --changes)
                change(*store, inside, random);
            expect_same(*store, inside, random); // a transaction sees its own changes
            if (random() % 3 > 0) {
                whole.commit();
                model = inside;
            }
        } else {
            change(*store, model, random);
        }
        expect_same(*store, model, random);
    }
}

TEST_P(StoreTest, a_reading_sees_one_state_whatever_others_write) {
    std::mt19937 random(2);
    Model model;
    const auto writer = base_.open();
    const auto reader = base_.open();
    for (int round = 0; round < 60 && !HasFatalFailure(); ++round) {
        Model before = model;
        reader->begin_reading();
        reader->begin_reading(); // nested at will
        Model inside = model;
        {
            Transaction whole(*writer);
            for (int i = 0; i < 8; ++i)
                change(*writer, inside, random);
            expect_same(*reader, before, random);
            if (round % 3 > 0) {
                whole.commit();
                model = inside;
            }
        }
        change(*writer, model, random);
        reader->end_reading();
        for (int i = 0; i < 5; ++i)
            expect_same(*reader, before, random);
        reader->end_reading();
        for (int i = 0; i < 5; ++i)
            expect_same(*reader, model, random);
    }
}

TEST_P(StoreTest, a_write_inside_a_reading_is_seen_and_stays) {
    const auto store = base_.open();
    const auto other = base_.open();
    const FileId file = store->file("TEMPO");
    std::string record;
    store->begin_reading();
    other->write(other->file("TEMPO"), "autre", "1");
    store->write(file, "A", "1");
    EXPECT_TRUE(store->read(file, "A", record));
    other->write(other->file("TEMPO"), "autre", "2");
    ASSERT_TRUE(store->read(file, "autre", record));
    EXPECT_EQ(record, "1"); // one state again, from the write on
    EXPECT_TRUE(other->read(other->file("TEMPO"), "A", record));
    store->end_reading();
    ASSERT_TRUE(store->read(file, "autre", record));
    EXPECT_EQ(record, "2");
}

TEST_P(StoreTest, a_reading_that_ends_beside_an_open_transaction_takes_nothing_away) {
    const auto reader = base_.open();
    const auto writer = base_.open();
    const FileId file = writer->file("TEMPO");
    for (const bool kept : {false, true}) {
        writer->write(file, "A", "0");
        reader->begin_reading();
        writer->write(file, "A", "1");
        writer->write(file, "B", "1");
        Transaction whole(*writer);
        writer->write(file, "A", "2");
        EXPECT_TRUE(writer->erase(file, "B"));
        reader->end_reading();
        EXPECT_EQ(records_of(*reader, "TEMPO"), (Records{{"A", "1"}, {"B", "1"}}));
        if (kept) whole.commit();
    }
    EXPECT_EQ(records_of(*reader, "TEMPO"), (Records{{"A", "2"}}));
}

TEST_P(StoreTest, a_visit_may_read_and_walk_the_same_file) {
    const auto store = base_.open();
    const FileId file = store->file("BALANCEGENE");
    for (const char* key : {"A", "B", "C"})
        store->write(file, key, std::string(key) + key);
    std::string seen;
    store->scan(file, "", [&](std::string_view key, std::string_view record) {
        std::string other;
        EXPECT_TRUE(store->read(file, "C", other));
        store->scan_keys(file, key, [&](std::string_view inner) { return seen.append(inner), true; });
        seen.append(record);
        return true;
    });
    EXPECT_EQ(seen, "ABCAABCBBCCC");
}

TEST_P(StoreTest, a_lock_keeps_others_off_until_its_store_ends) {
    const auto other = base_.open();
    {
        const auto store = base_.open();
        EXPECT_TRUE(store->lock("BROUILLARDTETE", "001VEN01"));
        EXPECT_TRUE(store->lock("BROUILLARDTETE", "001VEN01")); // what is held can be locked again
        EXPECT_TRUE(store->lock("BROUILLARDTETE", "001VEN02"));
        EXPECT_FALSE(other->lock("BROUILLARDTETE", "001VEN01"));
        EXPECT_TRUE(other->lock("JOURNAL", "001VEN01"));
        other->unlock("BROUILLARDTETE", "001VEN01"); // not its own: stays
        EXPECT_FALSE(other->lock("BROUILLARDTETE", "001VEN01"));
        store->unlock("BROUILLARDTETE", "001VEN01");
        EXPECT_TRUE(other->lock("BROUILLARDTETE", "001VEN01"));
        EXPECT_FALSE(store->lock("BROUILLARDTETE", "001VEN01"));
    }
    EXPECT_TRUE(other->lock("BROUILLARDTETE", "001VEN02"));
}

INSTANTIATE_TEST_SUITE_P(Engines, StoreTest, testing::Bool(),
                         [](const auto& engine) { return engine.param ? "embedded" : "memory"; });

} // namespace
} // namespace corvalissement
