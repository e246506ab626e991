#include "importers/entity_records.h"

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
