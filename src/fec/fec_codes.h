// From the codes of a FEC, which have any length, to those of a base, which have a fixed one: journals of 2
// characters, accounts of 10, lettering codes of 2.
#pragma once

#include "store/store.h"

#include <bitset>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvalissement {

// An account as a FEC names it: by number, or, for a third party that gets an account of its own, by its
// auxiliary code below "40" or "41".
struct AccountName {
    std::string number;
    std::string third_party; // "40" or "41" when `number` is an auxiliary code

    // One text for each name; a number cannot contain the tab.
    [[nodiscard]] std::string identity() const;
};

// What was decided about one entity's codes, kept in its base so that the next file gets the same answers.
//
// Codes are letters and digits of ASCII, "-", "." and "_": what can be typed into an account field and stand
// in a query. A number of up to 10 of them is completed with "0" on the right. A longer one, or one with
// other characters, keeps its first five and gets five more worked out from the whole, which does not depend
// on the other accounts of the file. Should two names still want one number, the number goes to the one that
// is 10 characters long already, then to the longer, and the other is treated like one that is too long.
class CodeBook {
public:
    CodeBook(Store& store, std::string entity);

    // The codes for all names of one file, in the order given. Two names never get one code.
    [[nodiscard]] std::vector<std::string> accounts(const std::vector<AccountName>& names);
    [[nodiscard]] std::vector<std::string> journals(const std::vector<std::string>& names);

    // Writes the decisions, when there are new ones.
    void save();

private:
    using Decisions = std::map<std::string, std::string, std::less<>>;

    void load_pairs(std::string_view names, std::string_view codes, Decisions& into);
    [[nodiscard]] std::string free_account(const AccountName& name, const std::set<std::string>& taken);
    [[nodiscard]] std::string free_journal(const std::string& name, const std::set<std::string>& taken);
    [[nodiscard]] bool stands_in(std::string_view file, const std::string& code);

    Store& store_;
    std::string entity_;
    Decisions accounts_;
    Decisions journals_;
    std::map<std::string, std::string, std::less<>> owners_; // of account numbers that no completion gives
    bool changed_ = false;
};

// The number that a name gets when nothing stands in its way; "" when it has to be shortened.
[[nodiscard]] std::string plain_account(const AccountName& name);

// Lettering codes of one file. A base takes codes of 1 or 2 characters, and one whose second character is
// "1" counts as not lettered; every other code of the file is replaced by one of two letters or digits.
// Within an account equal codes stay equal and different ones different, as far as 3,782 pairs go.
class LetteringBook {
public:
    // Every code of the file is noted first, so that no replacement hits a code that is kept.
    void note(std::size_t account, std::string_view code);

    // The code to store. The view is good until the next call.
    [[nodiscard]] std::string_view stored(std::size_t account, std::string_view code);

    [[nodiscard]] std::uint64_t replaced() const noexcept { return replaced_; }
    [[nodiscard]] const std::string& example() const noexcept { return example_; }

private:
    static constexpr std::size_t FIRSTS = 62;
    static constexpr std::size_t SECONDS = 61;
    struct Account {
        std::bitset<FIRSTS * SECONDS> used;
        std::size_t used_capitals = 0;
        std::size_t next = 0;
        std::unordered_map<std::uint64_t, std::uint16_t> given;
    };

    [[nodiscard]] Account& account(std::size_t number);
    [[nodiscard]] static std::uint16_t choose(Account& account, std::uint64_t hash);
    static void use(Account& account, std::size_t pair);

    std::vector<std::unique_ptr<Account>> accounts_;
    std::uint64_t replaced_ = 0;
    std::string example_;
    std::string code_;
};

} // namespace corvalissement
