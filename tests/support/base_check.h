// What a base filled by an importer must always satisfy, and helpers to look into one.
#pragma once

#include "data/dyn_array.h"
#include "data/keys.h"
#include "store/store.h"

#include <map>
#include <set>
#include <string>

namespace corvalissement::testing_base {

using Records = std::map<std::string, std::string>;
using Snapshot = std::map<std::string, Records>;

inline Records records_of(Store& store, std::string_view file) {
    Records records;
    store.scan(store.file(file), "", [&](std::string_view key, std::string_view record) {
        records.emplace(key, record);
        return true;
    });
    return records;
}

inline Snapshot snapshot(Store& store) {
    Snapshot all;
    for (const std::string& name : store.file_names())
        all[name] = records_of(store, name);
    return all;
}

inline std::int64_t whole(std::string_view text) {
    std::int64_t value = 0;
    return parse_whole(text, value) ? value : 0;
}

// Walks the balances of one pair of files against their entries.
class BalanceCheck {
public:
    BalanceCheck(Store& store, bool archive)
        : chart_(records_of(store, files::PLANCOMPTABLE)), journals_(records_of(store, files::JOURNAL)),
          entries_(records_of(store, archive ? files::DETAILECRITUREGENEARCHIVE : files::DETAILECRITUREGENE)),
          balances_(records_of(store, archive ? files::BALANCEGENEARCHIVE : files::BALANCEGENE)) {}

    std::string fault() {
        for (const auto& [key, text] : balances_)
            if (std::string found = fault_of(key, DynArray(text)); !found.empty()) return found + ": " + key;
        return listed_.size() == entries_.size() ? "" : "entries that no balance lists";
    }

private:
    std::string fault_of(const std::string& key, const DynArray& balance) {
        const std::size_t count = balance.DCount(balance::ENTRIES);
        if (char_count(key) != 15) return "key of another length";
        if (count != balance.DCount(balance::DATES)) return "dates and entries out of step";
        const std::string account(BalanceKey::account_in(key));
        if (!chart_.contains(account)) return "no chart record";
        std::int64_t sums[2] = {0, 0};
        for (std::size_t v = 1; v <= count; ++v) {
            const std::string entry_key(balance(balance::ENTRIES, v));
            const std::string_view date = balance(balance::DATES, v);
            if (v > 1 && whole(balance(balance::DATES, v - 1)) > whole(date)) return "dates fall";
            if (std::string found = fault_of_entry(entry_key, date, account, sums); !found.empty())
                return found + ": " + entry_key;
        }
        const bool totals = whole(balance(balance::TOTAL_DEBIT)) == sums[0] &&
                            whole(balance(balance::TOTAL_CREDIT)) == sums[1] &&
                            balance(balance::SOLDE) == std::to_string(sums[0] - sums[1]);
        return totals ? "" : "totals";
    }

    std::string fault_of_entry(const std::string& key, std::string_view date, std::string_view account,
                               std::int64_t (&sums)[2]) {
        const auto found = entries_.find(key);
        if (found == entries_.end()) return "no such entry";
        if (!listed_.insert(key).second) return "entry listed twice";
        const DynArray entry(found->second);
        if (entry(entry::DATE) != date) return "another date";
        if (entry(entry::ACCOUNT_KEY) != account) return "another account";
        if (!journals_.contains(std::string(chars(key, 1, 5)))) return "no journal";
        const std::int64_t line = whole(EntryKey::of(key).line);
        if (line < 1 || line > 32'767) return "line number";
        sums[0] += whole(entry(entry::DEBIT));
        sums[1] += whole(entry(entry::CREDIT));
        return "";
    }

    Records chart_, journals_, entries_, balances_;
    std::set<std::string> listed_;
};

inline std::string fault_of_drafts(Store& store) {
    const Records chart = records_of(store, files::PLANCOMPTABLE);
    const Records journals = records_of(store, files::JOURNAL);
    std::map<std::string, std::pair<std::int64_t, std::int64_t>> sums;
    for (const auto& [key, text] : records_of(store, files::BROUILLARDDETAIL)) {
        const DynArray line(text);
        if (char_count(key) != 13) return "draft line key: " + key;
        if (!chart.contains(std::string(line(entry::ACCOUNT_KEY)))) return "no chart record of draft: " + key;
        auto& sum = sums[std::string(chars(key, 1, 8))];
        sum.first += whole(line(entry::DEBIT));
        sum.second += whole(line(entry::CREDIT));
    }
    const Records heads = records_of(store, files::BROUILLARDTETE);
    for (const auto& [key, text] : heads) {
        const DynArray head(text);
        if (!journals.contains(std::string(chars(key, 1, 5)))) return "no journal of draft: " + key;
        if (!sums.contains(key)) return "draft without lines: " + key;
        if (whole(head(brouillard::TOTAL_DEBIT)) != sums[key].first ||
            whole(head(brouillard::TOTAL_CREDIT)) != sums[key].second)
            return "draft totals: " + key;
    }
    return heads.size() == sums.size() ? "" : "draft lines without a head";
}

// Every entry is listed in exactly one balance, under its own date and account; totals are those of the
// entries; dates rise; accounts and journals have their records; draft heads tell the sums of their lines.
// Gives the first fault, "" when there is none.
inline std::string fault_of_base(Store& store) {
    for (const bool archive : {false, true})
        if (std::string fault = BalanceCheck(store, archive).fault(); !fault.empty()) return fault;
    return fault_of_drafts(store);
}

} // namespace corvalissement::testing_base
