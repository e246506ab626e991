#include "fec/entity_records.h"

#include "data/dyn_array.h"
#include "data/keys.h"

namespace corvalissement {

namespace {

constexpr std::size_t FINGERPRINT = 32;

// Keys of a file that begin alike, at most so many of them.
std::vector<std::string> keys_from(Store& store, std::string_view file, const std::string& start,
                                   std::size_t most) {
    std::vector<std::string> keys;
    store.scan_keys(store.file(file), start, [&](std::string_view key) {
        if (!key.starts_with(start)) return false;
        keys.emplace_back(key);
        return keys.size() < most;
    });
    return keys;
}

std::uint64_t count_keys(Store& store, std::string_view file, std::string_view start) {
    std::uint64_t count = 0;
    store.scan_keys(store.file(file), start, [&](std::string_view key) {
        if (!key.starts_with(start)) return false;
        ++count;
        return true;
    });
    return count;
}

bool has_keys(Store& store, std::string_view file, std::string_view start) {
    bool found = false;
    store.scan_keys(store.file(file), start, [&](std::string_view key) {
        found = key.starts_with(start);
        return false;
    });
    return found;
}

bool bears_code(Store& store, const std::string& code) {
    for (const std::string_view file :
         {files::ASSOCIATION, files::PARAMENTITECOMPTA, files::PLANCOMPTABLE, files::JOURNAL,
          files::DETAILECRITUREGENE, files::DETAILECRITUREGENEARCHIVE, files::BROUILLARDTETE})
        if (has_keys(store, file, code)) return true;
    for (const std::string_view file : {files::BALANCEGENE, files::BALANCEGENEARCHIVE})
        for (const std::string_view year : {exercice::CODE_N0, exercice::CODE_N1})
            if (has_keys(store, file, std::string(year) + code)) return true;
    return false;
}

LineSums totals_of(Store& store, std::string_view file, const std::string& start) {
    LineSums sums;
    DynArray balance;
    store.scan(store.file(file), start, [&](std::string_view key, std::string_view record) {
        if (!key.starts_with(start)) return false;
        balance.set_text(std::string(record));
        std::int64_t debit = 0;
        std::int64_t credit = 0;
        if (parse_whole(balance(balance::TOTAL_DEBIT), debit)) sums.debit = add_amounts(sums.debit, debit);
        if (parse_whole(balance(balance::TOTAL_CREDIT), credit))
            sums.credit = add_amounts(sums.credit, credit);
        sums.lines += balance.DCount(balance::ENTRIES);
        return true;
    });
    return sums;
}

std::string company_key(std::string_view entity) { return std::string("FECENTITE").append(entity); }

// A visit must not write, and a file may hold millions: they go by the thousand.
void erase_keys(Store& store, std::string_view file, const std::string& start) {
    constexpr std::size_t AT_ONCE = 10'000;
    while (true) {
        const auto keys = keys_from(store, file, start, AT_ONCE);
        for (const std::string& key : keys)
            static_cast<void>(store.erase(store.file(file), key));
        if (keys.size() < AT_ONCE) return;
    }
}

} // namespace

std::string fec_key(std::string_view entity, std::string_view fingerprint) {
    return std::string("FEC").append(entity).append(fingerprint);
}

// Other records of the importer begin alike when an entity's code happens to, but are shorter.
std::vector<std::string> fec_keys(Store& store, std::string_view entity) {
    const std::string start = fec_key(entity, "");
    auto keys = keys_from(store, files::TABLES, start, static_cast<std::size_t>(-1));
    std::erase_if(keys, [&](const std::string& key) { return key.size() != start.size() + FINGERPRINT; });
    return keys;
}

std::optional<FiscalYears> years_of_entity(Store& store, std::string_view entity) {
    DynArray record;
    if (!store.read(store.file(files::PARAMENTITECOMPTA), entity, record.buffer())) return std::nullopt;
    record.changed();
    FiscalYears standing;
    if (!parse_whole(record(parament::FIRST_DAY_N), standing.first_day) ||
        !parse_whole(record(parament::LAST_DAY_N), standing.last_day))
        return std::nullopt;
    std::int64_t end_of_next = 0;
    if (parse_whole(record(parament::LAST_DAY_N1), end_of_next)) standing.known_end_of_next = end_of_next;
    return standing;
}

std::vector<std::string> companies_of(Store& store, std::string_view entity) {
    DynArray record;
    std::vector<std::string> companies;
    if (!store.read(store.file(files::TABLES), company_key(entity), record.buffer())) return companies;
    record.changed();
    for (std::size_t v = 1; v <= record.DCount(1); ++v)
        companies.emplace_back(record(1, v));
    return companies;
}

void note_company(Store& store, std::string_view entity, const std::string& company) {
    std::string list;
    for (const std::string& known : companies_of(store, entity)) {
        if (known == company) return;
        DynArray::append_value(list, known, list.empty());
    }
    DynArray::append_value(list, company, list.empty());
    DynArray record;
    record.set(1, list);
    store.write(store.file(files::TABLES), company_key(entity), record.text());
}

std::optional<EntityFacts> entity_facts(Store& store, std::string_view entity) {
    const std::string code(entity);
    if (!bears_code(store, code)) return std::nullopt;
    EntityFacts facts;
    DynArray record;
    if (store.read(store.file(files::ASSOCIATION), code, record.buffer())) {
        record.changed();
        facts.name = record(association::NAME);
    }
    facts.years = years_of_entity(store, code);
    const std::string current = std::string(exercice::CODE_N0) + code;
    const std::string next = std::string(exercice::CODE_N1) + code;
    facts.totals = {totals_of(store, files::BALANCEGENEARCHIVE, current),
                    totals_of(store, files::BALANCEGENE, current),
                    totals_of(store, files::BALANCEGENE, next)};
    facts.draft_lines = count_draft_lines(store, code);
    facts.files = fec_keys(store, code).size();
    facts.companies = companies_of(store, code);
    return facts;
}

std::string first_free_entity(Store& store) {
    constexpr std::string_view SIGNS = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (const std::size_t base : {std::size_t{10}, SIGNS.size()})
        for (std::size_t number = 1; number < base * base * base; ++number) {
            const std::string code{SIGNS[number / base / base], SIGNS[number / base % base],
                                   SIGNS[number % base]};
            if (!bears_code(store, code)) return code;
        }
    return "";
}

std::uint64_t count_entries(Store& store, std::string_view entity) {
    return count_keys(store, files::DETAILECRITUREGENE, entity) +
           count_keys(store, files::DETAILECRITUREGENEARCHIVE, entity);
}

std::uint64_t count_draft_lines(Store& store, std::string_view entity) {
    return count_keys(store, files::BROUILLARDDETAIL, entity);
}

void erase_entries(Store& store, std::string_view entity) {
    const std::string code(entity);
    for (const std::string_view file : {files::DETAILECRITUREGENE, files::DETAILECRITUREGENEARCHIVE,
                                        files::BROUILLARDTETE, files::BROUILLARDDETAIL})
        erase_keys(store, file, code);
    for (const std::string_view file : {files::BALANCEGENE, files::BALANCEGENEARCHIVE})
        for (const std::string_view year : {exercice::CODE_N0, exercice::CODE_N1})
            erase_keys(store, file, std::string(year) + code);
    for (const std::string& key : fec_keys(store, entity))
        static_cast<void>(store.erase(store.file(files::TABLES), key));
    const FileId parameters = store.file(files::PARAMENTITECOMPTA);
    DynArray record;
    if (!store.read(parameters, code, record.buffer())) return;
    record.changed();
    for (std::size_t a = parament::FIRST_DAY_N; a <= parament::LAST_DAY_N1; ++a)
        record.set(a, "");
    store.write(parameters, code, record.text());
}

} // namespace corvalissement
