#include "support/pass_model.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <optional>
#include <tuple>

namespace corvalissement::testing_support {

namespace {

std::string part(const std::string& text, std::size_t from, std::size_t count) {
    const auto all = characters(text);
    std::string result;
    for (std::size_t i = from; i < std::min(all.size(), from + count); ++i)
        result += all[i];
    return result;
}

std::string left(const std::string& text, std::size_t width) {
    std::string result = part(text, 0, width);
    return result + std::string(width - characters(result).size(), ' ');
}

std::string right(const std::string& text, std::size_t width) {
    const std::size_t size = characters(text).size();
    const std::string result = part(text, size > width ? size - width : 0, width);
    return std::string(width - characters(result).size(), ' ') + result;
}

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::int64_t number(const std::string& text) { return text.empty() ? 0 : std::stoll(text); }

bool fits(std::int64_t hundredths) { return model_amount(hundredths).find('*') == std::string::npos; }

std::int64_t day_of(const std::string& date) {
    using namespace std::chrono;
    const year_month_day civil{year(std::stoi(date.substr(6))),
                               month(static_cast<unsigned>(std::stoi(date.substr(3, 2)))),
                               day(static_cast<unsigned>(std::stoi(date.substr(0, 2))))};
    return (sys_days(civil) - sys_days(year_month_day{year(1899), month(12), day(30)})).count();
}

// One printed line: the run of entries it stands for.
struct Run {
    const TestEntry* first = nullptr;
    std::optional<std::int64_t> debit, credit; // what the columns show
};

class Model {
public:
    Model(const TestLedger& ledger, const Selection& selection)
        : ledger_(ledger), selection_(selection), from_(day_of(selection.start_date)),
          to_(day_of(selection.end_date)) {}

    ModelPaper make() {
        head();
        if (selection_.with_drafts)
            merged();
        else
            direct();
        close_edition();
        return std::move(paper_);
    }

private:
    // ---- choice of accounts and entries

    [[nodiscard]] bool account_chosen(const TestBalance& balance, bool drafts) const {
        const std::string year = balance.key.substr(0, 2);
        const std::string account = balance.key.substr(5, 10);
        const bool n0 = selection_.exercice == "N" || (!drafts && selection_.exercice == "N - 1");
        if (balance.key.substr(2, 3) != selection_.entity) return false;
        if (!selection_.with_earlier && year != (n0 ? "N0" : "N1")) return false;
        if (selection_.only_unsettled && balance.solde == "0") return false;
        const std::string prefix = account.substr(0, 2);
        if (selection_.account_class == AccountClass::fournisseurs && prefix != "40") return false;
        if (selection_.account_class == AccountClass::clients && prefix != "41") return false;
        return selection_.ranges.empty() ||
               std::any_of(selection_.ranges.begin(), selection_.ranges.end(), [&](const auto& range) {
                   return range.first.substr(0, 10) <= account && account <= range.second.substr(0, 10);
               });
    }

    [[nodiscard]] std::vector<const TestBalance*> chosen(const std::vector<TestBalance>& file,
                                                         bool drafts) const {
        std::vector<const TestBalance*> result;
        for (const TestBalance& balance : file)
            if (account_chosen(balance, drafts)) result.push_back(&balance);
        // With earlier cumuls the ledger runs account by account, the drafts year by year (their key order).
        if (selection_.with_earlier && !drafts)
            std::stable_sort(result.begin(), result.end(), [](const TestBalance* a, const TestBalance* b) {
                return std::pair(a->key.substr(5), a->key.substr(0, 2)) <
                       std::pair(b->key.substr(5), b->key.substr(0, 2));
            });
        return result;
    }

    [[nodiscard]] bool entry_chosen(const TestEntry& entry, bool drafts) const {
        if (entry.day > to_ || (!selection_.with_earlier && entry.day < from_)) return false;
        if (drafts || !selection_.only_unlettered || entry.lettering.empty()) return true;
        const bool known_year =
            selection_.exercice == "N" || selection_.exercice == "N - 1" || selection_.exercice == "N + 1";
        return known_year && part(entry.lettering, 1, 1) == "1";
    }

    // ---- paper

    void text(const std::string& what, const std::string& bold = "") {
        std::string shown = what;
        shown.erase(shown.find_last_not_of(' ') + 1);
        if (!shown.empty()) paper_.rows.push_back({page_, 0, shown, bold});
    }

    void head() {
        ++page_;
        counted_ = 0;
        text("Date : 31/12/2024" + std::string(105, ' ') + "Page : " + std::to_string(page_));
        text(std::string(38, ' ') + "GRAND LIVRE GENERAL", "39-57");
        text("Entité juridique : " + ledger_.association[0]);
        std::string street;
        for (std::size_t a = 2; a < 6; ++a)
            if (!ledger_.association[a].empty()) street += ledger_.association[a] + " ";
        const std::string indent(19, ' ');
        if (!street.empty()) text(indent + street);
        if (!ledger_.association[6].empty()) text(indent + ledger_.association[6]);
        text(indent + ledger_.association[7] + " " + ledger_.association[8]);
        text("Exercice         : " + selection_.exercice + std::string(10, ' ') +
             "Date début : " + selection_.start_date + "     Date fin : " + selection_.end_date);
        if (selection_.with_drafts) text("PRISE EN COMPTE DES BROUILLARDS DE SAISIE");
    }

    // The bold columns end with the title's last ink.
    void title_band(const std::string& title) {
        const std::string ink = title.substr(0, title.find_last_not_of(' ') + 1);
        text(ink, "4-" + std::to_string(characters(ink).size()));
        counted_ += 4;
    }

    void account_title(const std::string& account) {
        current_ = account;
        label_ = ledger_.chart.at(account);
        account_page_ = 1;
        title_band("   " + account.substr(3) + "   " + left(label_, 112));
    }

    void continuation_title() {
        title_band("   " + (current_.empty() ? std::string(10, ' ') : current_.substr(3)) + "   " +
                   left(part(label_, 0, 35), 36) + " Page : " + std::to_string(++account_page_));
    }

    void close_block(bool total) {
        closed_with_total_ = total;
        if (total) {
            const std::string quantity =
                account_.quantity != 0 ? model_amount(account_.quantity) : std::string(11, ' ');
            const std::string row = std::string(21, ' ') + "TOTAL COMPTE" + std::string(30, ' ') + quantity +
                                    std::string(12, ' ') + model_amount(account_.debit) +
                                    std::string(6, ' ') + model_amount(account_.credit) + " " +
                                    model_amount(account_.debit - account_.credit);
            text(row, "22-126");
            paper_.totals.quantity += account_.quantity;
            paper_.totals.debit += account_.debit;
            paper_.totals.credit += account_.credit;
            account_ = {};
        }
        paper_.most_counted_lines = std::max(paper_.most_counted_lines, counted_);
        counted_ += 3;
    }

    void close_edition() {
        head();
        const ModelTotals& all = paper_.totals;
        text("      TOTAL DES MOUVEMENTS EDITES" + std::string(30, ' ') +
                 (all.quantity != 0 ? model_amount(all.quantity) : std::string(11, ' ')) +
                 std::string(12, ' ') + model_amount(all.debit, 12) + "    " + model_amount(all.credit, 12) +
                 " " + model_amount(all.debit - all.credit, 12),
             "7-127");
    }

    [[nodiscard]] bool full() const { return counted_ > 30; }

    // ---- the lines of one balance record

    std::string line_text(const Run& run, bool merged_pass) const {
        const TestEntry& e = *run.first;
        const auto amount = [](const std::optional<std::int64_t>& value) {
            return value ? model_amount(*value) : std::string(11, ' ');
        };
        const auto optional_amount = [](const std::string& value) {
            return value.empty() ? std::string(11, ' ') : model_amount(std::stoll(value));
        };
        const std::string date = model_date(e.day);
        return " " + date.substr(0, 6) + date.substr(8) + "  " + e.key.substr(3, 2) +
               (e.key[5] == 'N' ? " " : "P") + " " + e.key.substr(7, 5) + " " + left(trimmed(e.label), 30) +
               " " +
               (merged_pass ? left(right(e.piece, std::min<std::size_t>(10, characters(e.piece).size())), 10)
                            : right(e.piece, 10)) +
               " " + optional_amount(e.quantity) + " " +
               (e.due.empty() ? std::string(10, ' ') : model_date(std::stoll(e.due))) + " " +
               amount(run.debit) + "  " + left(e.lettering, 3) + " " + amount(run.credit) + " " +
               model_amount(account_.debit - account_.credit);
    }

    // Whether `entry` goes on in the line of `run`, whose latest entry is `before`.
    bool continues(const Run& run, const TestEntry& before, const TestEntry& entry) const {
        const bool both_before = !run.first->debit.empty() && !run.first->credit.empty();
        const bool both = !entry.debit.empty() && !entry.credit.empty();
        const bool same_side = side_ == "C" ? !entry.credit.empty() : !entry.debit.empty();
        const auto same = [](const TestEntry& x) { return std::tie(x.piece, x.label, x.day); };
        if (both || both_before || !same_side || same(before) != same(entry)) return false;
        if (before.key.substr(3, 2) != entry.key.substr(3, 2) || line_before_ == 32767) return false;
        if (std::stol(entry.key.substr(7, 5)) != line_before_ + 1) return false;
        const std::int64_t held = (entry.debit.empty() ? run.credit : run.debit).value_or(0);
        return fits(held) && fits(held + number(entry.debit) + number(entry.credit));
    }

    void count_chosen(const TestEntry& entry) {
        ++paper_.entries_chosen;
        paper_.chosen.debit += number(entry.debit);
        paper_.chosen.credit += number(entry.credit);
    }

    void flush(std::string& held) {
        if (!held.empty()) text(held), ++counted_;
        held.clear();
    }

    // The entries of one record; `check` is the page and account check of the pass at work.
    template <class Check>
    void print_record(const TestBalance& balance, bool drafts, bool merged_pass, Check&& check) {
        std::string held;
        Run run;
        const TestEntry* before = nullptr;
        const auto up_to_end =
            static_cast<std::size_t>(std::count_if(balance.entries.begin(), balance.entries.end(),
                                                   [&](const TestEntry& e) { return e.day <= to_; }));
        for (std::size_t i = 0; i < balance.entries.size(); ++i) {
            const TestEntry& entry = balance.entries[i];
            if (!entry_chosen(entry, drafts)) continue;
            count_chosen(entry);
            check(entry);
            const bool merging = entry.account[3] == '6' || entry.account[3] == '7';
            const bool goes_on = merging && !held.empty() && continues(run, *before, entry);
            if (!goes_on) {
                flush(held);
                run = {&entry, {}, {}};
                account_.quantity += number(entry.quantity);
            }
            account_.debit += number(entry.debit);
            account_.credit += number(entry.credit);
            if (!entry.debit.empty()) run.debit = run.debit.value_or(0) + std::stoll(entry.debit);
            if (!entry.credit.empty()) run.credit = run.credit.value_or(0) + std::stoll(entry.credit);
            held = line_text(run, merged_pass);
            closed_ = false;
            if (!merging) {
                flush(held);
                continue;
            }
            before = &entry;
            if (const long line = std::stol(entry.key.substr(7, 5)); line <= 32767) line_before_ = line;
            if (!entry.debit.empty())
                side_ = "D";
            else if (!entry.credit.empty())
                side_ = "C";
            if (i + 1 == up_to_end) flush(held);
        }
        flush(held);
    }

    // ---- the two passes

    void direct() {
        for (const TestBalance* balance :
             chosen(selection_.exercice == "N - 1" ? ledger_.archive : ledger_.ledger, false))
            print_record(*balance, false, false, [&](const TestEntry& entry) {
                if (full()) {
                    close_block(false);
                    head();
                    continuation_title();
                }
                if (entry.account == current_) return;
                const bool another = !current_.empty();
                if (another) close_block(true);
                if ((another && selection_.page_per_account) || full()) head();
                account_title(entry.account);
            });
        close_block(true);
    }

    void merged_record(const TestBalance& balance, bool drafts) {
        print_record(balance, drafts, true, [&](const TestEntry& entry) {
            if (full()) {
                if (!closed_) close_block(false);
                head();
                if (!closed_with_total_) continuation_title();
            }
            if (entry.account == current_) return;
            account_title(entry.account);
            opened_ = true;
        });
    }

    void end_account(bool may_turn) {
        if (opened_) {
            close_block(true);
            closed_ = true;
            current_.clear();
            if (may_turn && selection_.page_per_account) head();
        }
        opened_ = false;
    }

    void merged() {
        const auto ledger = chosen(selection_.exercice == "N - 1" ? ledger_.archive : ledger_.ledger, false);
        const auto drafts = chosen(ledger_.drafts, true);
        std::size_t work = 0;
        for (const auto* list : {&ledger, &drafts})
            for (const TestBalance* balance : *list)
                work += balance->entries.size();
        if (work == 0) return; // the bar refuses a total of 0, which ends this pass
        const auto account = [](const TestBalance* balance) { return balance->key.substr(5); };
        std::size_t d = 0;
        for (std::size_t l = 0; l < ledger.size();) {
            if (d < drafts.size() && account(drafts[d]) < account(ledger[l])) {
                merged_record(*drafts[d++], true);
                end_account(l + 1 != ledger.size());
                continue;
            }
            const bool both = d < drafts.size() && account(drafts[d]) == account(ledger[l]);
            const bool two_years = l + 1 < ledger.size() && account(ledger[l + 1]) == account(ledger[l]);
            merged_record(*ledger[l], false);
            if (two_years) merged_record(*ledger[++l], false);
            if (both) {
                counted_ += opened_ ? 1 : 0; // a blank row
                merged_record(*drafts[d++], true);
            }
            end_account(l + 1 != ledger.size());
            ++l;
        }
        for (; d < drafts.size(); ++d) {
            merged_record(*drafts[d], true);
            end_account(true);
        }
    }

    const TestLedger& ledger_;
    const Selection& selection_;
    std::int64_t from_, to_;
    ModelPaper paper_;
    long page_ = 0;
    int counted_ = 0;
    std::string current_, label_;
    int account_page_ = 1;
    ModelTotals account_;
    bool opened_ = false, closed_ = false, closed_with_total_ = false;
    long line_before_ = 0;
    std::string side_;
};

} // namespace

std::string model_date(std::int64_t number) {
    using namespace std::chrono;
    const year_month_day civil(sys_days(year_month_day{year(1899), month(12), day(30)}) + days(number));
    char text[32];
    std::snprintf(text, sizeof text, "%02u/%02u/%04d", unsigned(civil.day()), unsigned(civil.month()),
                  int(civil.year()));
    return text;
}

std::string model_amount(std::int64_t hundredths, int width) {
    const std::int64_t size = hundredths < 0 ? -hundredths : hundredths;
    char text[64];
    std::snprintf(text, sizeof text, "%s%lld,%02lld", hundredths < 0 ? "-" : "",
                  static_cast<long long>(size / 100), static_cast<long long>(size % 100));
    const std::string shown(text);
    const auto columns = static_cast<std::size_t>(width);
    return shown.size() > columns ? std::string(columns, '*')
                                  : std::string(columns - shown.size(), ' ') + shown;
}

ModelPaper model_edition(const TestLedger& ledger, const Selection& selection) {
    return Model(ledger, selection).make();
}

} // namespace corvalissement::testing_support
