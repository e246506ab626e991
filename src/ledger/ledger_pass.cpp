#include "ledger/ledger_pass.h"

#include "data/keys.h"
#include "ledger/entry_walk.h"
#include "ledger/page_frame.h"

#include <cstdint>

namespace corvalissement {

namespace {

class LedgerPass {
public:
    explicit LedgerPass(Edition& edition)
        : edition_(edition), state_(edition.state),
          steps_(Steps::On::skip, edition.failures, "Impression_Detail"), source_(ledger_source(edition)),
          walk_(edition, steps_) {}

    void run() {
        prepare();
        const std::size_t keys = key_count(edition_.W_ListeBalance);
        show_progress(keys);
        for (std::size_t i = 1; i <= keys; ++i)
            walk_.print_key(source_, edition_.W_ListeBalance(i, 1));
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

    // The bar's total is a 16-bit number: a key that would take it past 32767 is not added, and the bar then
    // stands full while the pass goes on.
    void show_progress(std::size_t keys) {
        std::size_t total = 0;
        for (std::size_t i = 1; i <= keys; ++i) {
            const std::string_view key = edition_.W_ListeBalance(i, 1);
            if (!steps_.run(key, [&] { source_.balances.DBRead(key, source_.balance); })) continue;
            const std::size_t entries = source_.balance.DCount(balance::ENTRIES);
            if (total + entries <= INT16_MAX) total += entries;
        }
        edition_.progress.show_progress(true);
        edition_.progress.set_progress(0);
        edition_.progress.set_progress_max(static_cast<long>(total));
    }

    Edition& edition_;
    PrintState& state_;
    Steps steps_;
    WalkSource source_;
    EntryWalk walk_;
};

} // namespace

void Impression_Detail(Edition& edition) { LedgerPass(edition).run(); }

} // namespace corvalissement
