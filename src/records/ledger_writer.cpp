#include "records/ledger_writer.h"

#include "data/balance_record.h"
#include "data/dyn_array.h"
#include "data/keys.h"
#include "platform/failures.h"

#include <algorithm>
#include <charconv>

namespace corvalissement {

namespace {

constexpr std::size_t index_of(Exercice period) noexcept { return static_cast<std::size_t>(period); }

// An attribute that should hold an amount; an empty or odd one counts as 0.
std::int64_t amount_of(std::string_view attribute) {
    std::int64_t value = 0;
    return parse_whole(attribute, value) ? value : 0;
}

void append_optional(std::string& record, const std::optional<std::int64_t>& value) {
    record.push_back(ATTRIBUTE_MARK);
    if (value) append_whole(record, *value);
}

void append_attribute(std::string& record, std::string_view value) {
    record.push_back(ATTRIBUTE_MARK);
    record.append(value);
}

// Takes the first value off a list of values.
std::string_view take_value(std::string_view& list, bool& more) {
    const std::size_t end = list.find(VALUE_MARK);
    const std::string_view value = list.substr(0, end);
    more = end != std::string_view::npos;
    list.remove_prefix(more ? end + 1 : list.size());
    return value;
}

} // namespace

void append_whole(std::string& text, std::int64_t value) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    text.append(digits, end);
}

void append_padded(std::string& text, std::uint64_t value, int width) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    for (auto length = end - digits; length < width; ++length)
        text.push_back('0');
    text.append(digits, end);
}

std::int64_t add_amounts(std::int64_t a, std::int64_t b) {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum))
        throw StepFailure(ERR_OVERFLOW, "un total de montants est trop grand");
    return sum;
}

void compose_entry(std::string& record, std::string_view account_key, const EntryText& entry) {
    record.clear();
    record.push_back(ATTRIBUTE_MARK);
    append_whole(record, entry.date);
    append_attribute(record, account_key);
    append_attribute(record, entry.label);
    append_attribute(record, entry.piece);
    append_optional(record, entry.debit);
    append_optional(record, entry.credit);
    append_optional(record, entry.due_date);
    append_optional(record, entry.quantity);
    append_attribute(record, "");
    append_attribute(record, entry.lettering);
}

LedgerWriter::LedgerWriter(Store& store, std::string entity)
    : store_(store), entity_(std::move(entity)), entry_file_(store.file(files::DETAILECRITUREGENE)),
      archive_file_(store.file(files::DETAILECRITUREGENEARCHIVE)) {}

void LedgerWriter::find_standing(FileId file, std::initializer_list<Exercice> periods) {
    store_.scan_keys(file, entity_, [&](std::string_view key) {
        if (!key.starts_with(entity_)) return false;
        note_standing(key, periods);
        return true;
    });
}

// A key that was not made here may name neither year nor block; its line number is then taken in each year.
void LedgerWriter::note_standing(std::string_view key, std::initializer_list<Exercice> periods) {
    const EntryKey entry = EntryKey::of(key);
    std::int64_t line = 0;
    if (!parse_whole(entry.line, line) || line < 1 || line > LINES_OF_BLOCK) return;
    const std::string_view year = chars(entry.rest, 1, 2);
    std::int64_t block = 1;
    if (!parse_whole(chars_from(entry.rest, 3), block) || block < 1 || block > LAST_BLOCK) block = 1;
    const auto found = standing_.find(entry.journal);
    auto& last = found != standing_.end() ? found->second : standing_[std::string(entry.journal)];
    const Place place{static_cast<std::uint16_t>(block), static_cast<std::uint16_t>(line)};
    for (const Exercice period : periods)
        if (year.empty() || year == exercice::code_of(period))
            last[index_of(period)] = std::max(last[index_of(period)], place);
}

std::size_t LedgerWriter::journal(std::string_view code) {
    if (journals_.empty()) {
        find_standing(entry_file_, {Exercice::courant, Exercice::suivant});
        find_standing(archive_file_, {Exercice::precedent});
    }
    const auto [at, fresh] = journal_numbers_.try_emplace(std::string(code), journals_.size());
    if (fresh) {
        if (journals_.size() > 0xFFFF) throw StepFailure(ERR_OTHER, "trop de journaux");
        const auto standing = standing_.find(code);
        journals_.push_back({std::string(code), {}});
        if (standing != standing_.end()) journals_.back().last = standing->second;
    }
    return at->second;
}

std::size_t LedgerWriter::account(std::string_view number) {
    const auto [at, fresh] = account_numbers_.try_emplace(std::string(number), accounts_.size());
    if (fresh) accounts_.emplace_back(number);
    return at->second;
}

void LedgerWriter::next_place(Place& place, const std::string& code) const {
    if (place.line < LINES_OF_BLOCK) {
        ++place.line;
        return;
    }
    if (place.block == LAST_BLOCK)
        throw StepFailure(ERR_OVERFLOW, "le journal " + code + " est plein : il ne peut pas tenir plus de " +
                                            std::to_string(LAST_BLOCK * LINES_OF_BLOCK) + " lignes");
    ++place.block;
    place.line = 1;
}

void LedgerWriter::compose_key(std::string& key, std::uint16_t journal, Exercice period, Place place) const {
    std::string line;
    std::string rest(exercice::code_of(period));
    append_padded(line, place.line, 5);
    append_padded(rest, place.block, 3);
    EntryKey{entity_, journals_[journal].code, "N", line, rest}.append_to(key);
}

void LedgerWriter::add(Exercice period, std::size_t journal, std::size_t account, const EntryText& entry) {
    Journal& book = journals_[journal];
    Place& place = book.last[index_of(period)];
    next_place(place, book.code);
    const auto journal_number = static_cast<std::uint16_t>(journal);
    key_.clear();
    compose_key(key_, journal_number, period, place);
    account_key_.assign(entity_).append(accounts_[account]);
    compose_entry(record_, account_key_, entry);
    store_.write(period == Exercice::precedent ? archive_file_ : entry_file_, key_, record_);

    auto& balances = balances_[index_of(period)];
    if (balances.size() <= account) balances.resize(accounts_.size());
    Balance& balance = balances[account];
    balance.debit = add_amounts(balance.debit, entry.debit.value_or(0));
    balance.credit = add_amounts(balance.credit, entry.credit.value_or(0));
    balance.entries.push_back({static_cast<std::int32_t>(entry.date), journal_number, place});
}

bool LedgerWriter::has_balance(Exercice period, const std::string& start) {
    const FileId file =
        store_.file(period == Exercice::precedent ? files::BALANCEGENEARCHIVE : files::BALANCEGENE);
    bool found = false;
    store_.scan_keys(file, start, [&](std::string_view key) {
        found = key.starts_with(start);
        return false;
    });
    return found;
}

bool LedgerWriter::has_entries(Exercice period, std::size_t account) {
    const auto& balances = balances_[index_of(period)];
    return (account < balances.size() && !balances[account].entries.empty()) ||
           has_balance(period, std::string(exercice::code_of(period)) + account_key(account));
}

bool LedgerWriter::has_entries(Exercice period) {
    const auto& balances = balances_[index_of(period)];
    const auto used = [](const Balance& balance) { return !balance.entries.empty(); };
    return std::any_of(balances.begin(), balances.end(), used) ||
           has_balance(period, std::string(exercice::code_of(period)) + entity_);
}

void LedgerWriter::write_balances() {
    std::vector<std::size_t> order(accounts_.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(),
              [this](std::size_t a, std::size_t b) { return accounts_[a] < accounts_[b]; });
    for (const Exercice period : {Exercice::precedent, Exercice::courant, Exercice::suivant}) {
        auto& balances = balances_[index_of(period)];
        for (const std::size_t account : order) {
            if (account >= balances.size() || balances[account].entries.empty()) continue;
            write_balance(period, accounts_[account], balances[account]);
            balances[account] = {};
        }
    }
}

void LedgerWriter::write_balance(Exercice period, const std::string& number, Balance& balance) {
    const FileId file =
        store_.file(period == Exercice::precedent ? files::BALANCEGENEARCHIVE : files::BALANCEGENE);
    key_ = BalanceKey{exercice::code_of(period), entity_, number}.text();
    DynArray record;
    const bool standing = store_.read(file, key_, record.buffer());
    record.changed();
    if (!standing) record.set_text("");

    const auto by_date = [](const EntryRef& a, const EntryRef& b) { return a.date < b.date; };
    if (!std::is_sorted(balance.entries.begin(), balance.entries.end(), by_date))
        std::stable_sort(balance.entries.begin(), balance.entries.end(), by_date);
    merge_lists(record(balance::DATES), record(balance::ENTRIES), period, balance.entries);

    const std::int64_t net = add_amounts(balance.debit, -balance.credit);
    const BalanceTotals totals{add_amounts(amount_of(record(balance::TOTAL_DEBIT)), balance.debit),
                               add_amounts(amount_of(record(balance::TOTAL_CREDIT)), balance.credit),
                               add_amounts(amount_of(record(balance::SOLDE)), net)};
    set_balance(record, totals, dates_, keys_);
    store_.write(file, key_, record.text());
}

// Into `dates_` and `keys_`: the old lists and the new entries in one order of date, old ones first.
void LedgerWriter::merge_lists(std::string_view old_dates, std::string_view old_entries, Exercice period,
                               const std::vector<EntryRef>& entries) {
    dates_.clear();
    keys_.clear();
    bool first = true;
    const auto open_value = [&] {
        if (!first) {
            dates_.push_back(VALUE_MARK);
            keys_.push_back(VALUE_MARK);
        }
        first = false;
    };
    bool more = !old_entries.empty();
    bool more_dates = true;
    auto next = entries.begin();
    while (more || next != entries.end()) {
        if (more) {
            const std::size_t length = old_dates.find(VALUE_MARK);
            if (next == entries.end() || amount_of(old_dates.substr(0, length)) <= next->date) {
                open_value();
                dates_.append(take_value(old_dates, more_dates));
                keys_.append(take_value(old_entries, more));
                continue;
            }
        }
        open_value();
        append_whole(dates_, next->date);
        compose_key(keys_, next->journal, period, next->place);
        ++next;
    }
}

} // namespace corvalissement
