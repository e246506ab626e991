#include "fec/fec_codes.h"

#include "data/dyn_array.h"
#include "data/keys.h"
#include "platform/failures.h"
#include "records/bad_input.h"

#include <algorithm>

namespace corvalissement {

namespace {

constexpr std::size_t ACCOUNT_LENGTH = 10;
constexpr std::string_view DIGITS_AND_CAPITALS = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

// The same on every machine and for ever: bases remember what comes of it.
std::uint64_t hash_of(std::string_view text, std::uint64_t seed) {
    std::uint64_t hash = 0xCBF29CE484222325U ^ (seed * 0x9E3779B97F4A7C15U);
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    hash = (hash ^ (hash >> 32U)) * 0xD6E8FEB86659FD93U;
    return hash ^ (hash >> 32U);
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_letter_or_digit(char c) { return is_digit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

bool is_plain(char c) { return is_letter_or_digit(c) || c == '-' || c == '.' || c == '_'; }

bool is_plain(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return is_plain(c); });
}

std::string plain_part(std::string_view text) {
    std::string part;
    std::copy_if(text.begin(), text.end(), std::back_inserter(part), [](char c) { return is_plain(c); });
    return part;
}

// What stands before a third party's code: nothing when the code begins like its account, as in "401DURAND".
// Any other code that begins with a 4 is kept from making an account of another kind, as 40 and "411DURAND"
// or "4X" would make one of suppliers of fixed assets.
std::string_view third_party_start(const AccountName& name) {
    if (name.third_party.empty() || name.number.starts_with(name.third_party)) return "";
    if (!name.number.starts_with('4')) return name.third_party;
    return name.third_party == "40" ? "400" : "410";
}

// Five characters that stay, five worked out from the whole name and the number of the attempt.
std::string shortened(const AccountName& name, std::uint64_t attempt) {
    std::string number = std::string(third_party_start(name)) + plain_part(name.number);
    number.resize(5, '0');
    std::uint64_t hash = hash_of(name.identity(), attempt);
    for (std::size_t i = 0; i < 5; ++i) {
        number.push_back(DIGITS_AND_CAPITALS[hash % 36]);
        hash /= 36;
    }
    return number;
}

// The order in which names choose their numbers.
int rank(const AccountName& name) {
    if (plain_account(name).empty()) return 30;
    if (!name.third_party.empty()) return 20;
    return static_cast<int>(ACCOUNT_LENGTH - name.number.size());
}

std::string third_party_account(const AccountName& name) {
    // Codes that are numbers keep their order and stay apart from one another: 1, 10 and 100.
    const bool number_padded = !name.number.starts_with(name.third_party) && name.number.size() < 8 &&
                               std::all_of(name.number.begin(), name.number.end(), is_digit);
    std::string number = number_padded ? name.third_party + std::string(8 - name.number.size(), '0')
                                       : std::string(third_party_start(name));
    number += name.number;
    if (number.size() > ACCOUNT_LENGTH) return "";
    number.resize(ACCOUNT_LENGTH, '0');
    return number;
}

} // namespace

std::string AccountName::identity() const {
    return third_party.empty() ? number : "\t" + third_party + number;
}

std::string plain_account(const AccountName& name) {
    if (!is_plain(name.number) || name.number.size() > ACCOUNT_LENGTH) return "";
    if (!name.third_party.empty()) return third_party_account(name);
    std::string number = name.number;
    number.resize(ACCOUNT_LENGTH, '0');
    return number;
}

// One record an entity: the names and numbers of accounts, then those of journals, value by value.
CodeBook::CodeBook(Store& store, std::string entity) : store_(store), entity_(std::move(entity)) {
    DynArray record;
    if (!store_.read(store_.file(files::TABLES), "FECCODES" + entity_, record.buffer())) return;
    record.changed();
    load_pairs(record(1), record(2), accounts_);
    load_pairs(record(3), record(4), journals_);
    for (const auto& [identity, number] : accounts_) {
        std::string completed = identity;
        completed.resize(ACCOUNT_LENGTH, '0');
        if (completed != number || identity.size() > ACCOUNT_LENGTH) owners_[number] = identity;
    }
}

void CodeBook::load_pairs(std::string_view names, std::string_view codes, Decisions& into) {
    while (!names.empty() && !codes.empty()) {
        const std::size_t name_end = std::min(names.find(VALUE_MARK), names.size());
        const std::size_t code_end = std::min(codes.find(VALUE_MARK), codes.size());
        into.emplace(names.substr(0, name_end), codes.substr(0, code_end));
        names.remove_prefix(std::min(name_end + 1, names.size()));
        codes.remove_prefix(std::min(code_end + 1, codes.size()));
    }
}

void CodeBook::save() {
    if (!changed_) return;
    std::string attributes[4];
    const auto append = [](const Decisions& decisions, std::string& names, std::string& codes) {
        for (const auto& [name, code] : decisions) {
            DynArray::append_value(names, name, names.empty());
            DynArray::append_value(codes, code, codes.empty());
        }
    };
    append(accounts_, attributes[0], attributes[1]);
    append(journals_, attributes[2], attributes[3]);
    DynArray record;
    for (std::size_t i = 0; i < 4; ++i)
        record.set(i + 1, attributes[i]);
    store_.write(store_.file(files::TABLES), "FECCODES" + entity_, record.text());
    changed_ = false;
}

bool CodeBook::stands_in(std::string_view file, const std::string& code) {
    std::string record;
    return store_.read(store_.file(file), entity_ + code, record);
}

std::vector<std::string> CodeBook::accounts(const std::vector<AccountName>& names) {
    std::vector<std::string> numbers(names.size());
    std::set<std::string> taken;
    std::vector<std::pair<std::pair<int, std::string>, std::size_t>> open;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto known = accounts_.find(names[i].identity());
        if (known == accounts_.end()) {
            open.push_back({{rank(names[i]), names[i].identity()}, i});
        } else {
            numbers[i] = known->second;
            taken.insert(known->second);
        }
    }
    std::sort(open.begin(), open.end());
    for (const auto& [order, i] : open) {
        const AccountName& name = names[i];
        numbers[i] = free_account(name, taken);
        taken.insert(numbers[i]);
        if (numbers[i] == name.number) continue;
        accounts_[name.identity()] = numbers[i];
        if (!name.third_party.empty() || numbers[i] != plain_account(name))
            owners_[numbers[i]] = name.identity();
        changed_ = true;
    }
    return numbers;
}

// A number that completion gives may stand in the base already: it is then that of the same account, from a
// file that completed it itself. Any other number has to be new to the base.
std::string CodeBook::free_account(const AccountName& name, const std::set<std::string>& taken) {
    const std::string plain = plain_account(name);
    const bool own = !name.third_party.empty();
    if (!plain.empty() && !taken.contains(plain) && !owners_.contains(plain) &&
        !(own && stands_in(files::PLANCOMPTABLE, plain)))
        return plain;
    for (std::uint64_t attempt = 0;; ++attempt) {
        std::string number = shortened(name, attempt);
        if (!taken.contains(number) && !owners_.contains(number) && !stands_in(files::PLANCOMPTABLE, number))
            return number;
    }
}

std::vector<std::string> CodeBook::journals(const std::vector<std::string>& names) {
    std::vector<std::string> codes(names.size());
    std::set<std::string> taken;
    for (const auto& [name, code] : journals_)
        taken.insert(code);
    std::vector<std::pair<std::pair<std::size_t, std::string>, std::size_t>> open;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto known = journals_.find(names[i]);
        if (known == journals_.end()) {
            const bool fits = is_plain(names[i]) && names[i].size() <= 2;
            open.push_back({{fits ? 2 - names[i].size() : 2, names[i]}, i});
        } else {
            codes[i] = known->second;
        }
    }
    std::sort(open.begin(), open.end());
    for (const auto& [order, i] : open) {
        codes[i] = free_journal(names[i], taken);
        taken.insert(codes[i]);
        if (codes[i] == names[i]) continue;
        journals_[names[i]] = codes[i];
        changed_ = true;
    }
    return codes;
}

// The first two letters or digits, then the first one with any other behind it, then any two.
std::string CodeBook::free_journal(const std::string& name, const std::set<std::string>& taken) {
    if (name.size() == 2 && is_plain(name) && !taken.contains(name)) return name;
    std::string code;
    std::copy_if(name.begin(), name.end(), std::back_inserter(code),
                 [](char c) { return is_letter_or_digit(c); });
    code.resize(2, '0');
    const auto is_free = [&](const std::string& candidate) {
        return !taken.contains(candidate) && !stands_in(files::JOURNAL, candidate);
    };
    if (is_free(code)) return code;
    for (const char second : DIGITS_AND_CAPITALS)
        if (std::string candidate{code.front(), second}; is_free(candidate)) return candidate;
    for (const char first : DIGITS_AND_CAPITALS)
        for (const char second : DIGITS_AND_CAPITALS)
            if (std::string candidate{first, second}; is_free(candidate)) return candidate;
    throw BadInput("", 0, "plus de code libre pour le journal " + name + " : une entité en a 1296");
}

namespace {

// Capitals first, so that the usual replacement looks like a lettering code; never "1" in second place.
constexpr std::string_view FIRST = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::string_view SECOND = "ABCDEFGHIJKLMNOPQRSTUVWXYZ023456789abcdefghijklmnopqrstuvwxyz";
constexpr std::size_t CAPITALS_FIRST = 26;
constexpr std::size_t CAPITALS_SECOND = 35;
constexpr std::size_t CAPITALS = CAPITALS_FIRST * CAPITALS_SECOND;

bool is_kept(std::string_view code) {
    return char_count(code) == 1 || (char_count(code) == 2 && chars(code, 2, 1) != "1");
}

} // namespace

LetteringBook::Account& LetteringBook::account(std::size_t number) {
    if (number >= accounts_.size()) accounts_.resize(number + 1);
    if (!accounts_[number]) accounts_[number] = std::make_unique<Account>();
    return *accounts_[number];
}

void LetteringBook::use(Account& account, std::size_t pair) {
    if (account.used[pair]) return;
    account.used[pair] = true;
    if (pair / SECONDS < CAPITALS_FIRST && pair % SECONDS < CAPITALS_SECOND) ++account.used_capitals;
}

void LetteringBook::note(std::size_t account_number, std::string_view code) {
    if (code.size() != 2 || !is_kept(code)) return;
    const std::size_t first = FIRST.find(code[0]);
    const std::size_t second = SECOND.find(code[1]);
    if (first == std::string_view::npos || second == std::string_view::npos) return;
    use(account(account_number), first * SECONDS + second);
}

// Starts where the code's own hash says, so that one code gets one replacement in most accounts and files.
std::uint16_t LetteringBook::choose(Account& account, std::uint64_t hash) {
    const auto capital_pair = [](std::uint64_t place) {
        return place % CAPITALS / CAPITALS_SECOND * SECONDS + place % CAPITALS % CAPITALS_SECOND;
    };
    std::size_t pair = capital_pair(hash);
    if (account.used_capitals < CAPITALS) {
        for (std::uint64_t step = 0; account.used[pair]; ++step)
            pair = capital_pair(hash % CAPITALS + step);
    } else {
        while (account.next < account.used.size() && account.used[account.next])
            ++account.next;
        if (account.next < account.used.size()) pair = account.next;
    }
    use(account, pair);
    return static_cast<std::uint16_t>(pair);
}

std::string_view LetteringBook::stored(std::size_t account_number, std::string_view code) {
    if (code.empty() || is_kept(code)) return code;
    Account& letters = account(account_number);
    const std::uint64_t hash = hash_of(code, 0);
    const auto [at, fresh] = letters.given.try_emplace(hash, std::uint16_t{0});
    if (fresh) {
        at->second = choose(letters, hash);
        ++replaced_;
    }
    code_ = {FIRST[at->second / SECONDS], SECOND[at->second % SECONDS]};
    if (example_.empty()) example_ = std::string(code) + " en " + code_;
    return code_;
}

} // namespace corvalissement
