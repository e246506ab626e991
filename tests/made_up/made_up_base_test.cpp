#include "made_up/made_up_base.h"

#include "records/bad_input.h"
#include "support/base_check.h"

#include <gtest/gtest.h>

namespace corvalissement {

using namespace testing_base;

namespace {

Snapshot made(const MadeUpOptions& options) {
    const auto store = make_memory_store();
    make_up_base(*store, options, {});
    EXPECT_EQ(fault_of_base(*store), "");
    return snapshot(*store);
}

// Debit less credit of all records of a file that has entry attributes. Only a line that stands alone may say
// nothing.
std::int64_t net_of(const Records& records, bool alone = false) {
    std::int64_t net = 0;
    for (const auto& [key, text] : records) {
        const DynArray entry(text);
        EXPECT_TRUE(alone || entry(entry::DEBIT) != "0") << key;
        net += whole(entry(entry::DEBIT)) - whole(entry(entry::CREDIT));
    }
    return net;
}

TEST(MadeUpBase, has_the_size_asked_for_and_balances) {
    for (const std::uint64_t lines : {0U, 1U, 2U, 3U, 4U, 5U, 7U, 12U, 13U, 50U, 51U, 333U, 20'001U})
        for (const std::uint64_t seed : {1U, 2U, 99U}) {
            SCOPED_TRACE(std::to_string(lines) + " lines, seed " + std::to_string(seed));
            Snapshot base = made({.lines = lines, .accounts = lines / 3, .seed = seed, .drafts = lines / 2});
            const Records& entries = base["DETAILECRITUREGENE"];
            const Records& archive = base["DETAILECRITUREGENEARCHIVE"];
            EXPECT_EQ(entries.size() + archive.size(), lines);
            EXPECT_EQ(base["PLANCOMPTABLE"].size(), lines < 3 ? 20U : std::max<std::size_t>(lines / 3, 7));
            EXPECT_EQ(net_of(entries, lines == 1) + net_of(archive), 0);
            EXPECT_EQ(base["BROUILLARDDETAIL"].size(), lines / 2);
            for (const auto& [key, text] : base["BROUILLARDTETE"]) {
                const DynArray head(text);
                EXPECT_EQ(head(brouillard::TOTAL_DEBIT), head(brouillard::TOTAL_CREDIT)) << key;
            }
        }
}

// What an edition can meet is there: lines that merge, lettering and its odd mark, due dates, quantities,
// three years, labels longer than their column; and each code is settled within its account.
TEST(MadeUpBase, holds_every_kind_of_entry) {
    Snapshot base = made({.lines = 20'000, .seed = 3});
    std::size_t runs = 0, odd_marks = 0, due = 0, quantities = 0, long_labels = 0, next_year = 0;
    std::map<std::string, std::int64_t> codes;
    std::string before;
    for (const auto& [key, text] : base["DETAILECRITUREGENE"]) {
        const DynArray entry(text);
        const std::string account(entry(entry::ACCOUNT_KEY));
        const std::string same =
            account + std::string(entry(entry::LABEL)) + std::string(entry(entry::PIECE));
        if (AccountKey::of(account).account_class() >= '6' && same == before) ++runs;
        before = same;
        if (entry(entry::LETTERING) == "A1") ++odd_marks;
        if (!entry(entry::DUE_DATE).empty()) ++due;
        if (!entry(entry::QUANTITY).empty()) ++quantities;
        if (char_count(entry(entry::LABEL)) > 30) ++long_labels;
        if (chars(key, 13, 2) == "N1") ++next_year;
    }
    for (const char* file : {"DETAILECRITUREGENE", "DETAILECRITUREGENEARCHIVE"})
        for (const auto& [key, text] : base[file]) {
            const DynArray entry(text);
            if (entry(entry::LETTERING).empty() || entry(entry::LETTERING) == "A1") continue;
            codes[std::string(entry(entry::ACCOUNT_KEY)) + std::string(entry(entry::LETTERING))] +=
                whole(entry(entry::DEBIT)) - whole(entry(entry::CREDIT));
        }
    EXPECT_GT(runs, 500U);
    EXPECT_GT(odd_marks, 10U);
    EXPECT_GT(due, 1000U);
    EXPECT_GT(quantities, 500U);
    EXPECT_GT(long_labels, 500U);
    EXPECT_GT(next_year, 1000U);
    EXPECT_GT(codes.size(), 1000U);
    for (const auto& [code, net] : codes)
        EXPECT_EQ(net, 0) << code;
}

TEST(MadeUpBase, the_same_options_give_the_same_bytes) {
    const MadeUpOptions options{.lines = 3'000, .accounts = 40, .seed = 5, .drafts = 500};
    const Snapshot base = made(options);
    EXPECT_EQ(made(options), base);
    EXPECT_NE(made({.lines = 3'000, .accounts = 40, .seed = 6, .drafts = 500}), base);
}

TEST(MadeUpBase, a_base_that_has_the_entity_and_absurd_sizes_are_refused) {
    const auto store = make_memory_store();
    make_up_base(*store, {.lines = 10}, {});
    const Snapshot before = snapshot(*store);
    EXPECT_THROW(make_up_base(*store, {.lines = 10}, {}), BadInput);
    EXPECT_EQ(snapshot(*store), before);
    const auto empty = make_memory_store();
    EXPECT_THROW(make_up_base(*empty, {.lines = 1'000'000'000}, {}), BadInput);
    EXPECT_THROW(make_up_base(*empty, {.lines = 1, .drafts = 1'000'000'000}, {}), BadInput);
    EXPECT_TRUE(snapshot(*empty).empty());
}

} // namespace

} // namespace corvalissement
