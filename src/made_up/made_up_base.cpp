#include "made_up/made_up_base.h"

#include "data/dyn_array.h"
#include "data/keys.h"
#include "made_up/made_up_names.h"
#include "records/bad_input.h"
#include "records/ledger_writer.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace corvalissement {

namespace {

using namespace made_up;

constexpr std::string_view ENTITY = "001";
constexpr std::int64_t FIRST_DAY[] = {44'927, 45'292, 45'658}; // 1 January 2023, 2024, 2025
constexpr std::int64_t DAYS[] = {365, 366, 365};

struct NamedJournal {
    std::string_view code;
    std::string_view label;
};
constexpr NamedJournal JOURNALS[] = {{"AC", "Achats"},
                                     {"AN", "À nouveaux"},
                                     {"BQ", "Banque"},
                                     {"OD", "Opérations diverses"},
                                     {"VE", "Ventes"}};
enum JournalIndex : std::size_t { ACHATS, A_NOUVEAUX, BANQUE, DIVERSES, VENTES };

constexpr std::string_view ORDERS = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::uint64_t MOST_LINES = 10'000'000; // of one base, which no journal's numbering can exceed
constexpr std::uint64_t LINES_OF_SEQUENCE = 99'999;

// Pseudo-random numbers that are the same on every machine, unlike those of the standard distributions.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    // A number from 0 to `bound` - 1. The slight bias of the remainder does no harm here.
    std::uint64_t below(std::uint64_t bound) {
        state_ += 0x9E3779B97F4A7C15U;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
        return (z ^ (z >> 31U)) % bound;
    }
    bool once_in(std::uint64_t n) { return below(n) == 0; }
    template <class Table>
    const auto& one_of(const Table& table) {
        return table[static_cast<std::size_t>(below(std::size(table)))];
    }

private:
    std::uint64_t state_;
};

struct Account {
    std::string number;
    std::string label;
    std::size_t id = 0;          // at the ledger writer
    std::uint32_t lettering = 0; // codes given out so far
};

// A business partner's name; different for some thousands of consecutive indexes.
std::string partner_name(std::uint64_t index) {
    std::string name(TRADES[index % std::size(TRADES)]);
    name.append(" ").append(SURNAMES[index % std::size(SURNAMES)]);
    const std::uint64_t round = index / (std::size(TRADES) * std::size(SURNAMES));
    name.insert(0, std::string(FORMS[(index + round) % std::size(FORMS)]) + " ");
    if (round > 0) name.append(" & Fils n° " + std::to_string(round));
    return name;
}

// Two capitals, AA to ZZ and again from AA: the second is never "1", which would mean "not lettered".
std::string lettering_code(std::uint32_t number) {
    return {static_cast<char>('A' + number / 26 % 26), static_cast<char>('A' + number % 26)};
}

// The chart, by the part that an account plays in entries.
class Chart {
public:
    explicit Chart(std::uint64_t size) {
        const std::uint64_t fixed = std::min<std::uint64_t>(size, std::size(CHART));
        for (std::uint64_t i = 0; i < fixed; ++i)
            add(std::string(CHART[i].number), std::string(CHART[i].label));
        // Beyond the fixed ones ten customers go with six suppliers, three charges and one product.
        for (std::uint64_t i = 0; fixed + i < size; ++i) {
            const std::uint64_t place = i % 20;
            const std::uint64_t rank = i / 20;
            if (place < 10) {
                add_numbered("411", rank * 10 + place + 2, "");
            } else if (place < 16) {
                add_numbered("401", rank * 6 + place - 10 + 2, "");
            } else {
                const std::uint64_t other = rank * 4 + place - 16;
                std::string label(GOODS[other % std::size(GOODS)]);
                add_numbered(place < 19 ? "608" : "709", other + 1, label + " " + std::to_string(other + 1));
            }
        }
    }

    std::vector<Account> all;
    std::vector<std::size_t> customers, suppliers, charges, products, others;
    static constexpr std::size_t BANK = 0, VAT_PAID = 3, VAT_DUE = 4;

private:
    void add_numbered(std::string_view prefix, std::uint64_t rank, std::string label) {
        std::string number(prefix);
        append_padded(number, rank, 7);
        add(std::move(number), std::move(label));
    }

    void add(std::string number, std::string label) {
        number.resize(10, '0');
        const std::size_t at = all.size();
        if (number.starts_with("401")) {
            if (label.empty()) label = partner_name(suppliers.size() * 2 + 1);
            suppliers.push_back(at);
        } else if (number.starts_with("411")) {
            if (label.empty()) label = partner_name(customers.size() * 2);
            customers.push_back(at);
        } else if (number.front() == '6') {
            charges.push_back(at);
        } else if (number.front() == '7') {
            products.push_back(at);
        } else if (at > VAT_DUE) {
            others.push_back(at);
        }
        all.push_back({std::move(number), std::move(label)});
    }
};

struct Line {
    std::size_t account = 0;
    std::int64_t debit = 0; // one of the two is 0, or both on a line that stands alone
    std::int64_t credit = 0;
    std::string lettering;
    std::int64_t due_in = 0; // days from the entry to the due date, 0 for none
    std::int64_t quantity = 0;
};

struct Entry {
    JournalIndex journal = DIVERSES;
    std::string label;
    std::string piece;
    std::vector<Line> lines;
};

// An invoice that is to be paid and bears a lettering code already.
struct OpenInvoice {
    std::size_t account = 0;
    std::int64_t amount = 0;
    std::string lettering;
    std::string piece;
};

class EntryMaker {
public:
    EntryMaker(Chart& chart, std::uint64_t seed) : chart_(chart), random_(seed) {}

    static constexpr std::uint64_t LONGEST = 9; // lines of the longest entry made below

    // One entry when `left` lines are still to be made. What remains is never a single line, and the open
    // invoices are paid before the end: each takes two lines, an odd number first an entry of three.
    Entry next(std::uint64_t left) {
        if (left == 1) return single();
        if (!has_room(left)) {
            if (left % 2 == 1) return transfer(3);
            return open_.empty() ? transfer(2) : payment();
        }
        if (open_.size() >= 32 || (!open_.empty() && random_.once_in(3))) return payment();
        switch (random_.below(8)) {
        case 0:
            return transfer(2 + random_.below(2));
        case 1:
        case 2:
        case 3:
            return invoice(false);
        default:
            return invoice(true);
        }
    }

    // Whether an entry of free choice can still be made before the open invoices have to be paid.
    [[nodiscard]] bool has_room(std::uint64_t left) const { return left > 2 * open_.size() + LONGEST + 3; }

    Entry opening() {
        Entry entry = transfer(2);
        entry.journal = A_NOUVEAUX;
        entry.label = "Report à nouveau";
        entry.piece = "RAN";
        return entry;
    }

    // An entry for a draft of that many lines, one to three.
    Entry draft(std::uint64_t lines) {
        Entry entry = lines == 1 ? single() : transfer(lines);
        entry.label = "Saisie en attente " + entry.piece;
        return entry;
    }

private:
    std::int64_t amount() {
        const std::int64_t cents = static_cast<std::int64_t>(random_.below(500'000)) + 100;
        return random_.once_in(4) ? cents / 100 * 100 : cents;
    }

    std::string piece(std::string_view prefix) {
        std::string text(prefix);
        if (random_.once_in(16)) text.append("-2024-");
        append_padded(text, ++pieces_, 6);
        return text;
    }

    std::size_t pick(const std::vector<std::size_t>& from) { return random_.one_of(from); }

    Entry single() {
        Entry entry;
        entry.label = "Ligne sans montant";
        entry.piece = piece("OD");
        entry.lines = {{Chart::BANK, 0, 0, "", 0, 0}};
        return entry;
    }

    // Between a bank account and one or two of the rest, money going either way.
    Entry transfer(std::uint64_t lines) {
        const std::int64_t sum = amount() * 2;
        const bool in = random_.once_in(2);
        Entry entry;
        const std::size_t other = chart_.others.empty() ? pick(chart_.charges) : pick(chart_.others);
        entry.label = "Écriture de régularisation - " + chart_.all[other].label;
        entry.piece = piece("OD");
        entry.lines.push_back({Chart::BANK, in ? sum : 0, in ? 0 : sum, "", 0, 0});
        std::int64_t rest = sum;
        if (lines == 3) {
            const std::int64_t part = sum / 3;
            const std::size_t third = pick(chart_.charges);
            entry.lines.push_back({third, in ? 0 : part, in ? part : 0, "", 0, 0});
            rest -= part;
        }
        entry.lines.push_back({other, in ? 0 : rest, in ? rest : 0, "", 0, 0});
        return entry;
    }

    // A sale or a purchase: one to six lines of one charge or product, one after the other with one label
    // and one piece, then tax, then the third party.
    Entry invoice(bool sale) {
        const std::size_t party = pick(sale ? chart_.customers : chart_.suppliers);
        const std::size_t counterpart = pick(sale ? chart_.products : chart_.charges);
        Entry entry;
        entry.journal = sale ? VENTES : ACHATS;
        entry.piece = piece(sale ? "FA" : "AC");
        entry.label = (sale ? "Facture " : "Achat ") + chart_.all[party].label;
        std::int64_t net = 0;
        for (std::uint64_t run = random_.once_in(2) ? 1 : 1 + random_.below(6); run > 0; --run) {
            const std::int64_t value = amount();
            net += value;
            Line line{counterpart, sale ? 0 : value, sale ? value : 0, "", 0, 0};
            if (random_.once_in(5)) line.quantity = static_cast<std::int64_t>(random_.below(400) + 1) * 25;
            entry.lines.push_back(line);
        }
        const std::int64_t tax = (net + 2) / 5;
        entry.lines.push_back(
            {sale ? Chart::VAT_DUE : Chart::VAT_PAID, sale ? 0 : tax, sale ? tax : 0, "", 0, 0});
        Line last{party, sale ? net + tax : 0, sale ? 0 : net + tax, "", 30, 0};
        if (!random_.once_in(4)) {
            last.lettering = lettering_code(chart_.all[party].lettering++);
            open_.push_back({party, sale ? net + tax : -(net + tax), last.lettering, entry.piece});
        } else if (random_.once_in(16)) {
            last.lettering = "A1"; // a mark that counts as not lettered
        }
        entry.lines.push_back(last);
        return entry;
    }

    // Pays one of the open invoices, customer (amount above 0) or supplier, under its code.
    Entry payment() {
        const std::size_t chosen = static_cast<std::size_t>(random_.below(open_.size()));
        std::swap(open_[chosen], open_.back());
        const OpenInvoice paid = open_.back();
        open_.pop_back();
        Entry entry;
        entry.journal = BANQUE;
        entry.label = "Règlement " + paid.piece + " " + chart_.all[paid.account].label;
        entry.piece = piece("BQ");
        const std::int64_t in = std::max<std::int64_t>(paid.amount, 0);
        const std::int64_t out = std::max<std::int64_t>(-paid.amount, 0);
        entry.lines = {{Chart::BANK, in, out, "", 0, 0}, {paid.account, out, in, paid.lettering, 0, 0}};
        return entry;
    }

    Chart& chart_;
    Random random_;
    std::vector<OpenInvoice> open_;
    std::uint64_t pieces_ = 0;
};

EntryText text_of(const Entry& entry, const Line& line, std::int64_t date) {
    EntryText text;
    text.date = date;
    text.label = entry.label;
    text.piece = entry.piece;
    text.lettering = line.lettering;
    if (line.credit != 0) {
        text.credit = line.credit;
    } else {
        text.debit = line.debit;
    }
    if (line.due_in != 0) text.due_date = date + line.due_in;
    if (line.quantity != 0) text.quantity = line.quantity;
    return text;
}

class BaseMaker {
public:
    BaseMaker(Store& store, const MadeUpOptions& options, const std::function<void(double)>& progress)
        : store_(store), options_(options), progress_(progress), chart_(chart_size(options)),
          maker_(chart_, options.seed), ledger_(store, std::string(ENTITY)) {
        for (Account& account : chart_.all)
            account.id = ledger_.account(account.number);
        for (const NamedJournal& named : JOURNALS)
            journals_.push_back(ledger_.journal(named.code));
    }

    void run() {
        write_heads();
        write_entries();
        write_drafts();
        ledger_.write_balances();
        if (progress_) progress_(1.0);
    }

private:
    static std::uint64_t chart_size(const MadeUpOptions& options) {
        if (options.accounts != 0) return std::max<std::uint64_t>(options.accounts, 7);
        return std::max<std::uint64_t>(20, options.lines / 500);
    }

    void write(std::string_view file, std::string_view key, const std::vector<std::string>& attributes) {
        DynArray record;
        for (std::size_t i = 0; i < attributes.size(); ++i)
            record.set(i + 1, attributes[i]);
        store_.write(store_.file(file), key, record.text());
    }

    void write_heads() {
        write(files::ASSOCIATION, ENTITY,
              {"Association Cœur d'Été", "", "12 bis", "rue de l'Église", "", "", "Bâtiment B", "35000",
               "Rennes"});
        const auto day = [](std::size_t year, bool last) {
            return std::to_string(FIRST_DAY[year] + (last ? DAYS[year] - 1 : 0));
        };
        write(files::PARAMENTITECOMPTA, ENTITY, {day(1, false), day(1, true), day(2, false), day(2, true)});
        for (const NamedJournal& named : JOURNALS)
            write(files::JOURNAL, std::string(ENTITY).append(named.code), {std::string(named.label)});
        for (const Account& account : chart_.all)
            write(files::PLANCOMPTABLE, std::string(ENTITY) + account.number, {account.label});
    }

    // One line in ten lies in the year before and one in ten in the year after; dates rise through a year.
    void write_entries() {
        const std::uint64_t before = options_.lines / 10;
        const std::uint64_t ends[] = {before, options_.lines - before, options_.lines};
        std::uint64_t done = 0;
        for (std::size_t year = 0; year < 3; ++year) {
            const std::uint64_t start = done;
            while (done < ends[year]) {
                const std::uint64_t left = options_.lines - done;
                const bool opens = done == start && maker_.has_room(left);
                const Entry entry = opens ? maker_.opening() : maker_.next(left);
                const auto days = static_cast<std::uint64_t>(DAYS[year]);
                const std::uint64_t day = (done - start) * days / (ends[year] - start);
                write_entry(static_cast<Exercice>(year), entry,
                            FIRST_DAY[year] + static_cast<std::int64_t>(day));
                done += entry.lines.size();
                if (progress_ && (done & 0xFFFU) < entry.lines.size())
                    progress_(0.95 * static_cast<double>(done) / static_cast<double>(options_.lines));
            }
        }
    }

    void write_entry(Exercice period, const Entry& entry, std::int64_t date) {
        for (const Line& line : entry.lines)
            ledger_.add(period, journals_[entry.journal], chart_.all[line.account].id,
                        text_of(entry, line, date));
    }

    // As many sequences of about a dozen lines as the order numbers allow: 36 for a journal and a year.
    void write_drafts() {
        constexpr std::uint64_t PLACES = std::size(JOURNALS) * 2;
        const std::uint64_t sequences = std::clamp<std::uint64_t>(
            options_.drafts / 12, options_.drafts > 0 ? 1 : 0, PLACES * ORDERS.size());
        for (std::uint64_t s = 0; s < sequences; ++s) {
            const std::uint64_t lines =
                options_.drafts * (s + 1) / sequences - options_.drafts * s / sequences;
            const Exercice period = s / std::size(JOURNALS) % 2 == 0 ? Exercice::courant : Exercice::suivant;
            const SequenceKey key{ENTITY, JOURNALS[s % std::size(JOURNALS)].code, exercice::code_of(period),
                                  ORDERS.substr(s / PLACES, 1)};
            write_sequence(key.text(), period, lines);
        }
    }

    void write_sequence(const std::string& sequence, Exercice period, std::uint64_t lines) {
        const FileId file = store_.file(files::BROUILLARDDETAIL);
        const std::int64_t first = FIRST_DAY[static_cast<std::size_t>(period)];
        std::int64_t totals[2] = {0, 0};
        std::string record;
        for (std::uint64_t done = 0; done < lines;) {
            const std::uint64_t left = lines - done;
            const Entry entry = maker_.draft(left == 1 || left == 3 ? left : 2);
            for (const Line& line : entry.lines) {
                std::string key = sequence;
                append_padded(key, ++done, 5);
                const std::string account = std::string(ENTITY) + chart_.all[line.account].number;
                const auto day = first + static_cast<std::int64_t>(done * 300 / lines);
                compose_entry(record, account, text_of(entry, line, day));
                store_.write(file, key, record);
                totals[0] += line.debit;
                totals[1] += line.credit;
            }
        }
        write(files::BROUILLARDTETE, sequence, {"", std::to_string(totals[0]), std::to_string(totals[1])});
    }

    Store& store_;
    const MadeUpOptions& options_;
    const std::function<void(double)>& progress_;
    Chart chart_;
    EntryMaker maker_;
    LedgerWriter ledger_;
    std::vector<std::size_t> journals_;
};

} // namespace

std::string fault_of_options(const MadeUpOptions& options) {
    if (options.lines > MOST_LINES || options.accounts > 1'000'000)
        return "une base de cette taille n'est pas possible : 10 000 000 de lignes et "
               "1 000 000 de comptes au plus";
    if (options.drafts > std::size(JOURNALS) * 2 * ORDERS.size() * LINES_OF_SEQUENCE)
        return "trop de lignes de brouillard : une séquence en tient 99 999 au plus";
    return {};
}

void make_up_base(Store& store, const MadeUpOptions& options,
                  const std::function<void(double fraction)>& progress) {
    if (std::string fault = fault_of_options(options); !fault.empty()) throw BadInput("", 0, fault);
    Transaction transaction(store);
    std::string standing;
    if (store.read(store.file(files::ASSOCIATION), ENTITY, standing))
        throw BadInput("", 0, "la base contient déjà l'entité 001 ; choisissez une base neuve");
    BaseMaker(store, options, progress).run();
    transaction.commit();
}

} // namespace corvalissement
