#include "importers/fec_importer.h"

#include "data/dyn_array.h"
#include "data/keys.h"
#include "importers/bad_input.h"
#include "importers/fec_codes.h"
#include "importers/fec_entries.h"
#include "importers/fec_file.h"
#include "importers/fec_outcome.h"
#include "importers/fec_rows.h"
#include "importers/fiscal_years.h"
#include "importers/json_text.h"
#include "importers/ledger_writer.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace corvalissement {

namespace {

std::string quoted(std::string_view text) { return "« " + std::string(text) + " »"; }

// A count with its noun in the singular or the plural.
std::string counted(std::uint64_t count, std::string_view one, std::string_view many) {
    return std::to_string(count) + " " + std::string(count > 1 ? many : one);
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
    std::size_t number = 0; // at the ledger writer
};

struct Account {
    AccountName name;
    std::string number;
    Label label;
    std::size_t id = 0; // at the ledger writer
};

// What all files of one call share.
struct Shared {
    Store& store;
    const FecOptions& options;
    CodeBook codes;
    LedgerWriter ledger;
    std::optional<FiscalYears> years;
};

// One file on its way into the base. The plan pass looks at every line and writes nothing; with its answers
// (years, codes, entries) the write pass reads the lines again.
class FileImport {
public:
    FileImport(Shared& shared, FecFile& file, FecFacts facts, const std::function<void(double)>& progress)
        : shared_(shared), options_(shared.options), file_(file), facts_(std::move(facts)),
          progress_(progress) {}

    FecOutcome run() {
        plan();
        settle_years();
        settle_codes();
        note_plan();
        if (options_.drafts && has_drafts_) plan_draft_sequences();
        write();
        finish_drafts();
        write_labels();
        outcome_.remarks = remarks_.list();
        return std::move(outcome_);
    }

private:
    struct DraftBook {
        DraftEntries entries;
        DraftPlan plan;
        std::vector<std::uint64_t> lines; // written so far, by sequence
    };

    [[noreturn]] void refuse(std::uint64_t line, const std::string& reason) const {
        throw BadInput(file_.path(), line, reason);
    }

    // The first pass.
    void plan() {
        FecRows rows(file_, facts_);
        FecRow row;
        while (rows.next(row)) {
            count(row);
            if (leave_out(row)) {
                ++outcome_.outside;
                continue;
            }
            see_date(row);
            see_codes(row);
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

    // With years that are known beforehand a line can lie outside them.
    bool leave_out(const FecRow& row) const {
        if (!shared_.years || shared_.years->period_of(row.date)) return false;
        if (options_.outside_bounds) return true;
        refuse(row.line, "la date " + date_text(row.date) + " est hors des exercices connus, du " +
                             date_text(shared_.years->first_day_before()) + " au " +
                             date_text(shared_.years->last_day_after()));
    }

    void see_date(const FecRow& row) {
        if (row.date < earliest_) earliest_ = row.date;
        if (row.date > latest_) {
            latest_ = row.date;
            latest_line_ = row.line;
        }
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

    void see_codes(const FecRow& row) {
        std::size_t journal = number_of_journal(row);
        if (journal == TextNumbers::NONE) {
            bool fresh = false;
            journal = journal_numbers_.add(row.journal, fresh);
            journals_.push_back({std::string(row.journal), "", {}, 0});
        }
        journals_[journal].label.see(row.journal_label);
        watch_.add(journal, row);

        bool fresh = false;
        const std::size_t account = account_numbers_.add(identity_of(row), fresh);
        const bool own = is_third_party(row);
        if (fresh) {
            const AccountName name =
                own ? AccountName{std::string(row.auxiliary), std::string(row.account.substr(0, 2))}
                    : AccountName{std::string(row.account), ""};
            accounts_.push_back({name, "", {}, 0});
        }
        accounts_[account].label.see(own && !row.auxiliary_label.empty() ? row.auxiliary_label
                                                                         : row.account_label);
        lettering_.note(account, row.lettering);
    }

    void settle_years() {
        if (shared_.years) return;
        if (outcome_.lines == 0)
            refuse(1, "le fichier ne contient aucune ligne d'écriture, et l'exercice de l'entité " +
                          options_.entity + " n'est pas connu ; donnez --debut et --fin");
        shared_.years = years_from_dates(earliest_, latest_, file_.path());
        if (!shared_.years)
            refuse(latest_line_,
                   "les dates vont du " + date_text(earliest_) + " au " + date_text(latest_) +
                       ", plus de 24 mois ; donnez les bornes de l'exercice par --debut et --fin");
    }

    void settle_codes() {
        std::vector<std::string> journal_names;
        for (const Journal& journal : journals_)
            journal_names.push_back(journal.name);
        const auto codes = shared_.codes.journals(journal_names);
        for (std::size_t i = 0; i < codes.size(); ++i) {
            journals_[i].code = codes[i];
            journals_[i].number = shared_.ledger.journal(codes[i]);
            outcome_.journals.insert(codes[i]);
            if (codes[i] != journals_[i].name)
                remarks_.add("journaux renommés", "journal " + journals_[i].name + " devient " + codes[i]);
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
        for (std::size_t i = 0; i < journals_.size(); ++i)
            for (const UnbalancedEntry& entry : watch_.unbalanced(i))
                remarks_.add("écritures non équilibrées",
                             "écriture " + journals_[i].name +
                                 (entry.number.empty() ? "" : " " + entry.number) + " (ligne " +
                                 std::to_string(entry.line) + ") non équilibrée : débit moins crédit " +
                                 amount_text(entry.net));
    }

    [[nodiscard]] bool is_draft(const FecRow& row, Period period) const {
        return options_.drafts && !row.validated && period != Period::previous;
    }

    void plan_draft_sequences() {
        drafts_.emplace(DraftBook{DraftEntries(unnumbered_), {}, {}});
        FecRows rows(file_, facts_);
        FecRow row;
        while (rows.next(row)) {
            const auto period = shared_.years->period_of(row.date);
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
            const auto period = shared_.years->period_of(row.date);
            if (!period) {
                if (!options_.outside_bounds) file_changed(row.line);
                continue;
            }
            const std::size_t journal = number_of_journal(row);
            const std::size_t account = account_numbers_.find(identity_of(row));
            if (journal == TextNumbers::NONE || account == TextNumbers::NONE) file_changed(row.line);
            if (options_.drafts && !row.validated && *period == Period::previous) ++archived_drafts;
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
            remarks_.add("", counted(lettering_.replaced(), "code", "codes") +
                                 " de lettrage remplacés par d'autres, de deux caractères, par exemple " +
                                 lettering_.example());
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

    void write_entry(const FecRow& row, Period period, std::size_t journal, std::size_t account) {
        try {
            shared_.ledger.add(period, journals_[journal].number, accounts_[account].id,
                               text_of_row(row, account));
        } catch (const StepFailure& failure) {
            if (failure.number() != ERR_OVERFLOW) throw;
            refuse(row.line, failure.text());
        }
        ++outcome_.entries;
    }

    void write_draft(const FecRow& row, Period period, std::size_t journal, std::size_t account) {
        const std::size_t entry = drafts_ ? drafts_->entries.add(journal, period, row) : TextNumbers::NONE;
        if (entry >= (drafts_ ? drafts_->plan.sequence_of_entry.size() : 0)) file_changed(row.line);
        const std::size_t sequence = drafts_->plan.sequence_of_entry[entry];
        key_ = drafts_->plan.sequences[sequence].key;
        append_padded(key_, ++drafts_->lines[sequence], 5);
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
        }
        outcome_.drafts = drafts_->plan.sequences.size();
        if (lines > 0)
            remarks_.add("", counted(lines, "ligne", "lignes") + " sans date de validation dans " +
                                 counted(outcome_.drafts, "séquence", "séquences") + " de brouillard");
    }

    void write_labels() {
        for (const Journal& journal : journals_)
            write_label(files::JOURNAL, "journal ", journal.code, journal.label);
        for (const Account& account : accounts_)
            write_label(files::PLANCOMPTABLE, "compte ", account.number, account.label);
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

    Shared& shared_;
    const FecOptions& options_;
    FecFile& file_;
    FecFacts facts_;
    const std::function<void(double)>& progress_;
    std::uint64_t shown_ = 0;

    FecOutcome outcome_;
    Remarks remarks_;
    std::int64_t size_ = 0;
    std::int64_t earliest_ = std::numeric_limits<std::int64_t>::max();
    std::int64_t latest_ = std::numeric_limits<std::int64_t>::min();
    std::uint64_t latest_line_ = 0;
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

// The letters of the options that shape what a file becomes.
std::string letters_of(const FecOptions& options) {
    return std::string(options.drafts ? "B" : "") + (options.auxiliaries ? "A" : "") +
           (options.outside_bounds ? "H" : "");
}

// Bounds of year N that are known before a file is read.
std::optional<FiscalYears> known_years(Store& store, const FecOptions& options) {
    std::optional<FiscalYears> given;
    if (options.first_day || options.last_day) given = years_from_bounds(options.first_day, options.last_day);
    DynArray record;
    if (!store.read(store.file(files::PARAMENTITECOMPTA), options.entity, record.buffer())) return given;
    record.changed();
    FiscalYears standing;
    if (!parse_whole(record(parament::FIRST_DAY_N), standing.first_day) ||
        !parse_whole(record(parament::LAST_DAY_N), standing.last_day))
        return given;
    std::int64_t end_of_next = 0;
    if (parse_whole(record(parament::LAST_DAY_N1), end_of_next)) standing.known_end_of_next = end_of_next;
    const bool differs = (options.first_day && *options.first_day != standing.first_day) ||
                         (options.last_day && *options.last_day != standing.last_day);
    if (differs)
        throw BadInput("", 0,
                       "dans la base, l'exercice N de l'entité " + options.entity + " va du " +
                           date_text(standing.first_day) + " au " + date_text(standing.last_day) +
                           ", ce que --debut et --fin contredisent");
    return standing;
}

void write_years(Store& store, const std::string& entity, const FiscalYears& years) {
    const FileId file = store.file(files::PARAMENTITECOMPTA);
    DynArray record;
    const bool standing = store.read(file, entity, record.buffer());
    record.changed();
    std::int64_t known = 0;
    if (standing && parse_whole(record(parament::FIRST_DAY_N), known) &&
        parse_whole(record(parament::LAST_DAY_N), known))
        return;
    record.set(parament::FIRST_DAY_N, std::to_string(years.first_day));
    record.set(parament::LAST_DAY_N, std::to_string(years.last_day));
    record.set(parament::FIRST_DAY_N1, std::to_string(years.last_day + 1));
    record.set(parament::LAST_DAY_N1, std::to_string(years.last_day_after()));
    store.write(file, entity, record.text());
}

std::vector<std::string> pieces_of(const std::string& text, char separator) {
    std::vector<std::string> pieces(1);
    for (const char c : text) {
        if (c == separator) {
            pieces.emplace_back();
        } else {
            pieces.back().push_back(c);
        }
    }
    for (std::string& piece : pieces)
        piece = trim_blanks(std::string(piece));
    return pieces;
}

// The entity's name, and its address when one is given. Other attributes stay.
void write_entity(Store& store, const FecOptions& options, std::vector<std::string>& remarks) {
    const FileId file = store.file(files::ASSOCIATION);
    DynArray record;
    (void)store.read(file, options.entity, record.buffer());
    record.changed();
    const std::string before(record.text());
    const std::string old_name(record(association::NAME));
    if (!old_name.empty() && old_name != options.name)
        remarks.push_back("l'entité " + options.entity + " s'appelait " + quoted(old_name));
    record.set(association::NAME, options.name);
    if (!options.address.empty()) {
        std::vector<std::string> lines = pieces_of(options.address, '|');
        lines.resize(3);
        const std::size_t blank = std::min(lines[2].find(' '), lines[2].size());
        for (std::size_t a = association::ADDRESS_PIECE_FIRST; a <= association::ADDRESS_PIECE_LAST; ++a)
            record.set(a, a == association::ADDRESS_PIECE_FIRST ? lines[0] : "");
        record.set(association::ADDRESS_2, lines[1]);
        record.set(association::POSTCODE, lines[2].substr(0, blank));
        record.set(association::TOWN, trim_blanks(lines[2].substr(blank)));
    }
    if (record.text() != before) store.write(file, options.entity, record.text());
}

bool has_control(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = next_char(text, at);
        if (c < 0x20U || (c >= 0x7FU && c <= 0x9FU)) return true;
    }
    return false;
}

// Takes the files one after the other.
class Import {
public:
    Import(Store& store, const FecOptions& options, const std::function<void(double)>& progress)
        : progress_(progress), shared_{store, options, CodeBook(store, options.entity),
                                       LedgerWriter(store, options.entity), known_years(store, options)} {}

    FecSummary run() {
        for (std::size_t i = 0; i < shared_.options.paths.size(); ++i)
            take(i);
        if (anything_new_) {
            write_entity(shared_.store, shared_.options, remarks_);
            if (shared_.years) write_years(shared_.store, shared_.options.entity, *shared_.years);
            shared_.ledger.write_balances();
        }
        if (progress_) progress_(1.0);
        return summary();
    }

private:
    void take(std::size_t index) {
        const FecOptions& options = shared_.options;
        const std::string& path = options.paths[index];
        const auto count = static_cast<double>(options.paths.size());
        const std::function<void(double)> progress = [&](double fraction) {
            if (progress_) progress_((static_cast<double>(index) + fraction) / count);
        };
        FecFile file(path);
        const FecFacts facts = look_at(file, [&](std::uint64_t bytes) {
            progress(0.1 * static_cast<double>(bytes) /
                     static_cast<double>(std::max<std::uint64_t>(file.size(), 1)));
        });
        const std::string key = "FEC" + options.entity + facts.fingerprint;
        if (!taken_.insert(key).second) {
            remarks_.push_back(sanitize(path) + " : même contenu qu'un fichier qui précède, compté une fois");
            return;
        }
        const FileId tables = shared_.store.file(files::TABLES);
        std::string known;
        FecOutcome outcome;
        if (shared_.store.read(tables, key, known)) {
            outcome = outcome_of(std::move(known));
            if (outcome.options != letters_of(options))
                throw BadInput(path, 0,
                               "ce fichier est déjà dans la base avec d'autres options (--brouillards, "
                               "--auxiliaires ou --hors-bornes)");
        } else {
            outcome = FileImport(shared_, file, facts, progress).run();
            outcome.options = letters_of(options);
            shared_.store.write(tables, key, text_of(outcome));
            anything_new_ = true;
        }
        gather(outcome, options.paths.size() > 1 ? sanitize(path) + " : " : "");
    }

    void gather(const FecOutcome& outcome, const std::string& prefix) {
        total_.lines += outcome.lines;
        total_.entries += outcome.entries;
        total_.drafts += outcome.drafts;
        total_.outside += outcome.outside;
        total_.debit = add_amounts(total_.debit, outcome.debit);
        total_.credit = add_amounts(total_.credit, outcome.credit);
        total_.accounts.insert(outcome.accounts.begin(), outcome.accounts.end());
        total_.journals.insert(outcome.journals.begin(), outcome.journals.end());
        for (const std::string& remark : outcome.remarks)
            remarks_.push_back(prefix + remark);
    }

    FecSummary summary() {
        return {
            total_.lines,       total_.entries, total_.accounts.size(),       total_.journals.size(),
            total_.drafts,      total_.outside, std::to_string(total_.debit), std::to_string(total_.credit),
            std::move(remarks_)};
    }

    const std::function<void(double)>& progress_;
    Shared shared_;
    std::set<std::string> taken_;
    bool anything_new_ = false;
    FecOutcome total_;
    std::vector<std::string> remarks_;
};

} // namespace

std::string FecSummary::to_json() const {
    std::string out = "{";
    const auto member = [&out](std::string_view name) {
        if (out.size() > 1) out.push_back(',');
        append_json(out, name);
        out.push_back(':');
    };
    const std::pair<std::string_view, std::uint64_t> counts[] = {
        {"lignes", lines},      {"ecritures", entries},  {"comptes", accounts},
        {"journaux", journals}, {"brouillards", drafts}, {"hors_bornes", outside_bounds}};
    for (const auto& [name, value] : counts) {
        member(name);
        out.append(std::to_string(value));
    }
    member("debit");
    append_json(out, debit);
    member("credit");
    append_json(out, credit);
    member("remarques");
    out.push_back('[');
    for (std::size_t i = 0; i < remarks.size(); ++i) {
        if (i > 0) out.push_back(',');
        append_json(out, remarks[i]);
    }
    out.append("]}");
    return out;
}

std::string fault_of_options(const FecOptions& options) {
    const auto is_text = [](const std::string& text) { return is_utf8(text) && !has_control(text); };
    if (options.paths.empty()) return "aucun fichier à importer";
    if (std::count(options.paths.begin(), options.paths.end(), "-") > 1)
        return "l'entrée standard ne peut être lue qu'une fois";
    if (char_count(options.entity) != 3 || !is_text(options.entity) ||
        options.entity.find_first_of(" \"|]/\\,") != std::string::npos)
        return "le code d'entité doit avoir 3 caractères, sans blanc ni guillemet";
    if (trim_blanks(options.name).empty() || !is_text(options.name))
        return "le nom de l'entité manque ou n'est pas un texte";
    if (!is_text(options.address) || std::count(options.address.begin(), options.address.end(), '|') > 2)
        return "l'adresse s'écrit \"ligne 1|ligne 2|code postal ville\"";
    if (options.first_day && options.last_day && *options.first_day > *options.last_day)
        return "le début de l'exercice est après sa fin";
    return "";
}

FecSummary import_fec(Store& store, const FecOptions& options,
                      const std::function<void(double fraction)>& progress) {
    if (std::string fault = fault_of_options(options); !fault.empty())
        throw BadInput("", 0, std::move(fault));
    Transaction transaction(store);
    FecSummary summary = Import(store, options, progress).run();
    transaction.commit();
    return summary;
}

} // namespace corvalissement
