#include "fec/fec_years.h"

#include "platform/calendar.h"
#include "platform/text.h"

#include <algorithm>
#include <array>

namespace corvalissement {

namespace {

constexpr std::array<std::string_view, 5> SOURCES{"options", "base", "nom du fichier", "à-nouveaux", "dates"};

constexpr int MONTHS_TO_CLOSING = 5; // from the last line of a year to its end; half a year is fiction
// One line in so many may lie where it should not: behind a closing day, and behind one that ends twelve
// months which start with the file.
constexpr std::uint64_t STRAYS = 20;
constexpr std::uint64_t STRAYS_OF_A_YEAR = 3;

// Accounts of a balance sheet (classes 1 to 5), and those of them that tell it from any other entry: capital,
// and what is owned.
constexpr unsigned BALANCE_SHEET = 0b111110;
constexpr unsigned CAPITAL = 0b000010;
constexpr unsigned OWNED = 0b101100;

bool is_balance_sheet(unsigned classes) {
    return (classes & ~BALANCE_SHEET) == 0 && (classes & CAPITAL) != 0 && (classes & OWNED) != 0;
}

unsigned class_bit(std::string_view account) {
    const char digit = account.front();
    return digit >= '0' && digit <= '9' ? 1U << static_cast<unsigned>(digit - '0') : 1U << 10U;
}

// Capital letters of the alphabet alone: accents, blanks, signs and figures make no difference.
std::string letters_of(std::string_view text) {
    std::string letters;
    for (const char c : fold(text)) {
        if (c >= 'a' && c <= 'z') letters.push_back(static_cast<char>(c - 'a' + 'A'));
        if (c >= 'A' && c <= 'Z') letters.push_back(c);
    }
    return letters;
}

template <class Texts, class Test>
bool any(const Texts& texts, Test test) {
    return std::any_of(std::begin(texts), std::end(texts), test);
}

// A journal of opening entries, by its code or by its name.
bool names_openings(std::string_view code, std::string_view label) {
    constexpr std::string_view CODES[] = {"AN",   "ANO",   "ANX",      "ANV",       "ANOU", "ANOUV",
                                          "RANO", "ANOUX", "ANOUVEAU", "ANOUVEAUX", "RAN",  "OUV"};
    constexpr std::string_view NAMES[] = {"ANOUV", "OUVERTURE", "BALANCEINITIALE", "BILANINITIAL"};
    constexpr std::string_view OTHERS[] = {"ANNUL", "ANALY", "ANCIEN"};
    const std::string letters = letters_of(label);
    const auto in_label = [&](std::string_view part) { return letters.find(part) != std::string::npos; };
    if (any(NAMES, in_label)) return true;
    const std::string code_letters = letters_of(code);
    return any(CODES, [&](std::string_view known) { return code_letters == known; }) &&
           !any(OTHERS, in_label);
}

// A label that opens an account. One that only speaks of "report à nouveau" further on shares out a profit.
bool labels_opening(std::string_view label) {
    constexpr std::string_view STARTS[] = {
        "ANOUV",           "REPORTANOUV",      "REPORTSANOUV",      "REPORTDESANOUV",
        "REPRISEANOUV",    "REPRISEDESANOUV",  "SOLDEANOUV",        "SOLDESANOUV",
        "SOLDEDOUVERTURE", "SOLDESDOUVERTURE", "BILANDOUVERTURE",   "OUVERTURE",
        "SOLDEINITIAL",    "BALANCEINITIALE",  "BALANCEDOUVERTURE", "ECRITURESDOUVERTURE"};
    // Most labels show by their first letter that they don't.
    const auto first = static_cast<unsigned char>(label.empty() ? ' ' : label.front() | 0x20);
    if (first >= 'a' && first <= 'z' &&
        std::string_view("abeors").find(static_cast<char>(first)) == std::string_view::npos)
        return false;
    const std::string letters = letters_of(label);
    return letters == "AN" || letters == "RAN" ||
           any(STARTS, [&](std::string_view start) { return letters.starts_with(start); });
}

} // namespace

std::string_view name_of(YearSource source) noexcept { return SOURCES[static_cast<std::size_t>(source)]; }

std::optional<YearSource> year_source_of(std::string_view name) noexcept {
    const auto* const found = std::find(SOURCES.begin(), SOURCES.end(), name);
    if (found == SOURCES.end()) return std::nullopt;
    return static_cast<YearSource>(found - SOURCES.begin());
}

FecName fec_name(std::string_view path) {
    constexpr std::size_t SIREN = 9;
    const std::size_t slash = path.rfind('/');
    if (slash != std::string_view::npos) path.remove_prefix(slash + 1);
    const std::string name = capitals(path);
    FecName told;
    for (std::size_t at = name.find("FEC"); at != std::string::npos; at = name.find("FEC", at + 1)) {
        const auto day = day_of_digits(std::string_view(name).substr(at + 3, 8));
        if (!day) continue;
        told.closing = day;
        std::size_t digits = 0;
        while (digits < at && name[at - digits - 1] >= '0' && name[at - digits - 1] <= '9')
            ++digits;
        if (digits == SIREN) told.company = name.substr(at - SIREN, SIREN);
    }
    return told;
}

void YearEvidence::add(std::size_t journal, const FecRow& row) {
    if (last_ == days_.end() || last_->first != row.date) {
        const auto [at, fresh] = days_.try_emplace(row.date);
        last_ = at;
        if (fresh) {
            at->second.first_line = row.line;
            at->second.starts_month = first_of_month(row.date) == row.date;
        }
    }
    Day& day = last_->second;
    ++day.sums.lines;
    day.sums.debit += row.debit.value_or(0);
    day.sums.credit += row.credit.value_or(0);
    if (for_openings_) look_for_openings(journal, row, day);
}

// Labels are looked at on the first day of a month alone: that is where years start, but for the first one
// of a company, which has nothing to open with.
void YearEvidence::look_for_openings(std::size_t number, const FecRow& row, Day& day) {
    if (number >= journals_.size()) {
        journals_.push_back({});
        journals_.back().of_openings = names_openings(row.journal, row.journal_label);
        journals_.back().day = row.date;
    }
    Journal& journal = journals_[number];
    const unsigned account_class = class_bit(row.account);
    if (journal.of_openings) {
        ++day.opening_lines;
        return;
    }
    journal.of_one_day = journal.of_one_day && journal.day == row.date;
    journal.net += row.net();
    journal.classes |= account_class;
    if (day.starts_month && (account_class & BALANCE_SHEET) != 0 && labels_opening(row.label)) {
        ++day.labelled_lines;
        day.labelled_net += row.net();
        day.labelled_classes |= account_class;
    }
}

LineSums YearEvidence::sums(std::int64_t first_day, std::int64_t last_day) const {
    LineSums total;
    for (auto at = days_.lower_bound(first_day); at != days_.end() && at->first <= last_day; ++at) {
        total.lines += at->second.sums.lines;
        total.debit += at->second.sums.debit;
        total.credit += at->second.sums.credit;
    }
    return total;
}

std::uint64_t YearEvidence::first_line(std::int64_t first_day, std::int64_t last_day) const {
    std::uint64_t line = 0;
    for (auto at = days_.lower_bound(first_day); at != days_.end() && at->first <= last_day; ++at)
        if (line == 0 || at->second.first_line < line) line = at->second.first_line;
    return line;
}

YearEvidence::Outside YearEvidence::outside(std::int64_t first_day, std::int64_t last_day) const {
    Outside found;
    for (const auto& [number, day] : days_) {
        if (number >= first_day && number <= last_day) continue;
        found.lines += day.sums.lines;
        if (found.first_line != 0 && found.first_line < day.first_line) continue;
        found.first_line = day.first_line;
        found.day = number;
    }
    return found;
}

// Days with opening entries, and how many lines they have. A few such lines beside a day with many correct
// what was opened; they start no year.
std::map<std::int64_t, std::uint64_t> YearEvidence::opening_days() const {
    std::map<std::int64_t, std::uint64_t> openings;
    std::uint64_t most = 0;
    for (const auto& [number, day] : days_) {
        std::uint64_t lines = day.starts_month || number == earliest() ? day.opening_lines : 0;
        if (day.labelled_net == 0 && is_balance_sheet(day.labelled_classes)) lines += day.labelled_lines;
        if (lines > 0) openings[number] = lines;
        most = std::max(most, lines);
    }
    std::erase_if(openings, [most](const auto& opening) { return opening.second * 4 < most; });
    // A journal that was used on the first day alone, for a whole balance sheet.
    const auto opens = [this](const Journal& journal) {
        return !journal.of_openings && journal.of_one_day && journal.day == earliest() && journal.net == 0 &&
               is_balance_sheet(journal.classes);
    };
    if (earliest() < latest() && any(journals_, opens)) openings.try_emplace(earliest(), 1);
    return openings;
}

SourcedYears YearEvidence::guess(std::string_view path) const {
    const auto openings = opening_days();
    if (const auto years = years_by_name(path, openings)) return {*years, YearSource::file_name};
    if (!openings.empty()) return {years_by_openings(openings), YearSource::openings};
    const std::int64_t first = first_of_month(earliest());
    return {{first, add_months(first, 12) - 1}, YearSource::dates};
}

std::optional<FiscalYears>
YearEvidence::years_by_name(std::string_view path,
                            const std::map<std::int64_t, std::uint64_t>& openings) const {
    const auto closing = fec_name(path).closing;
    if (!closing || *closing < earliest()) return std::nullopt;
    const std::int64_t longest = add_months(*closing + 1, -12);
    const std::int64_t last = std::prev(days_.upper_bound(*closing))->first;
    const std::uint64_t all = sums(earliest(), latest()).lines;
    const std::uint64_t behind = sums(*closing + 1, latest()).lines;
    const bool whole_year = first_of_month(earliest()) <= longest;
    const bool fits = last >= longest && last >= add_months(*closing + 1, -MONTHS_TO_CLOSING) &&
                      behind * (whole_year ? STRAYS_OF_A_YEAR : STRAYS) <= all;
    if (!fits) return std::nullopt;
    const auto later = openings.upper_bound(*closing);
    if (later != openings.begin() && std::prev(later)->first >= longest)
        return FiscalYears{std::prev(later)->first, *closing};
    return FiscalYears{longest, *closing};
}

FiscalYears YearEvidence::years_by_openings(const std::map<std::int64_t, std::uint64_t>& openings) const {
    const std::uint64_t all = sums(earliest(), latest()).lines;
    auto chosen = std::prev(openings.end());
    while (chosen != openings.begin() &&
           (sums(chosen->first, latest()).lines - std::min(chosen->second, all)) * STRAYS < all)
        --chosen;
    const std::int64_t first = chosen->first;
    std::int64_t last = add_months(first, 12) - 1;
    if (const auto next = std::next(chosen); next != openings.end()) last = std::min(last, next->first - 1);
    return {first, last};
}

std::string options_text(const FiscalYears& years) {
    return "--debut " + date_text(years.first_day) + " --fin " + date_text(years.last_day);
}

std::string better_options(const YearEvidence& evidence, const FiscalYears& years) {
    const auto shifted = [&](int months) {
        return FiscalYears{add_months(years.first_day, months), add_months(years.last_day + 1, months) - 1};
    };
    const std::uint64_t all = evidence.sums(evidence.earliest(), evidence.latest()).lines;
    FiscalYears best = years;
    std::uint64_t held = 0;
    int months = 0;
    while (shifted(months).first_day > evidence.earliest())
        months -= 12;
    for (; shifted(months).first_day <= evidence.latest(); months += 12) {
        const FiscalYears tried = shifted(months);
        const std::uint64_t lines = evidence.sums(tried.first_day_before(), tried.last_day_after()).lines;
        if (lines < held) continue;
        if (lines == held && held == all) break; // the first that holds them all will do
        held = lines;
        best = tried;
    }
    if (held == all) return options_text(best);
    const std::uint64_t left = all - held;
    return options_text(best) + " --hors-bornes (" + std::to_string(left) +
           (left > 1 ? " lignes laissées de côté)" : " ligne laissée de côté)");
}

} // namespace corvalissement
