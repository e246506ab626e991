#include "fec/fec_entries.h"

#include "platform/text.h"
#include "records/bad_input.h"

#include <algorithm>
#include <map>
#include <utility>

namespace corvalissement {

bool no_number(std::string_view number) { return number.find_first_not_of('0') == std::string_view::npos; }

bool UnbalancedEntry::is_split() const noexcept {
    return std::count_if(nets.begin(), nets.end(), [](std::int64_t net) { return net != 0; }) > 1;
}

void BalanceWatch::add(std::size_t number, std::optional<Exercice> period, const FecRow& row) {
    if (number >= journals_.size()) journals_.resize(number + 1);
    Journal& journal = journals_[number];
    if (period) add_to_run(journal.all, *period, row);
    if (no_number(row.number)) {
        if (period) add_to_run(journal.loose, *period, row);
        return;
    }
    if (journal.lines == 0 || row.number != journal.number) {
        if (journal.lines > 0) {
            close_number(journal);
            ++journal.changes;
        }
        journal.number.assign(row.number);
        journal.current = {{}, row.line};
    }
    ++journal.lines;
    journal.current.nets[period ? static_cast<std::size_t>(*period) : OUTSIDE] += row.net();
}

void BalanceWatch::add_to_run(Run& run, Exercice period, const FecRow& row) {
    if (run.net != 0 && run.date != row.date) end_run(run);
    if (run.net == 0) {
        run.date = row.date;
        run.line = row.line;
        run.place = static_cast<std::size_t>(period);
    }
    run.net += row.net();
    run.total += row.net();
}

void BalanceWatch::end_run(Run& run) {
    if (run.net != 0) {
        UnbalancedEntry& fault = run.faults.emplace_back();
        fault.line = run.line;
        fault.nets[run.place] = run.net;
    }
    run.net = 0;
}

// The lines of a number need not stand together: what is left open waits for the rest.
void BalanceWatch::close_number(Journal& journal) {
    const bool settled = journal.current.settled();
    if (journal.useless || (settled && journal.open.empty())) return;
    const auto found = journal.open.find(journal.number);
    if (found != journal.open.end()) {
        for (std::size_t i = 0; i < found->second.nets.size(); ++i)
            found->second.nets[i] += journal.current.nets[i];
        if (found->second.settled()) journal.open.erase(found);
    } else if (!settled) {
        journal.open.emplace(journal.number, journal.current);
    }
    if (journal.open.size() > MOST_SINGLES && journal.changes + 1 == journal.lines) {
        journal.useless = true;
        journal.open.clear();
    }
}

bool BalanceWatch::numbers_are_useless(const Journal& journal) {
    return journal.useless || (journal.lines > 1 && journal.changes + 1 == journal.lines &&
                               (!journal.current.settled() || !journal.open.empty()));
}

std::vector<bool> BalanceWatch::unnumbered() const {
    std::vector<bool> result;
    for (const Journal& journal : journals_)
        result.push_back(numbers_are_useless(journal));
    return result;
}

void BalanceWatch::tell(Run& run, UnbalancedEntries& entries) {
    end_run(run);
    if (run.total == 0)
        entries.doubtful = run.faults.size();
    else
        entries.told = run.faults;
}

UnbalancedEntries BalanceWatch::unbalanced(std::size_t number) {
    UnbalancedEntries result;
    if (number >= journals_.size()) return result;
    Journal& journal = journals_[number];
    if (numbers_are_useless(journal)) {
        tell(journal.all, result);
        return result;
    }
    tell(journal.loose, result);
    if (journal.lines > 0) {
        close_number(journal);
        journal.current = {};
    }
    for (const auto& [name, open] : journal.open) {
        const UnbalancedEntry entry{name, open.line, open.nets};
        if (entry.net() != 0 || entry.is_split()) result.told.push_back(entry);
    }
    std::sort(result.told.begin(), result.told.end(),
              [](const UnbalancedEntry& a, const UnbalancedEntry& b) { return a.line < b.line; });
    return result;
}

std::size_t DraftEntries::add(std::size_t journal, Exercice period, const FecRow& row) {
    const std::size_t number = entry_of(journal, period, row);
    Entry& entry = entries_[number];
    ++entry.lines;
    entry.debit += row.debit.value_or(0);
    entry.credit += row.credit.value_or(0);
    return number;
}

std::size_t DraftEntries::open_entry(std::size_t journal, Exercice period, const FecRow& row) {
    entries_.push_back({journal, period, std::string(row.number), row.line, 0, 0, 0});
    return entries_.size() - 1;
}

std::size_t DraftEntries::entry_of(std::size_t journal, Exercice period, const FecRow& row) {
    const bool useless = journal < unnumbered_.size() && unnumbered_[journal];
    if (useless || no_number(row.number)) return entry_of_run(journal, period, row);
    key_ = std::to_string(journal) + (period == Exercice::suivant ? "+" : ".");
    key_.append(row.number);
    const auto [at, fresh] = numbered_.try_emplace(key_, entries_.size());
    if (fresh) (void)open_entry(journal, period, row);
    return at->second;
}

// A line of zero behind a run that is settled belongs to it, if the date is the same.
std::size_t DraftEntries::entry_of_run(std::size_t journal, Exercice period, const FecRow& row) {
    const std::size_t place = journal * 3 + static_cast<std::size_t>(period);
    if (place >= runs_.size()) runs_.resize(place + 1);
    Run& run = runs_[place];
    const bool goes_on = run.begun && run.date == row.date && (run.net != 0 || row.net() == 0);
    if (!goes_on) run = {open_entry(journal, period, row), row.date, 0, true};
    run.net += row.net();
    return run.entry;
}

namespace {

constexpr std::string_view ORDERS = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::uint64_t USUAL_LINES = 32'767; // up to here an edition can follow line numbers
constexpr std::uint64_t MOST_LINES = 99'999;  // up to here a line number has five digits

using Entries = std::vector<DraftEntries::Entry>;
using Bins = std::vector<std::vector<std::size_t>>; // entries, by sequence

// Neighbours together, about as many entries in each bin.
Bins spread(const std::vector<std::size_t>& chosen, std::size_t bins) {
    Bins result(bins);
    for (std::size_t i = 0; i < chosen.size(); ++i)
        result[i * bins / chosen.size()].push_back(chosen[i]);
    return result;
}

bool overfull(const Bins& bins, const Entries& entries) {
    return std::any_of(bins.begin(), bins.end(), [&](const auto& bin) {
        std::uint64_t lines = 0;
        for (const std::size_t entry : bin)
            lines += entries[entry].lines;
        return lines > USUAL_LINES;
    });
}

// Neighbours together, each bin as full as it can be.
Bins pack(const std::vector<std::size_t>& chosen, const Entries& entries, std::uint64_t room) {
    Bins result;
    std::uint64_t lines = room;
    for (const std::size_t entry : chosen) {
        if (result.empty() || lines + entries[entry].lines > room) {
            result.emplace_back();
            lines = 0;
        }
        result.back().push_back(entry);
        lines += entries[entry].lines;
    }
    return result;
}

std::string name_of(const DraftEntries::Entry& entry, const std::string& journal) {
    if (no_number(entry.number)) return "l'écriture sans numéro du journal " + journal;
    return "l'écriture " + sanitize(entry.number) + " du journal " + journal;
}

// The bins of one journal and year, balanced ones first.
Bins bins_of(const std::vector<std::size_t>& balanced, const std::vector<std::size_t>& others,
             const Entries& entries, std::size_t room) {
    if (room > 0 && (others.empty() || balanced.empty() || room > 1)) {
        const std::size_t kept = others.empty() ? 0 : room - std::min(room - 1, balanced.size());
        const std::size_t for_others =
            balanced.empty() ? std::min(room, others.size()) : std::min(kept, others.size());
        const std::size_t for_balanced = std::min(balanced.size(), room - for_others);
        Bins bins = spread(balanced, for_balanced);
        Bins rest = spread(others, for_others);
        bins.insert(bins.end(), rest.begin(), rest.end());
        if (!overfull(bins, entries)) return bins;
    }
    for (const std::uint64_t lines : {USUAL_LINES, MOST_LINES}) {
        Bins bins = pack(balanced, entries, lines);
        const Bins rest = pack(others, entries, lines);
        bins.insert(bins.end(), rest.begin(), rest.end());
        if (bins.size() <= room) return bins;
    }
    // Better one sequence out of balance than entries without a place.
    std::vector<std::size_t> all = balanced;
    all.insert(all.end(), others.begin(), others.end());
    return pack(all, entries, MOST_LINES);
}

} // namespace

DraftPlan plan_drafts(const Entries& entries, const std::string& path, const std::string& entity,
                      const std::vector<std::string>& journal_codes,
                      const std::unordered_map<std::string, std::string>& taken) {
    std::map<std::string, std::pair<std::vector<std::size_t>, std::vector<std::size_t>>> years;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto& entry = entries[i];
        auto& year =
            years[entity + journal_codes[entry.journal] + std::string(exercice::code_of(entry.period))];
        (entry.debit == entry.credit ? year.first : year.second).push_back(i);
    }
    DraftPlan plan;
    plan.sequence_of_entry.resize(entries.size());
    for (const auto& [prefix, chosen] : years) {
        const auto used = taken.find(prefix);
        std::string orders;
        for (const char order : ORDERS)
            if (used == taken.end() || used->second.find(order) == std::string::npos) orders.push_back(order);
        const Bins bins = bins_of(chosen.first, chosen.second, entries, orders.size());
        for (std::size_t i = 0; i < bins.size(); ++i) {
            DraftSequence sequence;
            for (const std::size_t number : bins[i]) {
                const auto& entry = entries[number];
                plan.sequence_of_entry[number] = plan.sequences.size();
                sequence.lines += entry.lines;
                sequence.debit += entry.debit;
                sequence.credit += entry.credit;
                if (i >= orders.size() || entry.lines > MOST_LINES)
                    throw BadInput(path, entry.first_line,
                                   name_of(entry, journal_codes[entry.journal]) +
                                       " ne trouve pas de place : un journal tient 36 séquences de "
                                       "brouillard par exercice, de 99 999 lignes au plus");
            }
            sequence.key = prefix + orders[i];
            plan.sequences.push_back(std::move(sequence));
        }
    }
    return plan;
}

} // namespace corvalissement
