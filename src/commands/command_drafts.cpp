#include "commands/command_drafts.h"

#include "commands/drafts_in_use.h"
#include "commands/session.h"
#include "data/balance_record.h"
#include "data/dyn_array.h"
#include "data/keys.h"
#include "data/util_object.h"
#include "platform/failures.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace corvalissement {

namespace {

constexpr std::array TEMPORARY = {files::BALANCEGENETEMPO, files::BALANCEANALTEMPO,
                                  files::DETAILECRITUREGENETEMPO};
constexpr std::string_view LAST_EMPTIED = files::DETAILECRITUREGENETEMPO;

constexpr std::size_t SEQUENCE_CHARS = 8;
constexpr std::size_t LINE_CHARS = 5;
constexpr std::size_t ACCOUNT_KEY_CHARS = 13;
constexpr std::size_t BATCH = 1'000; // lines read before they are written: a scan must not write

[[noreturn]] void refuse_line(const std::string& key, const std::string& reason) {
    throw StepFailure(
        ERR_COMMAND,
        "AFFECTCOMPTATEMPO : " + std::string(files::BROUILLARDDETAIL) + " " + key + " : " + reason, key);
}

// The keys of the list, each once. They are cut by length: a journal code may hold the separator.
std::vector<std::string> sequences_of(std::string_view list) {
    std::vector<std::string> sequences;
    std::set<std::string, std::less<>> seen;
    while (true) {
        const std::string_view key = chars(list, 1, SEQUENCE_CHARS);
        list.remove_prefix(key.size());
        const bool more = list.starts_with('/');
        if (char_count(key) != SEQUENCE_CHARS || (!more && !list.empty()))
            throw StepFailure(ERR_COMMAND,
                              "AFFECTCOMPTATEMPO : « " + std::string(chars(key, 1, SEQUENCE_CHARS)) +
                                  " » : les clés de séquence ont 8 caractères et sont séparées par /");
        if (seen.emplace(key).second) sequences.emplace_back(key);
        if (!more) return sequences;
        list.remove_prefix(1);
    }
}

class Assignment {
public:
    explicit Assignment(Store& store)
        : store_(store), lines_(store.file(files::BROUILLARDDETAIL)),
          entries_(store.file(files::DETAILECRITUREGENETEMPO)),
          balances_(store.file(files::BALANCEGENETEMPO)) {}

    void run(const std::vector<std::string>& sequences) {
        Transaction whole(store_);
        store_.clear(entries_);
        store_.clear(balances_);
        for (const std::string& sequence : sequences)
            copy(sequence);
        for (auto& [key, balance] : gathered_)
            write_balance(key, balance);
        whole.commit();
    }

private:
    struct Entry {
        std::int64_t day;
        std::string date; // as the line holds it
        std::string key;
    };
    struct Balance {
        std::int64_t debit = 0;
        std::int64_t credit = 0;
        std::vector<Entry> entries;
    };
    using Lines = std::vector<std::pair<std::string, std::string>>;

    void copy(const std::string& sequence) {
        std::string from = sequence;
        Lines batch;
        do {
            batch.clear();
            store_.scan(lines_, from, [&](std::string_view key, std::string_view record) {
                if (!key.starts_with(sequence)) return false;
                batch.emplace_back(key, record);
                return batch.size() < BATCH;
            });
            for (auto& [key, record] : batch)
                copy_line(key, sequence, std::move(record));
            if (!batch.empty()) from = batch.back().first + '\0';
        } while (batch.size() == BATCH);
    }

    void copy_line(const std::string& line, const std::string& sequence, std::string record) {
        const std::string_view number = std::string_view(line).substr(sequence.size());
        if (char_count(number) != LINE_CHARS) refuse_line(line, "le numéro de ligne n'a pas 5 caractères");
        const SequenceKey from = SequenceKey::of(sequence);
        std::string key;
        // The order number stands where nobody reads, and keeps the sequences apart.
        key.append(from.entity)
            .append(from.journal)
            .append("N")
            .append(from.order)
            .append(number)
            .append(from.year);
        store_.write(entries_, key, record);
        gather(line, from.year, std::move(key), DynArray(std::move(record)));
    }

    void gather(const std::string& line, std::string_view year, std::string key, const DynArray& record) {
        const std::string_view account = record(entry::ACCOUNT_KEY);
        if (char_count(account) != ACCOUNT_KEY_CHARS)
            refuse_line(line, "« " + std::string(account) + " » n'est pas une clé de compte");
        Balance& balance = gathered_[std::string(year).append(account)];
        add(balance.debit, line, record(entry::DEBIT));
        add(balance.credit, line, record(entry::CREDIT));
        balance.entries.push_back(
            {day_of(line, record(entry::DATE)), std::string(record(entry::DATE)), std::move(key)});
    }

    // A line without a date comes before those that have one.
    static std::int64_t day_of(const std::string& line, std::string_view date) {
        if (date.empty()) return INT64_MIN;
        try {
            return day_number(date);
        } catch (const StepFailure& failure) {
            refuse_line(line, failure.text());
        }
    }

    static void add(std::int64_t& sum, const std::string& line, std::string_view amount) {
        std::int64_t value = 0;
        if (!amount.empty() && !parse_whole(amount, value))
            refuse_line(line, "« " + std::string(amount) + " » n'est pas un montant");
        if (__builtin_add_overflow(sum, value, &sum)) refuse_line(line, "le total du compte est trop grand");
    }

    void write_balance(const std::string& key, Balance& balance) {
        std::stable_sort(balance.entries.begin(), balance.entries.end(),
                         [](const Entry& a, const Entry& b) { return a.day < b.day; });
        std::int64_t solde = 0;
        if (__builtin_sub_overflow(balance.debit, balance.credit, &solde))
            refuse_line(key, "le total du compte est trop grand");
        std::string dates;
        std::string keys;
        for (const Entry& entry : balance.entries) {
            const bool first = keys.empty();
            DynArray::append_value(dates, entry.date, first);
            DynArray::append_value(keys, entry.key, first);
        }
        DynArray record;
        set_balance(record, {balance.debit, balance.credit, solde}, dates, keys);
        store_.write(balances_, key, record.text());
    }

    Store& store_;
    FileId lines_;
    FileId entries_;
    FileId balances_;
    std::map<std::string, Balance> gathered_; // by balance key
};

} // namespace

void empty_file(ServerSession& session, std::string_view name) {
    Store& store = session.store();
    if (std::find(TEMPORARY.begin(), TEMPORARY.end(), name) == TEMPORARY.end()) {
        const std::vector<std::string> filled = store.file_names();
        if (std::find(filled.begin(), filled.end(), name) == filled.end()) return;
        throw StepFailure(ERR_COMMAND,
                          "VIDER-FICHIER : " + std::string(name) + " n'est pas un fichier temporaire",
                          std::string(name));
    }
    const DraftsInUse held(session.locks());
    store.clear(store.file(name));
    if (name == LAST_EMPTIED) free_drafts(session.locks());
}

void assign_drafts(ServerSession& session, std::string_view list) {
    const std::vector<std::string> sequences = sequences_of(list);
    keep_drafts(session.locks());
    Assignment(session.store()).run(sequences);
}

} // namespace corvalissement
