// Writes accounting entries and the balances that list them, for everything that fills a base.
//
// Entries go to the store as they come. Of each one only its date and its place in its journal are kept, 12
// bytes, so that the balance records can be written at the end, once for each account. Amounts are whole
// hundredths; dates are day numbers. Nothing here opens or closes a transaction: the caller does.
#pragma once

#include "data/keys.h"
#include "store/store.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvalissement {

// What an entry says. An amount that is absent leaves its attribute empty; 0 is written "0".
struct EntryText {
    std::int64_t date = 0;
    std::string_view label;
    std::string_view piece;
    std::string_view lettering;
    std::optional<std::int64_t> debit;
    std::optional<std::int64_t> credit;
    std::optional<std::int64_t> due_date;
    std::optional<std::int64_t> quantity;
};

// Replaces `record` by the whole text of an entry record, all eleven attributes of it.
void compose_entry(std::string& record, std::string_view account_key, const EntryText& entry);

// Appends a whole number, and one completed on the left with zeros to `width` digits.
void append_whole(std::string& text, std::int64_t value);
void append_padded(std::string& text, std::uint64_t value, int width);

// The sum of two amounts. StepFailure (ERR_OVERFLOW) when it cannot be held.
[[nodiscard]] std::int64_t add_amounts(std::int64_t a, std::int64_t b);

// One entity's ledger. Line numbers run within a journal and a period, in the order of the calls, in blocks
// of 32,767; an entry key is entity, journal, "N0", line number, year code, block number. What the base
// holds already stays: numbering goes on behind it and the balances are merged with those that stand.
class LedgerWriter {
public:
    LedgerWriter(Store& store, std::string entity);

    // The number of a journal (code of 2 characters) or an account (10 characters) for `add`. The first
    // journal asked for makes it look through the entries that the base holds.
    [[nodiscard]] std::size_t journal(std::string_view code);
    [[nodiscard]] std::size_t account(std::string_view number);

    // Writes one entry. StepFailure when the journal is full (999 blocks).
    void add(Exercice period, std::size_t journal, std::size_t account, const EntryText& entry);

    // Whether an account, or any account, has entries in a period, here or in the base.
    [[nodiscard]] bool has_entries(Exercice period, std::size_t account);
    [[nodiscard]] bool has_entries(Exercice period);

    // Writes the balance of every account that got an entry, in key order. Entries of one date stand in the
    // order in which they came, behind those of the base. Nothing can be added afterwards.
    void write_balances();

    [[nodiscard]] std::string account_key(std::size_t account) const { return entity_ + accounts_[account]; }

private:
    static constexpr std::uint16_t LINES_OF_BLOCK = 32'767;
    static constexpr std::uint16_t LAST_BLOCK = 999;

    // The last place taken in a journal.
    struct Place {
        std::uint16_t block = 1;
        std::uint16_t line = 0;
        friend auto operator<=>(const Place&, const Place&) = default;
    };
    struct EntryRef {
        std::int32_t date;
        std::uint16_t journal;
        Place place;
    };
    struct Balance {
        std::int64_t debit = 0;
        std::int64_t credit = 0;
        std::vector<EntryRef> entries;
    };
    struct Journal {
        std::string code;
        std::array<Place, 3> last;
    };

    [[nodiscard]] bool has_balance(Exercice period, const std::string& start);
    void find_standing(FileId file, std::initializer_list<Exercice> periods);
    void note_standing(std::string_view key, std::initializer_list<Exercice> periods);
    void next_place(Place& place, const std::string& code) const;
    void compose_key(std::string& key, std::uint16_t journal, Exercice period, Place place) const;
    void write_balance(Exercice period, const std::string& number, Balance& balance);
    void merge_lists(std::string_view old_dates, std::string_view old_entries, Exercice period,
                     const std::vector<EntryRef>& entries);

    Store& store_;
    std::string entity_;
    FileId entry_file_;
    FileId archive_file_;
    std::map<std::string, std::array<Place, 3>, std::less<>> standing_;
    std::vector<Journal> journals_;
    std::unordered_map<std::string, std::size_t> journal_numbers_;
    std::vector<std::string> accounts_;
    std::unordered_map<std::string, std::size_t> account_numbers_;
    std::array<std::vector<Balance>, 3> balances_;
    std::string key_;
    std::string account_key_;
    std::string record_;
    std::string dates_;
    std::string keys_;
};

} // namespace corvalissement
