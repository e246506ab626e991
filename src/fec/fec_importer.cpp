#include "fec/fec_importer.h"

#include "data/dyn_array.h"
#include "data/keys.h"
#include "fec/entity_records.h"
#include "fec/fec_one_file.h"
#include "platform/calendar.h"
#include "platform/text.h"
#include "records/bad_input.h"
#include "records/json_text.h"

#include <algorithm>
#include <memory>
#include <set>
#include <utility>

namespace corvalissement {

namespace {

std::string quoted(std::string_view text) { return "« " + std::string(text) + " »"; }

// The letters of the options that shape what a file becomes.
std::string letters_of(const FecOptions& options) {
    return std::string(options.drafts ? "B" : "") + (options.auxiliaries ? "A" : "") +
           (options.outside_bounds ? "H" : "");
}

bool contradict(const FecOptions& options, const FiscalYears& standing) {
    return (options.first_day && *options.first_day != standing.first_day) ||
           (options.last_day && *options.last_day != standing.last_day);
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

// A file and what one pass over its bytes tells.
struct LookedAt {
    std::unique_ptr<FecFile> file;
    FecFacts facts;
};

// Takes the files one after the other.
class Import {
public:
    Import(Store& store, const FecOptions& options, const std::function<void(double)>& progress)
        : progress_(progress), shared_{store, options, CodeBook(store, options.entity),
                                       LedgerWriter(store, options.entity), std::nullopt} {
        if (options.trial) shared_.plan = &plan_.emplace();
    }

    FecSummary run() {
        settle_known_years();
        for (std::size_t i = 0; i < shared_.options.paths.size(); ++i)
            take(i);
        if (anything_new_) {
            write_entity(shared_.store, shared_.options, remarks_);
            if (shared_.years) write_years(shared_.store, shared_.options.entity, shared_.years->years);
            shared_.ledger.write_balances();
        }
        if (progress_) progress_(1.0);
        return summary();
    }

private:
    // The base's years count, unless the options may set right what an import has guessed.
    void settle_known_years() {
        const FecOptions& options = shared_.options;
        const auto standing = years_of_entity(shared_.store, options.entity);
        const bool given = options.first_day || options.last_day;
        if (standing && !(given && contradict(options, *standing))) {
            shared_.years = {*standing, given ? YearSource::options : YearSource::base};
            return;
        }
        sets_years_ = true;
        if (!given) return;
        shared_.years = {years_from_bounds(options.first_day, options.last_day), YearSource::options};
        if (!standing) return;
        if (std::string fault = fault_of_correction(*standing); !fault.empty())
            throw BadInput("", 0,
                           "dans la base, l'exercice N de l'entité " + options.entity + " va du " +
                               date_text(standing->first_day) + " au " + date_text(standing->last_day) +
                               ", ce que --debut et --fin contredisent ; " + fault);
        erase_entries(shared_.store, options.entity);
        remarks_.push_back("l'exercice N de l'entité " + options.entity + " allait du " +
                           date_text(standing->first_day) + " au " + date_text(standing->last_day) +
                           " ; ses fichiers sont importés de nouveau avec les bornes données");
    }

    // Why the entity's records can't be made again from the files of this call; "" when they can: all of them
    // came from these files, and the years with them.
    std::string fault_of_correction(const FiscalYears& standing) {
        std::set<std::string> fingerprints;
        for (std::size_t i = 0; i < shared_.options.paths.size(); ++i) {
            looked_at_.push_back(look(i, {}));
            fingerprints.insert(fec_key(shared_.options.entity, looked_at_.back().facts.fingerprint));
        }
        std::uint64_t entries = 0;
        std::uint64_t drafts = 0;
        bool set_by_import = false;
        for (const std::string& key : fec_keys(shared_.store, shared_.options.entity)) {
            if (!fingerprints.contains(key))
                return "elle contient un autre fichier de cette entité, qui a été pris avec ces bornes";
            std::string record;
            static_cast<void>(shared_.store.read(shared_.store.file(files::TABLES), key, record));
            const FecOutcome outcome = outcome_of(std::move(record));
            entries += outcome.entries;
            drafts += outcome.taken_lines() - std::min(outcome.taken_lines(), outcome.entries);
            set_by_import = set_by_import || (outcome.sets_years && outcome.years &&
                                              outcome.years->years.first_day == standing.first_day &&
                                              outcome.years->years.last_day == standing.last_day);
        }
        if (!set_by_import) return "ces bornes ne viennent pas d'une importation de ce fichier";
        if (entries != count_entries(shared_.store, shared_.options.entity) ||
            drafts != count_draft_lines(shared_.store, shared_.options.entity))
            return "elle contient d'autres écritures de cette entité que celles de ce fichier";
        return "";
    }

    [[nodiscard]] LookedAt look(std::size_t index, const std::function<void(double)>& progress) const {
        LookedAt looked{std::make_unique<FecFile>(shared_.options.paths[index]), {}};
        const auto size = static_cast<double>(std::max<std::uint64_t>(looked.file->size(), 1));
        looked.facts = look_at(*looked.file, [&](std::uint64_t bytes) {
            if (progress) progress(0.1 * static_cast<double>(bytes) / size);
        });
        return looked;
    }

    void take(std::size_t index) {
        const FecOptions& options = shared_.options;
        const std::string& path = options.paths[index];
        const auto count = static_cast<double>(options.paths.size());
        const std::function<void(double)> progress = [&](double fraction) {
            if (progress_) progress_((static_cast<double>(index) + fraction) / count);
        };
        const LookedAt looked =
            index < looked_at_.size() ? std::move(looked_at_[index]) : look(index, progress);
        const std::string key = fec_key(options.entity, looked.facts.fingerprint);
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
            check_company(path);
            outcome = take_file(shared_, *looked.file, looked.facts, progress);
            outcome.options = letters_of(options);
            outcome.sets_years = std::exchange(sets_years_, false);
            shared_.store.write(tables, key, text_of(outcome));
            anything_new_ = true;
            shared_.years_of_this_call = true;
        }
        gather(outcome, options.paths.size() > 1 ? sanitize(path) + " : " : "");
    }

    // Two companies in one entity would be added up without a way back.
    void check_company(const std::string& path) {
        const FecOptions& options = shared_.options;
        const std::string company = fec_name(path).company;
        if (company.empty()) return;
        const auto known = companies_of(shared_.store, options.entity);
        if (!known.empty() && std::find(known.begin(), known.end(), company) == known.end() &&
            !options.same_entity) {
            std::string others;
            for (const std::string& other : known)
                others += (others.empty() ? "" : ", ") + other;
            throw OtherCompany(
                path,
                "le nom du fichier est celui de l'entreprise " + company + ", alors que l'entité " +
                    options.entity + " contient les écritures de " + others,
                "donnez-lui une autre entité, par exemple --entite " + first_free_entity(shared_.store) +
                    ", ou confirmez par --meme-entite que c'est la même");
        }
        note_company(shared_.store, options.entity, company);
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
        if (outcome.years) {
            if (!total_.years) total_.years = outcome.years;
            for (std::size_t i = 0; i < total_.taken.size(); ++i)
                add(total_.taken[i], outcome.taken[i]);
        } else {
            remarks_.push_back(prefix + "importé par une version antérieure, qui n'a pas gardé ce que chaque "
                                        "exercice a reçu");
        }
        for (const std::string& remark : outcome.remarks)
            remarks_.push_back(prefix + remark);
    }

    static void add(LineSums& total, const LineSums& sums) {
        total.lines += sums.lines;
        total.debit = add_amounts(total.debit, sums.debit);
        total.credit = add_amounts(total.credit, sums.credit);
    }

    FecSummary summary() {
        FecSummary told;
        told.lines = total_.lines;
        told.entries = total_.entries;
        told.accounts = total_.accounts.size();
        told.journals = total_.journals.size();
        told.drafts = total_.drafts;
        told.outside_bounds = total_.outside;
        told.debit = std::to_string(total_.debit);
        told.credit = std::to_string(total_.credit);
        told.remarks = std::move(remarks_);
        told.plan = std::move(plan_);
        if (!shared_.years) return told;
        // A file that the base has already tells where its bounds came from then.
        const FiscalYears& years = shared_.years->years;
        const bool same = total_.years && total_.years->years.first_day == years.first_day &&
                          total_.years->years.last_day == years.last_day;
        const YearSource source = same ? total_.years->source : shared_.years->source;
        for (const Exercice period : {Exercice::precedent, Exercice::courant, Exercice::suivant}) {
            const auto i = static_cast<std::size_t>(period);
            const auto [first, last] = years.bounds_of(period);
            told.years[i] = {first, last, std::string(name_of(source)), total_.taken[i]};
            add(told.taken, total_.taken[i]);
        }
        return told;
    }

    const std::function<void(double)>& progress_;
    std::optional<FecPlan> plan_; // of a trial; before the state, which points to it
    FecImportState shared_;
    std::vector<LookedAt> looked_at_; // beforehand, when a correction asked for them
    std::set<std::string> taken_;
    bool anything_new_ = false;
    bool sets_years_ = false; // the next file to be taken does
    FecOutcome total_;
    std::vector<std::string> remarks_;
};

void append_codes(std::string& out, std::string_view name, const std::vector<FecPlan::Code>& codes) {
    append_json(out, name);
    out.append(":[");
    for (std::size_t i = 0; i < codes.size(); ++i) {
        out.append(i > 0 ? ",{\"nom\":" : "{\"nom\":");
        append_json(out, codes[i].name);
        out.append(",\"code\":");
        append_json(out, codes[i].code);
        out.append(",\"libelle\":");
        append_json(out, codes[i].label);
        out.push_back('}');
    }
    out.push_back(']');
}

void append_plan(std::string& out, const FecPlan& plan) {
    out.append(",\"plan\":{");
    append_codes(out, "journaux", plan.journals);
    out.push_back(',');
    append_codes(out, "comptes", plan.accounts);
    out.append(",\"lettrage\":{\"remplaces\":" + std::to_string(plan.lettering_replaced) + ",\"exemple\":");
    append_json(out, plan.lettering_example);
    out.append("}}");
}

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
    const auto sums = [&](const LineSums& of) {
        out.append("\"lignes\":" + std::to_string(of.lines) + ",\"debit\":\"" + std::to_string(of.debit) +
                   "\",\"credit\":\"" + std::to_string(of.credit) + "\"}");
    };
    member("pris");
    out.push_back('{');
    sums(taken);
    member("exercices");
    out.push_back('{');
    constexpr std::string_view NAMES[] = {exercice::PRECEDENT, exercice::COURANT, exercice::SUIVANT};
    for (std::size_t i = 0; i < years.size() && !years[i].source.empty(); ++i) {
        if (i > 0) out.push_back(',');
        append_json(out, NAMES[i]);
        out.append(":{\"debut\":\"" + date_text(years[i].first_day) + "\",\"fin\":\"" +
                   date_text(years[i].last_day) + "\",\"source\":");
        append_json(out, years[i].source);
        out.push_back(',');
        sums(years[i].taken);
    }
    out.push_back('}');
    member("remarques");
    out.push_back('[');
    for (std::size_t i = 0; i < remarks.size(); ++i) {
        if (i > 0) out.push_back(',');
        append_json(out, remarks[i]);
    }
    out.push_back(']');
    if (plan) append_plan(out, *plan);
    return out + "}";
}

std::string fault_of_options(const FecOptions& options) {
    const auto is_text = [](const std::string& text) { return is_utf8(text) && !has_control(text); };
    if (options.paths.empty()) return "aucun fichier à importer";
    if (std::count(options.paths.begin(), options.paths.end(), "-") > 1)
        return "l'entrée standard ne peut être lue qu'une fois";
    if (char_count(options.entity) != 3 || !is_text(options.entity) ||
        options.entity.find_first_of(" \"|]/\\,") != std::string::npos)
        return "le code d'entité doit avoir 3 caractères, sans blanc ni aucun des signes \" | ] / \\ ,";
    if (trim_blanks(options.name).empty() || !is_text(options.name))
        return "le nom de l'entité manque ou n'est pas un texte";
    if (!is_text(options.address) || std::count(options.address.begin(), options.address.end(), '|') > 2)
        return "l'adresse s'écrit \"ligne 1|ligne 2|code postal ville\"";
    for (const auto& bound : {options.first_day, options.last_day}) {
        CivilDate date;
        if (bound && (!civil_from_day(*bound, date) || date.year < FIRST_YEAR || date.year > LAST_YEAR))
            return "les bornes de l'exercice sont hors des années 1900 à 2099";
    }
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
    if (!options.trial) transaction.commit();
    return summary;
}

} // namespace corvalissement
