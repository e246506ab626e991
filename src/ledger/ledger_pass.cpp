#include "ledger/ledger_pass.h"

#include "data/keys.h"
#include "ledger/entry_line.h"
#include "ledger/page_frame.h"
#include "ledger/pass_steps.h"

#include <cstdint>

namespace corvalissement {

namespace {

class LedgerPass {
public:
    explicit LedgerPass(Edition& edition)
        : edition_(edition), state_(edition.state),
          steps_(Steps::On::skip, edition.failures, "Impression_Detail"), period_(edition.selection),
          line_(edition, steps_, PieceSide::right), end_count_(period_, steps_) {}

    void run() {
        prepare();
        const std::size_t keys = key_count(edition_.W_ListeBalance);
        show_progress(keys);
        for (std::size_t i = 1; i <= keys; ++i)
            print_key(edition_.W_ListeBalance(i, 1));
        state_.W_TotalCompte = true;
        steps_.run("", [&] { Imprime_Fin_Tableau(edition_); });
    }

private:
    void prepare() {
        state_.W_TotalCompte = false;
        state_.W_CptQuantite = 0;
        state_.W_CptDebit = 0;
        state_.W_CptCredit = 0;
        state_.W_CptSolde = 0;
        state_.W_CompteCourant.clear();
        state_.W_CompteOuvert = false;
        state_.W_MaxLignes = 30;
        state_.W_RuptureCompte = false;
    }

    bool read_balance(std::string_view key) {
        return steps_.run(key, [&] { balance_file(edition_).DBRead(key, edition_.files.R_BALANCEGENE); });
    }

    // The bar's total is a 16-bit number: a key that would take it past 32767 is not added, and the bar then
    // stands full while the pass goes on.
    void show_progress(std::size_t keys) {
        std::size_t total = 0;
        for (std::size_t i = 1; i <= keys; ++i) {
            if (!read_balance(edition_.W_ListeBalance(i, 1))) continue;
            const std::size_t entries = edition_.files.R_BALANCEGENE.DCount(balance::ENTRIES);
            if (total + entries <= INT16_MAX) total += entries;
        }
        edition_.progress.show_progress(true);
        edition_.progress.set_progress(0);
        edition_.progress.set_progress_max(static_cast<long>(total));
    }

    void print_key(std::string_view key) {
        line_.start_key();
        if (!read_balance(key)) return;
        end_count_.start_record();
        const TarvexRecord& balance = edition_.files.R_BALANCEGENE;
        const std::size_t entries = balance.DCount(balance::ENTRIES);
        for (std::size_t index = 1; index <= entries; ++index)
            print_entry(balance, index);
        line_.print_held();
    }

    void print_entry(const TarvexRecord& balance, std::size_t index) {
        edition_.progress.set_progress(++progress_);
        // A test that fails counts as passed: the entry then speaks for itself.
        bool in_range = true;
        steps_.run(balance.key(), [&] { in_range = period_.contains(balance(balance::DATES, index)); });
        if (!in_range) return;
        const std::string_view entry_key = balance(balance::ENTRIES, index);
        TarvexRecord& entry = edition_.files.R_DETAILECRITUREGENE;
        if (!steps_.run(entry_key, [&] { entry_file(edition_).DBRead(entry_key, entry); })) return;
        if (!stays_unlettered(edition_.selection, entry)) return;
        check_page();
        check_account(entry(entry::ACCOUNT_KEY));
        line_.print(entry, entry_key, index, [&] { return end_count_.of(balance); });
    }

    [[nodiscard]] bool page_full() const { return state_.W_NbLignes > state_.W_MaxLignes; }

    void turn_page() {
        steps_.run("", [&] { edition_.surface.NewPage(); });
        steps_.run(edition_.selection.entity, [&] { Entete_Page(edition_); });
    }

    // Made before the account check, so that it still sees the previous account when the entry opens a new
    // one.
    void check_page() {
        if (!page_full()) return;
        steps_.run("", [&] { Imprime_Fin_Tableau(edition_); });
        turn_page();
        steps_.run("", [&] { print_continuation_title(edition_); });
    }

    void check_account(std::string_view account) {
        if (state_.W_CompteCourant == account) {
            state_.W_RuptureCompte = false;
            return;
        }
        if (state_.W_CompteOuvert) {
            state_.W_TotalCompte = true;
            steps_.run("", [&] { Imprime_Fin_Tableau(edition_); });
            state_.W_RuptureCompte = true;
        }
        if ((edition_.selection.page_per_account && state_.W_CompteOuvert) || page_full()) turn_page();
        state_.W_CompteCourant.assign(account);
        steps_.run(account, [&] { print_account_title(edition_, [&] { read_chart(); }); });
        state_.W_CompteOuvert = true;
    }

    // An account without a chart record has a blank label, here and in its continuation titles.
    void read_chart() {
        TarvexRecord& chart = edition_.files.R_PLANCOMPTABLE;
        if (!steps_.run(state_.W_CompteCourant,
                        [&] { edition_.files.F_PLANCOMPTABLE->DBRead(state_.W_CompteCourant, chart); }))
            chart.set_text("");
    }

    Edition& edition_;
    PrintState& state_;
    Steps steps_;
    Period period_;
    EntryLine line_;
    EndCount end_count_;
    long progress_ = 0;
};

} // namespace

void Impression_Detail(Edition& edition) { LedgerPass(edition).run(); }

} // namespace corvalissement
