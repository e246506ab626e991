#include "drafts/merged_pass.h"

#include "data/keys.h"
#include "drafts/account_detail.h"
#include "ledger/page_frame.h"

namespace corvalissement {

namespace {

class MergedPass {
public:
    explicit MergedPass(Edition& edition) : edition_(edition), state_(edition.state), detail_(edition) {}

    void run() {
        start();
        const std::size_t ledger_keys = key_count(edition_.W_ListeBalance);
        while (l_ <= ledger_keys) {
            while (has_draft() && draft_account() <= ledger_account(l_)) {
                if (draft_account() < ledger_account(l_)) {
                    draft_only(l_ != ledger_keys);
                } else {
                    ledger_and_draft(ledger_keys);
                    ++l_;
                    if (l_ > ledger_keys) break;
                }
            }
            if (l_ <= ledger_keys) {
                ledger_only(ledger_keys);
                ++l_;
            }
        }
        while (has_draft())
            draft_only(true);
    }

private:
    void start() {
        state_.W_CompteCourant.clear();
        state_.W_CptQuantite = 0;
        state_.W_CptDebit = 0;
        state_.W_CptCredit = 0;
        state_.W_CptSolde = 0;
        state_.W_TableauClos = false;
        const long total = entries_of(edition_.W_ListeBalance, ledger_source(edition_)) +
                           entries_of(edition_.W_ListeBalanceTempo, draft_source(edition_));
        edition_.progress.show_progress(true);
        if (!edition_.progress.set_progress(0) || !edition_.progress.set_progress_max(total))
            throw StepFailure(ERR_PROPERTY,
                              "la barre de progression refuse un total de " + std::to_string(total));
    }

    static long entries_of(const DynArray& keys, const WalkSource& source) {
        long total = 0;
        const std::size_t count = key_count(keys);
        for (std::size_t i = 1; i <= count; ++i) {
            source.balances.DBRead(keys(i, 1), source.balance);
            total += static_cast<long>(source.balance.DCount(balance::ENTRIES));
        }
        return total;
    }

    [[nodiscard]] bool has_draft() const { return !edition_.W_ListeBalanceTempo(d_, 1).empty(); }
    [[nodiscard]] std::string_view draft_account() const {
        return BalanceKey::of(edition_.W_ListeBalanceTempo(d_, 1)).number;
    }
    [[nodiscard]] std::string_view ledger_account(std::size_t position) const {
        return BalanceKey::of(edition_.W_ListeBalance(position, 1)).number;
    }

    // The ledger key at l and, when the next key is the same account under the other year code, that one too.
    void print_ledger(std::size_t ledger_keys) {
        detail_.Imprime_Detail(l_);
        if (l_ < ledger_keys && ledger_account(l_ + 1) == ledger_account(l_)) detail_.Imprime_Detail(++l_);
    }

    void draft_only(bool page_may_turn) {
        state_.W_CompteOuvert = false;
        detail_.Imprime_Tempo(d_);
        close(page_may_turn);
        ++d_;
    }

    void ledger_and_draft(std::size_t ledger_keys) {
        state_.W_CompteOuvert = false;
        print_ledger(ledger_keys);
        if (state_.W_CompteOuvert) {
            edition_.sink.blank_row();
            ++state_.W_LignesTableau;
            ++state_.W_NbLignes;
        }
        detail_.Imprime_Tempo(d_);
        close(l_ != ledger_keys);
        ++d_;
    }

    void ledger_only(std::size_t ledger_keys) {
        state_.W_CompteOuvert = false;
        print_ledger(ledger_keys);
        if (close(l_ != ledger_keys)) {
            state_.W_JournalPrec.clear();
            state_.W_LibellePrec.clear();
            state_.W_DatePrec.clear();
        }
    }

    // Closes the block of an account that has printed something. The current account goes with it, so that
    // another key of the account that comes up later opens a block of its own, with title and total.
    bool close(bool page_may_turn) {
        state_.W_TotalCompte = true;
        if (!state_.W_CompteOuvert) return false;
        Imprime_Fin_Tableau(edition_);
        state_.W_TableauClos = true;
        state_.W_CompteCourant.clear();
        if (page_may_turn && edition_.selection.page_per_account) {
            edition_.sink.new_page();
            Entete_Page(edition_);
        }
        return true;
    }

    Edition& edition_;
    PrintState& state_;
    AccountDetail detail_;
    std::size_t d_ = 1; // draft position
    std::size_t l_ = 1; // ledger position
};

} // namespace

void Impression_Detail_Brouillard(Edition& edition) { MergedPass(edition).run(); }

} // namespace corvalissement
