#include "fec/fec_one_file.h"

#include "data/dyn_array.h"
#include "data/keys.h"
#include "fec/fec_entries.h"
#include "fec/fec_rows.h"
#include "platform/text.h"
#include "records/bad_input.h"

#include <algorithm>
#include <array>
#include <utility>

namespace corvalissement {

namespace {

std::string quoted(std::string_view text) { return "« " + std::string(text) + " »"; }

// A count with its noun in the singular or the plural.
std::string counted(std::uint64_t count, std::string_view one, std::string_view many) {
    return std::to_string(count) + " " + std::string(count > 1 ? many : one);
}

std::string text_of(std::int64_t first_day, std::int64_t last_day) {
    return "du " + date_text(first_day) + " au " + date_text(last_day);
}

// Hundredths as a person writes them.
std::string amount_text(std::int64_t amount) {
    std::string text = amount < 0 ? "-" : "";
    const std::uint64_t size =
        amount < 0 ? 0 - static_cast<std::uint64_t>(amount) : static_cast<std::uint64_t>(amount);
    append_whole(text, static_cast<std::int64_t>(size / 100));
    text.push_back(',');
    append_padded(text, size % 100, 2);
    return text;
}

std::string text_of(const LineSums& sums) {
    return "débit " + amount_text(sums.debit) + ", crédit " + amount_text(sums.credit);
}

// Numbers texts from 0 in the order of their first appearance.
class TextNumbers {
public:
    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    [[nodiscard]] std::size_t find(std::string_view text) const {
        const auto found = numbers_.find(text);
        return found == numbers_.end() ? NONE : found->second;
    }
    std::size_t add(std::string_view text, bool& fresh) {
        const std::size_t known = find(text);
        fresh = known == NONE;
        if (fresh) numbers_.emplace(text, numbers_.size());
        return fresh ? numbers_.size() - 1 : known;
    }

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept {
            return std::hash<std::string_view>()(text);
        }
    };
    std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>> numbers_;
};

// A label that many lines give: the first one that is not empty is kept.
struct Label {
    std::string kept;
    std::uint64_t differing = 0;

    void see(std::string_view text) {
        if (text.empty() || text == kept) return;
        if (kept.empty()) {
            kept.assign(text);
        } else {
            ++differing;
        }
    }
};

struct Journal {
    std::string name; // in the file
    std::string code;
    Label label;
    bool taken = false;     // has a line that is not left out
    std::size_t number = 0; // at the ledger writer
};

struct Account {
    AccountName name;
    std::string number;
    Label label;
    std::size_t id = 0;           // at the ledger writer
    std::array<bool, 3> drafts{}; // by Exercice
};

// One file on its way into the base. The plan pass looks at every line; with its answers (codes, entries) the
// write pass reads the lines again. A file that has to tell the years first, and doesn't lie in one of them
// as a whole, is planned again once they are known.
class FileImport {
public:
    FileImport(FecImportState& shared, FecFile& file, FecFacts facts,
               const std::function<void(double)>& progress)
        : shared_(shared), options_(shared.options), file_(file), facts_(std::move(facts)),
          progress_(progress), evidence_(!shared.years) {}

    // The first pass: looks at every line and writes nothing. Lines outside years that are known are left
    // out. BadInput, with the first faults of the file, when it can't be taken as it is.
    void plan() {
        collect([this] { plan_lines(); });
        if (shared_.years) collect([this] { check_bounds(); });
        if (faults_.empty()) return;
        std::stable_sort(faults_.begin(), faults_.end(),
                         [](const BadInput& a, const BadInput& b) { return a.line() < b.line(); });
        if (faults_.size() >= MOST_FAULTS)
            faults_.emplace_back(file_.path(), 0,
                                 "lecture arrêtée après " + std::to_string(faults_.size()) + " fautes");
        throw BadInput(faults_);
    }

    // REQUIRES the plan, made without years. BadInput when no year can be told from the file.
    void settle_years() {
        if (outcome_.lines == 0)
            refuse(1, "le fichier ne contient aucune ligne d'écriture, et l'exercice de l'entité " +
                          options_.entity + " n'est pas connu ; donnez --debut et --fin");
        shared_.years = evidence_.guess(file_.path());
        check_bounds();
    }

    [[nodiscard]] bool lies_in_year_n() const {
        return evidence_.empty() || (period_of(evidence_.earliest()) == Exercice::courant &&
                                     period_of(evidence_.latest()) == Exercice::courant);
    }

    // The rest. REQUIRES the plan, made with the years, or one that lies in year N as a whole.
    FecOutcome take() {
        note_years();
        settle_codes();
        note_plan();
        if (options_.drafts && has_drafts_) plan_draft_sequences();
        write();
        finish_drafts();
        write_labels();
        if (shared_.plan != nullptr) tell_plan(*shared_.plan);
        outcome_.remarks = remarks_.list();
        return std::move(outcome_);
    }

private:
    static constexpr std::size_t MOST_FAULTS = 20;  // told of a file that is refused
    static constexpr std::uint64_t MOST_NAMED = 20; // accounts in one remark

    struct DraftBook {
        DraftEntries entries;
        DraftPlan plan;
        std::vector<std::uint64_t> lines; // written so far, by sequence
    };

    [[noreturn]] void refuse(std::uint64_t line, const std::string& reason) const {
        throw BadInput(file_.path(), line, reason);
    }

    template <class Step>
    void collect(Step step) {
        try {
            step();
        } catch (const BadInput& bad) {
            faults_.push_back(bad);
        }
    }

    // The next line that can be understood; the others are noted.
    bool next_sound(FecRows& rows, FecRow& row) {
        while (faults_.size() < MOST_FAULTS) {
            try {
                return rows.next(row);
            } catch (const BadLine& bad) {
                faults_.push_back(bad);
            }
        }
        return false;
    }

    // For a later file of a call the years are as settled as those of a base.
    [[nodiscard]] bool guessed_elsewhere() const {
        return shared_.years->guessed() && shared_.years_of_this_call;
    }

    [[nodiscard]] std::optional<Exercice> period_of(std::int64_t day) const {
        return shared_.years->years.period_of(day);
    }

    void plan_lines() {
        FecRows rows(file_, facts_);
        FecRow row;
        while (next_sound(rows, row)) {
            count(row);
            const auto period = shared_.years ? period_of(row.date) : Exercice::courant;
            const std::size_t journal = see_journal(row);
            evidence_.add(journal, row);
            watch_.add(journal, period, row);
            if (!period) {
                ++outcome_.outside;
                continue;
            }
            see_codes(row, journal);
            has_drafts_ = has_drafts_ || !row.validated;
            if (row.debit && row.credit)
                remarks_.add("débit et crédit sur une même ligne",
                             "ligne " + std::to_string(row.line) +
                                 " : débit et crédit tous deux remplis, gardés dans une seule écriture");
            show(rows, 0.1, 0.4);
        }
        if (rows.lines_with_controls() > 0)
            remarks_.add("", counted(rows.lines_with_controls(), "ligne", "lignes") +
                                 " avec des caractères de commande, remplacés par des blancs");
        if (rows.lines_repaired() > 0)
            remarks_.add("", counted(rows.lines_repaired(), "ligne", "lignes") +
                                 " avec des octets qui ne sont pas de l'UTF-8, remplacés par U+FFFD");
    }

    // Sums are kept of sizes too, so that no partial sum of the file can overflow.
    void count(const FecRow& row) {
        ++outcome_.lines;
        for (const std::int64_t amount : {row.debit.value_or(0), row.credit.value_or(0)})
            if (__builtin_add_overflow(size_, amount < 0 ? -amount : amount, &size_))
                refuse(row.line, "le total des montants est trop grand");
        outcome_.debit += row.debit.value_or(0);
        outcome_.credit += row.credit.value_or(0);
    }

    // Years guessed from dates alone are no ground for leaving lines out: a slip of the pen in one date may
    // have chosen them.
    void check_bounds() const {
        const FiscalYears& years = shared_.years->years;
        const auto outside = evidence_.outside(years.first_day_before(), years.last_day_after());
        if (outside.lines == 0) return;
        const YearSource source = shared_.years->source;
        const bool here = shared_.years->guessed() && !guessed_elsewhere();
        if (options_.outside_bounds && !(here && source == YearSource::dates)) return;
        const std::string told = " (source : " + std::string(name_of(source)) + ")";
        const std::string lines = counted(outside.lines, "ligne est", "lignes sont");
        const auto line_of = [this](std::int64_t day) {
            return std::to_string(evidence_.first_line(day, day));
        };
        if (here)
            refuse(outside.first_line,
                   "les dates vont du " + date_text(evidence_.earliest()) + " au " +
                       date_text(evidence_.latest()) + " (lignes " + line_of(evidence_.earliest()) + " et " +
                       line_of(evidence_.latest()) + ") ; avec un exercice N " +
                       text_of(years.first_day, years.last_day) + told + ", " + lines +
                       " hors des exercices N - 1 à N + 1 ; relancez avec " +
                       better_options(evidence_, years) + ", ou d'autres bornes de l'exercice N");
        refuse(outside.first_line,
               "la date " + date_text(outside.day) + " est hors des exercices connus, " +
                   text_of(years.first_day_before(), years.last_day_after()) + told + " ; " + lines +
                   " dans ce cas ; relancez avec --hors-bornes pour les laisser de côté" + other_bounds());
    }

    // What else to run when lines lie outside years that were told.
    [[nodiscard]] std::string other_bounds() const {
        if (shared_.years->source == YearSource::base)
            return " ; si c'est l'exercice N de la base qui est faux et qu'elle n'a pas d'autre fichier de "
                   "cette "
                   "entité, importez celui-là de nouveau avec --debut et --fin";
        const std::string better = better_options(evidence_, shared_.years->years);
        return better.starts_with(options_text(shared_.years->years)) ? "" : ", ou avec " + better;
    }

    // What each year gets, and what its reader may not expect: lines of another year than N, years that the
    // bounds leave out of balance, what is left out.
    void note_years() {
        outcome_.years = shared_.years;
        if (guessed_elsewhere()) outcome_.years->source = YearSource::base;
        constexpr std::pair<Exercice, std::string_view> PERIODS[] = {
            {Exercice::precedent, exercice::PRECEDENT},
            {Exercice::courant, exercice::COURANT},
            {Exercice::suivant, exercice::SUIVANT}};
        LineSums taken;
        for (const auto& [period, name] : PERIODS) {
            const auto [first, last] = shared_.years->years.bounds_of(period);
            const LineSums sums = evidence_.sums(first, last);
            outcome_.taken[static_cast<std::size_t>(period)] = sums;
            taken = {taken.lines + sums.lines, taken.debit + sums.debit, taken.credit + sums.credit};
            const std::string year = "l'exercice " + std::string(name) + ", " + text_of(first, last);
            if (period != Exercice::courant && sums.lines > 0)
                remarks_.add("", counted(sums.lines, "ligne va", "lignes vont") + " à " + year +
                                     ", la première à la ligne " +
                                     std::to_string(evidence_.first_line(first, last)));
            if (sums.debit != sums.credit && sums.lines < outcome_.lines)
                remarks_.add("", year + ", n'est pas équilibré : " + text_of(sums));
        }
        if (outcome_.outside > 0)
            remarks_.add("", counted(outcome_.outside, "ligne laissée", "lignes laissées") +
                                 " de côté, hors des trois exercices : " +
                                 text_of({0, outcome_.debit - taken.debit, outcome_.credit - taken.credit}) +
                                 " ; pris : " + text_of(taken));
        const auto closing = fec_name(file_.path()).closing;
        if (closing && outcome_.years->guessed() && *closing != shared_.years->years.last_day)
            remarks_.add("", "le nom du fichier donne une clôture au " + date_text(*closing) +
                                 ", qui n'est pas retenue : les dates des lignes ne s'y prêtent pas");
        if (outcome_.years->guessed() && !lies_in_year_n())
            remarks_.add(
                "", "l'exercice N, " +
                        text_of(shared_.years->years.first_day, shared_.years->years.last_day) +
                        ", est déduit du fichier (source : " + std::string(name_of(shared_.years->source)) +
                        ") ; s'il est autre, importez de nouveau avec --debut et --fin");
    }

    std::size_t number_of_journal(const FecRow& row) {
        if (row.journal == last_journal_name_ && last_journal_ != TextNumbers::NONE) return last_journal_;
        last_journal_ = journal_numbers_.find(row.journal);
        last_journal_name_.assign(row.journal);
        return last_journal_;
    }

    // The text by which an account is looked up, in `identity_` when it has to be put together.
    std::string_view identity_of(const FecRow& row) {
        if (!is_third_party(row)) return row.account;
        identity_.assign("\t").append(row.account.substr(0, 2)).append(row.auxiliary);
        return identity_;
    }

    [[nodiscard]] bool is_third_party(const FecRow& row) const {
        return options_.auxiliaries && !row.auxiliary.empty() &&
               (row.account.starts_with("40") || row.account.starts_with("41"));
    }

    std::size_t see_journal(const FecRow& row) {
        std::size_t journal = number_of_journal(row);
        if (journal == TextNumbers::NONE) {
            bool fresh = false;
            journal = journal_numbers_.add(row.journal, fresh);
            last_journal_ = journal;
            journals_.push_back({std::string(row.journal), "", {}, false, 0});
        }
        return journal;
    }

    void see_codes(const FecRow& row, std::size_t journal) {
        journals_[journal].taken = true;
        journals_[journal].label.see(row.journal_label);

        bool fresh = false;
        const std::size_t account = account_numbers_.add(identity_of(row), fresh);
        const bool own = is_third_party(row);
        if (fresh) {
            const AccountName name =
                own ? AccountName{std::string(row.auxiliary), std::string(row.account.substr(0, 2))}
                    : AccountName{std::string(row.account), ""};
            accounts_.push_back({name, "", {}, 0, {}});
        }
        accounts_[account].label.see(own && !row.auxiliary_label.empty() ? row.auxiliary_label
                                                                         : row.account_label);
        lettering_.note(account, row.lettering);
    }

    void settle_codes() {
        std::vector<std::string> journal_names;
        std::vector<Journal*> taken;
        for (Journal& journal : journals_) {
            if (!journal.taken) continue;
            journal_names.push_back(journal.name);
            taken.push_back(&journal);
        }
        std::vector<std::string> codes;
        try {
            codes = shared_.codes.journals(journal_names);
        } catch (const BadInput& refused) {
            throw BadInput(file_.path(), 0, refused.reason());
        }
        for (std::size_t i = 0; i < codes.size(); ++i) {
            taken[i]->code = codes[i];
            taken[i]->number = shared_.ledger.journal(codes[i]);
            outcome_.journals.insert(codes[i]);
            if (codes[i] != taken[i]->name)
                remarks_.add("journaux renommés", "journal " + taken[i]->name + " devient " + codes[i]);
        }
        std::vector<AccountName> account_names;
        for (const Account& account : accounts_)
            account_names.push_back(account.name);
        const auto numbers = shared_.codes.accounts(account_names);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            Account& account = accounts_[i];
            account.number = numbers[i];
            account.id = shared_.ledger.account(numbers[i]);
            outcome_.accounts.insert(numbers[i]);
            if (numbers[i] != plain_account(account.name))
                remarks_.add("comptes renommés", (account.name.third_party.empty() ? "compte " : "tiers ") +
                                                     account.name.number + " devient " + numbers[i]);
        }
        shared_.codes.save();
    }

    void note_plan() {
        if (outcome_.debit != outcome_.credit)
            remarks_.add("", "le fichier n'est pas équilibré : débit " + amount_text(outcome_.debit) +
                                 ", crédit " + amount_text(outcome_.credit));
        unnumbered_ = watch_.unnumbered();
        for (std::size_t i = 0; i < journals_.size(); ++i) {
            const UnbalancedEntries unbalanced = watch_.unbalanced(i);
            if (unbalanced.doubtful > 0)
                remarks_.add("journaux sans numéros",
                             "journal " + journals_[i].name +
                                 " : équilibré dans son ensemble, mais sans numéros d'écriture qui disent où "
                                 "chaque écriture finit ; " +
                                 counted(unbalanced.doubtful, "suite de lignes ne l'est",
                                         "suites de lignes ne le sont") +
                                 " pas");
            for (const UnbalancedEntry& entry : unbalanced.told)
                note_unbalanced(journals_[i], entry);
        }
    }

    void note_unbalanced(const Journal& journal, const UnbalancedEntry& entry) {
        const std::string name = "écriture " + journal.name +
                                 (entry.number.empty() ? "" : " " + entry.number) + " (ligne " +
                                 std::to_string(entry.line) + ")";
        if (!entry.is_split()) {
            remarks_.add("écritures non équilibrées",
                         name + " non équilibrée : débit moins crédit " + amount_text(entry.net()));
            return;
        }
        constexpr std::array<std::string_view, 4> PLACES{exercice::PRECEDENT, exercice::COURANT,
                                                         exercice::SUIVANT, "hors bornes"};
        std::string parts;
        for (std::size_t i = 0; i < PLACES.size(); ++i)
            if (entry.nets[i] != 0)
                parts +=
                    (parts.empty() ? " " : ", ") + std::string(PLACES[i]) + " " + amount_text(entry.nets[i]);
        remarks_.add("écritures coupées",
                     name + " coupée par les bornes des exercices : débit moins crédit" + parts);
    }

    [[nodiscard]] bool is_draft(const FecRow& row, Exercice period) const {
        return options_.drafts && !row.validated && period != Exercice::precedent;
    }

    void plan_draft_sequences() {
        drafts_.emplace(DraftBook{DraftEntries(unnumbered_), {}, {}});
        FecRows rows(file_, facts_);
        FecRow row;
        while (rows.next(row)) {
            const auto period = period_of(row.date);
            if (!period || !is_draft(row, *period)) continue;
            const std::size_t journal = number_of_journal(row);
            if (journal == TextNumbers::NONE) file_changed(row.line);
            drafts_->entries.add(journal, *period, row);
        }
        std::vector<std::string> codes;
        for (const Journal& journal : journals_)
            codes.push_back(journal.code);
        drafts_->plan =
            plan_drafts(drafts_->entries.entries(), file_.path(), options_.entity, codes, taken_orders());
        drafts_->lines.resize(drafts_->plan.sequences.size());
        // The write pass asks for the same lines in the same order.
        drafts_->entries = DraftEntries(unnumbered_);
    }

    // Order numbers of the sequences that the base holds, by what stands before them in the key.
    [[nodiscard]] std::unordered_map<std::string, std::string> taken_orders() const {
        std::unordered_map<std::string, std::string> taken;
        shared_.store.scan_keys(shared_.store.file(files::BROUILLARDTETE), options_.entity,
                                [&](std::string_view key) {
                                    if (!key.starts_with(options_.entity)) return false;
                                    taken[std::string(chars(key, 1, 7))].append(chars(key, 8, 1));
                                    return true;
                                });
        return taken;
    }

    [[noreturn]] void file_changed(std::uint64_t line) const {
        refuse(line, "le fichier a changé pendant la lecture");
    }

    // The last pass.
    void write() {
        FecRows rows(file_, facts_);
        FecRow row;
        std::uint64_t lines = 0;
        std::uint64_t archived_drafts = 0;
        while (rows.next(row)) {
            ++lines;
            const auto period = period_of(row.date);
            if (!period) {
                if (!options_.outside_bounds) file_changed(row.line);
                continue;
            }
            const std::size_t journal = number_of_journal(row);
            const std::size_t account = account_numbers_.find(identity_of(row));
            if (journal == TextNumbers::NONE || account == TextNumbers::NONE) file_changed(row.line);
            if (options_.drafts && !row.validated && *period == Exercice::precedent) ++archived_drafts;
            if (is_draft(row, *period)) {
                write_draft(row, *period, journal, account);
            } else {
                write_entry(row, *period, journal, account);
            }
            show(rows, 0.4, 0.95);
        }
        if (lines != outcome_.lines) file_changed(0);
        if (archived_drafts > 0)
            remarks_.add("", counted(archived_drafts, "ligne", "lignes") +
                                 " sans date de validation gardées comme écritures : l'exercice N - 1 n'a "
                                 "pas de brouillards");
        if (lettering_.replaced() > 0)
            remarks_.add("", counted(lettering_.replaced(), "code de lettrage remplacé par un autre",
                                     "codes de lettrage remplacés par d'autres") +
                                 ", de deux caractères, par exemple " + lettering_.example());
    }

    EntryText text_of_row(const FecRow& row, std::size_t account) {
        EntryText text;
        text.date = row.date;
        text.label = row.label;
        text.piece = row.piece;
        text.lettering = lettering_.stored(account, row.lettering);
        text.debit = row.debit;
        text.credit = row.credit;
        return text;
    }

    void write_entry(const FecRow& row, Exercice period, std::size_t journal, std::size_t account) {
        try {
            shared_.ledger.add(period, journals_[journal].number, accounts_[account].id,
                               text_of_row(row, account));
        } catch (const StepFailure& failure) {
            if (failure.number() != ERR_OVERFLOW) throw;
            refuse(row.line, failure.text());
        }
        ++outcome_.entries;
    }

    void write_draft(const FecRow& row, Exercice period, std::size_t journal, std::size_t account) {
        const std::size_t entry = drafts_ ? drafts_->entries.add(journal, period, row) : TextNumbers::NONE;
        if (entry >= (drafts_ ? drafts_->plan.sequence_of_entry.size() : 0)) file_changed(row.line);
        const std::size_t sequence = drafts_->plan.sequence_of_entry[entry];
        key_ = drafts_->plan.sequences[sequence].key;
        append_padded(key_, ++drafts_->lines[sequence], 5);
        accounts_[account].drafts[static_cast<std::size_t>(period)] = true;
        compose_entry(record_, shared_.ledger.account_key(accounts_[account].id), text_of_row(row, account));
        shared_.store.write(shared_.store.file(files::BROUILLARDDETAIL), key_, record_);
    }

    void finish_drafts() {
        if (!drafts_) return;
        std::uint64_t lines = 0;
        for (const DraftSequence& sequence : drafts_->plan.sequences) {
            DynArray record;
            record.set(2, std::to_string(sequence.debit));
            record.set(3, std::to_string(sequence.credit));
            shared_.store.write(shared_.store.file(files::BROUILLARDTETE), sequence.key, record.text());
            lines += sequence.lines;
            if (sequence.debit != sequence.credit)
                remarks_.add("séquences non équilibrées",
                             "séquence de brouillard " + sequence.key +
                                 " non équilibrée, elle ne peut pas être affectée : " +
                                 text_of({0, sequence.debit, sequence.credit}));
        }
        outcome_.drafts = drafts_->plan.sequences.size();
        if (lines > 0)
            remarks_.add("", counted(lines, "ligne", "lignes") + " sans date de validation dans " +
                                 counted(outcome_.drafts, "séquence", "séquences") + " de brouillard");
        note_drafts_without_ledger(Exercice::courant, exercice::COURANT);
        note_drafts_without_ledger(Exercice::suivant, exercice::SUIVANT);
    }

    // An edition walks the ledger's accounts and takes drafts in as it goes; account fields refuse an account
    // that has no balance in the year.
    void note_drafts_without_ledger(Exercice period, std::string_view year) {
        std::string numbers;
        std::uint64_t count = 0;
        for (const Account& account : accounts_) {
            if (!account.drafts[static_cast<std::size_t>(period)] ||
                shared_.ledger.has_entries(period, account.id))
                continue;
            if (++count <= MOST_NAMED) numbers += (count > 1 ? ", " : "") + account.number;
        }
        if (count == 0) return;
        if (count > MOST_NAMED) numbers += "...";
        const std::string what = "exercice " + std::string(year) + " : " +
                                 counted(count, "compte n'a", "comptes n'ont") + " que des brouillards, " +
                                 numbers;
        remarks_.add(
            "", shared_.ledger.has_entries(period)
                    ? what + " ; ils ne peuvent être choisis seuls, et s'éditent avec d'autres comptes"
                    : what + " ; sans aucun compte au grand livre de l'exercice, ils ne peuvent être édités");
    }

    void write_labels() {
        for (const Journal& journal : journals_)
            if (journal.taken) write_label(files::JOURNAL, "journal ", journal.code, journal.label);
        for (const Account& account : accounts_)
            write_label(files::PLANCOMPTABLE, "compte ", account.number, account.label);
    }

    void tell_plan(FecPlan& plan) const {
        for (const Journal& journal : journals_)
            if (journal.taken) plan.journals.push_back({journal.name, journal.code, journal.label.kept});
        for (const Account& account : accounts_)
            plan.accounts.push_back({account.name.number, account.number, account.label.kept});
        plan.lettering_replaced += lettering_.replaced();
        if (plan.lettering_example.empty()) plan.lettering_example = lettering_.example();
    }

    // A label that the base has already stays.
    void write_label(std::string_view file_name, std::string_view what, const std::string& code,
                     const Label& label) {
        const FileId file = shared_.store.file(file_name);
        const std::string key = options_.entity + code;
        DynArray record;
        const bool standing = shared_.store.read(file, key, record.buffer());
        record.changed();
        const std::string old = standing ? std::string(record(1)) : "";
        if (!standing || (old.empty() && !label.kept.empty())) {
            record.set(1, label.kept);
            shared_.store.write(file, key, record.text());
        }
        const std::string& kept = old.empty() ? label.kept : old;
        if (label.differing > 0)
            remarks_.add("libellés différents",
                         std::string(what) + code + " : libellé " + quoted(kept) + " gardé, " +
                             counted(label.differing, "ligne en porte", "lignes en portent") + " un autre");
        else if (kept != label.kept && !label.kept.empty())
            remarks_.add("libellés différents", std::string(what) + code + " : libellé " + quoted(kept) +
                                                    " gardé, le fichier dit " + quoted(label.kept));
    }

    void show(const FecRows& rows, double from, double to) {
        if (!progress_ || (++shown_ & 0x1FFFU) != 0 || file_.size() == 0) return;
        progress_(from +
                  (to - from) * static_cast<double>(rows.bytes_done()) / static_cast<double>(file_.size()));
    }

    FecImportState& shared_;
    const FecOptions& options_;
    FecFile& file_;
    FecFacts facts_;
    const std::function<void(double)>& progress_;
    std::uint64_t shown_ = 0;

    std::vector<BadInput> faults_;
    FecOutcome outcome_;
    Remarks remarks_;
    std::int64_t size_ = 0;
    YearEvidence evidence_;
    bool has_drafts_ = false;

    TextNumbers journal_numbers_;
    std::vector<Journal> journals_;
    std::string last_journal_name_;
    std::size_t last_journal_ = TextNumbers::NONE;
    TextNumbers account_numbers_;
    std::vector<Account> accounts_;
    std::string identity_;
    BalanceWatch watch_;
    std::vector<bool> unnumbered_;
    LetteringBook lettering_;
    std::optional<DraftBook> drafts_;
    std::string key_;
    std::string record_;
};

} // namespace

FecOutcome take_file(FecImportState& state, FecFile& file, const FecFacts& facts,
                     const std::function<void(double fraction)>& progress) {
    if (!state.years) {
        FileImport first(state, file, facts, progress);
        first.plan();
        first.settle_years();
        if (first.lies_in_year_n()) return first.take();
    }
    FileImport import(state, file, facts, progress);
    import.plan();
    return import.take();
}

} // namespace corvalissement
