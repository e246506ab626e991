#include "fec/fec_rows.h"

#include "fec/fiscal_years.h"
#include "platform/text.h"

#include <algorithm>
#include <cstring>

namespace corvalissement {

namespace {

constexpr std::string_view NO_BREAK = "\xC2\xA0";
constexpr std::string_view NARROW_NO_BREAK = "\xE2\x80\xAF";
constexpr std::string_view END_OF_FILE_MARK = "\x1A"; // what some old programs still write last
constexpr std::size_t MOST_DIGITS = 13; // before the decimals, so that millions of lines can be added up

// Without blanks, tabs and no-break spaces at both ends, as suits codes, dates and amounts.
std::string_view strip(std::string_view text) {
    while (!text.empty()) {
        if (text.front() == ' ' || text.front() == '\t') {
            text.remove_prefix(1);
        } else if (text.starts_with(NO_BREAK)) {
            text.remove_prefix(NO_BREAK.size());
        } else if (text.starts_with(NARROW_NO_BREAK)) {
            text.remove_prefix(NARROW_NO_BREAK.size());
        } else {
            break;
        }
    }
    while (!text.empty()) {
        if (text.back() == ' ' || text.back() == '\t') {
            text.remove_suffix(1);
        } else if (text.ends_with(NO_BREAK)) {
            text.remove_suffix(NO_BREAK.size());
        } else if (text.ends_with(NARROW_NO_BREAK)) {
            text.remove_suffix(NARROW_NO_BREAK.size());
        } else {
            break;
        }
    }
    return text;
}

// What a byte can make necessary. Every byte of every line is looked up, hence the table.
constexpr unsigned char CONTROL = 1;
constexpr unsigned char TAB = 2;
constexpr unsigned char WIDE = 4;
constexpr std::array<unsigned char, 256> BYTE_KINDS = [] {
    std::array<unsigned char, 256> kinds{};
    for (std::size_t byte = 0; byte < 256; ++byte)
        kinds[byte] = byte == '\t' ? TAB : byte < 0x20 || byte == 0x7F ? CONTROL : byte >= 0x80 ? WIDE : 0;
    return kinds;
}();

// U+0080 to U+009F: the byte 0xC2, which begins the no-break space and signs that stay as well, then one
// below 0xA0.
bool is_c1_control(std::string_view text, std::size_t at) {
    return text[at] == '\xC2' && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0U;
}

bool has_c1_control(std::string_view text) {
    for (std::size_t at = text.find('\xC2'); at != std::string_view::npos; at = text.find('\xC2', at + 1))
        if (is_c1_control(text, at)) return true;
    return false;
}

// A field as an error message shows it.
std::string shown(std::string_view text) {
    constexpr std::size_t WIDTH = 40;
    const bool cut = char_count(text) > WIDTH;
    return "« " + sanitize(cut ? chars(text, 1, WIDTH) : text) + (cut ? "… »" : " »");
}

bool same_name(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return lower(x) == lower(y); });
}

bool enclosed(std::string_view field) {
    return field.size() >= 2 && field.front() == '"' && field.back() == '"';
}

std::string_view inside(std::string_view field) { return field.substr(1, field.size() - 2); }

// True when quotes inside come in pairs, as a spreadsheet writes them.
bool quotes_paired(std::string_view text) {
    for (std::size_t at = text.find('"'); at != std::string_view::npos; at = text.find('"', at + 2))
        if (at + 1 >= text.size() || text[at + 1] != '"') return false;
    return true;
}

// Whole hundredths of an unsigned decimal number.
bool read_decimal(std::string_view text, std::int64_t& value) {
    const std::size_t mark = text.find_first_of(",.");
    const std::string_view whole = text.substr(0, mark);
    std::string_view decimals = mark == std::string_view::npos ? std::string_view() : text.substr(mark + 1);
    while (decimals.size() > 2 && decimals.back() == '0')
        decimals.remove_suffix(1);
    if (whole.empty() && decimals.empty()) return false;
    if (decimals.size() > 2) return false;
    const auto digits = [](std::string_view part) {
        return std::all_of(part.begin(), part.end(), [](char c) { return c >= '0' && c <= '9'; });
    };
    if (!digits(whole) || !digits(decimals)) return false;
    const std::size_t start = std::min(whole.find_first_not_of('0'), whole.size());
    if (whole.size() - start > MOST_DIGITS) return false;
    value = 0;
    for (const char c : whole.substr(start))
        value = value * 10 + (c - '0');
    for (std::size_t i = 0; i < 2; ++i)
        value = value * 10 + (i < decimals.size() ? decimals[i] - '0' : 0);
    return true;
}

// The sign may lead or follow.
bool read_amount(std::string_view text, std::int64_t& value) {
    bool negative = false;
    const auto is_sign = [](char c) { return c == '+' || c == '-'; };
    if (!text.empty() && is_sign(text.front())) {
        negative = text.front() == '-';
        text = strip(text.substr(1));
    } else if (!text.empty() && is_sign(text.back())) {
        negative = text.back() == '-';
        text = strip(text.substr(0, text.size() - 1));
    }
    if (!read_decimal(text, value)) return false;
    if (negative) value = -value;
    return true;
}

} // namespace

FecRows::FecRows(FecFile& file, const FecFacts& facts)
    : path_(file.path()), facts_(facts), lines_(file, facts) {
    read_header();
}

void FecRows::refuse(const std::string& reason) const { throw BadLine(path_, lines_.number(), reason); }

void FecRows::refuse_field(Column column, std::string_view what) const {
    refuse("colonne " + std::string(NAMES[column]) + " : " + shown(code(column)) + " " + std::string(what));
}

// The next line that holds something, cleaned, in `text_`.
bool FecRows::next_text() {
    std::string_view line;
    while (lines_.next(line)) {
        if (line == END_OF_FILE_MARK) continue;
        clean(line);
        const auto says_something = [this](char c) { return c != ' ' && c != separator_; };
        if (std::any_of(text_.begin(), text_.end(), says_something)) return true;
    }
    return false;
}

// Makes the line UTF-8 with no control character but the separator. Most lines are that already, and are
// then not copied.
void FecRows::clean(std::string_view line) {
    unsigned found = 0;
    for (const char c : line)
        found |= BYTE_KINDS[static_cast<unsigned char>(c)];
    text_ = line;
    if ((found & WIDE) != 0 && facts_.charset != Charset::utf8) {
        decoded_.clear();
        append_decoded(decoded_, line, facts_.charset);
        text_ = decoded_;
    } else if ((found & WIDE) != 0 && !facts_.sound) {
        decoded_ = sanitize(line);
        if (decoded_ != line) ++lines_repaired_;
        text_ = decoded_;
    }
    const bool stray_tab = (found & TAB) != 0 && separator_ != '\t';
    const bool c1 = (found & WIDE) != 0 && has_c1_control(text_);
    if ((found & CONTROL) != 0 || stray_tab || c1) replace_controls();
}

void FecRows::replace_controls() {
    buffer_.clear();
    bool replaced = false;
    for (std::size_t i = 0; i < text_.size(); ++i) {
        const char c = text_[i];
        const bool c1 = is_c1_control(text_, i);
        if (c1 || (BYTE_KINDS[static_cast<unsigned char>(c)] & (CONTROL | TAB)) != 0) {
            const bool kept = c == separator_;
            buffer_.push_back(kept ? c : ' ');
            replaced = replaced || (!kept && c != '\t');
            if (c1) ++i;
        } else {
            buffer_.push_back(c);
        }
    }
    if (replaced) ++lines_with_controls_;
    text_ = buffer_;
}

void FecRows::read_header() {
    at_.fill(ABSENT);
    std::string_view line;
    do {
        if (!lines_.next(line)) throw BadInput(path_, 1, "le fichier est vide");
    } while (line.find_first_not_of(" \t") == std::string_view::npos);
    std::ptrdiff_t most = 0;
    for (const char candidate : {'\t', '|', ';'}) {
        const auto found = std::count(line.begin(), line.end(), candidate);
        if (found <= most) continue;
        most = found;
        separator_ = candidate;
    }
    clean(line);
    split();
    while (!fields_.empty() && strip(fields_.back()).empty())
        fields_.pop_back();
    count_ = fields_.size();
    place_columns();
}

void FecRows::place_columns() {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        std::string_view name = strip(fields_[i]);
        if (enclosed(name)) {
            quoted_header_ = true;
            name = strip(inside(name));
        }
        const auto* const known = std::find_if(
            NAMES.begin(), NAMES.end(), [&](std::string_view other) { return same_name(name, other); });
        if (known == NAMES.end()) continue;
        std::size_t& place = at_[static_cast<std::size_t>(known - NAMES.begin())];
        if (place != ABSENT) refuse("la colonne " + std::string(*known) + " figure deux fois dans l'en-tête");
        place = i;
    }
    const auto present = [this](std::size_t column) { return at_[column] != ABSENT; };
    if (std::none_of(at_.begin(), at_.end(), [](std::size_t place) { return place != ABSENT; }))
        refuse("la première ligne n'est pas l'en-tête d'un FEC (séparateurs admis : tabulation, | et ;)");
    for (std::size_t column = 0; column <= IDEVISE; ++column) {
        const bool replaced = (column == DEBIT || column == CREDIT) && present(MONTANT) && present(SENS);
        if (!present(column) && !replaced)
            refuse("la colonne " + std::string(NAMES[column]) + " manque dans l'en-tête, qui a " +
                   std::to_string(count_) + " colonnes");
    }
}

void FecRows::split() {
    fields_.clear();
    const char* at = text_.data();
    const char* const end = at + text_.size();
    while (true) {
        const auto* stop =
            static_cast<const char*>(std::memchr(at, separator_, static_cast<std::size_t>(end - at)));
        if (stop == nullptr) stop = end;
        fields_.emplace_back(at, static_cast<std::size_t>(stop - at));
        if (stop == end) return;
        at = stop + 1;
    }
}

// The same for a line in which quotes enclose separators. Between them a doubled quote stands for one.
void FecRows::split_quoted() {
    fields_.clear();
    std::size_t start = 0;
    bool open = false;
    for (std::size_t i = 0; i <= text_.size(); ++i) {
        const bool quote = i < text_.size() && text_[i] == '"';
        if (quote && open && i + 1 < text_.size() && text_[i + 1] == '"') {
            ++i;
        } else if (quote && (open || strip(text_.substr(start, i - start)).empty())) {
            open = !open;
        } else if (i == text_.size() || (text_[i] == separator_ && !open)) {
            fields_.push_back(text_.substr(start, i - start));
            start = i + 1;
            open = false;
        }
    }
}

// Drops what the separators at the end of the line add. How many there may be is told by the header and the
// first data line: elsewhere one more is a separator inside a field, which would shift the amounts.
bool FecRows::fits() {
    std::size_t spare = fields_.size() > count_ ? fields_.size() - count_ : 0;
    for (std::size_t i = count_; i < fields_.size(); ++i)
        if (!strip(fields_[i]).empty()) return false;
    if (first_line_) spare_ = std::max(spare_, spare);
    if (fields_.size() < count_ || spare > spare_) return false;
    fields_.resize(count_);
    return true;
}

void FecRows::take_fields() {
    split();
    const std::size_t plain = fields_.size();
    const auto opens_quote = [](std::string_view field) {
        return strip(field).starts_with('"') && !enclosed(strip(field));
    };
    const bool quoted = text_.find('"') != std::string_view::npos;
    const bool across = quoted && std::any_of(fields_.begin(), fields_.end(), opens_quote);
    if (across) {
        split_quoted();
        if (fields_.size() != plain && fits()) return;
        split();
    }
    if (!fits())
        refuse(std::to_string(plain) + (plain > 1 ? " champs" : " champ") + " au lieu de " +
               std::to_string(count_));
}

void FecRows::unquote() {
    if (text_.find('"') == std::string_view::npos) return;
    const auto is_enclosed = [](std::string_view field) { return enclosed(strip(field)); };
    const bool all = quoted_header_ || std::count_if(fields_.begin(), fields_.end(), is_enclosed) > 1;
    for (std::size_t column = 0; column < COLUMNS; ++column) {
        if (at_[column] == ABSENT) continue;
        std::string_view& field = fields_[at_[column]];
        if (!is_enclosed(field)) continue;
        const std::string_view within = inside(strip(field));
        const bool needed = within.find_first_of("\",;|\t") != std::string_view::npos;
        if (!(all || needed) || !quotes_paired(within)) continue;
        std::string& kept = unquoted_[column];
        kept.clear();
        for (std::size_t i = 0; i < within.size(); ++i) {
            kept.push_back(within[i]);
            if (within[i] == '"') ++i;
        }
        field = kept;
    }
}

std::string_view FecRows::code(Column column) const { return strip(fields_[at_[column]]); }

// Labels keep their no-break spaces.
std::string_view FecRows::text(Column column) const { return trim_blanks(fields_[at_[column]]); }

bool FecRows::has_date(Column column) const {
    const std::string_view digits = code(column);
    if (digits.find_first_not_of('0') == std::string_view::npos) return false;
    (void)day(column);
    return true;
}

// Lines of one day tend to follow each other, so the last date read of each column is kept.
std::int64_t FecRows::day(Column column) const {
    const std::string_view digits = code(column);
    LastDate& last = last_dates_[column];
    if (digits != std::string_view(last.digits.data(), last.digits.size())) {
        const auto day = day_of_digits(digits);
        if (!day) refuse_field(column, "n'est pas une date aaaammjj, de 1900 à 2099");
        std::copy(digits.begin(), digits.end(), last.digits.begin());
        last.day = *day;
    }
    return last.day;
}

std::optional<std::int64_t> FecRows::amount(Column column) const {
    const std::string_view number = code(column);
    if (number.empty()) return std::nullopt;
    std::int64_t value = 0;
    if (!read_amount(number, value))
        refuse_field(column,
                     "n'est pas un montant en centimes entiers de 13 chiffres au plus avant la virgule");
    return value;
}

void FecRows::read_sides(FecRow& row) const {
    row.debit = amount(DEBIT);
    row.credit = amount(CREDIT);
    const bool on_debit = row.debit.value_or(0) != 0;
    const bool on_credit = row.credit.value_or(0) != 0;
    if (on_debit && on_credit) return;
    if (on_credit || (!on_debit && !row.debit && row.credit)) {
        row.debit.reset();
    } else {
        row.credit.reset();
        if (!row.debit) row.debit = 0;
    }
}

void FecRows::read_amount_and_side(FecRow& row) const {
    const std::optional<std::int64_t> value = amount(MONTANT);
    const std::string side = capitals(code(SENS));
    row.debit.reset();
    row.credit.reset();
    if (side == "C" || side == "-1" || side == "-" || side == "CREDIT" || side == "CRÉDIT") {
        row.credit = value.value_or(0);
        return;
    }
    const bool debit = side == "D" || side == "+1" || side == "1" || side == "+" || side == "DEBIT" ||
                       side == "DÉBIT" || (side.empty() && value.value_or(0) == 0);
    if (!debit) refuse_field(SENS, "n'est ni D ni C, ni +1 ni -1");
    row.debit = value.value_or(0);
}

bool FecRows::next(FecRow& row) {
    if (!next_text()) return false;
    take_fields();
    first_line_ = false;
    unquote();
    row.line = lines_.number();
    row.journal = code(JOURNAL_CODE);
    if (row.journal.empty()) refuse("le code du journal est vide");
    row.journal_label = text(JOURNAL_LIB);
    row.number = code(ECRITURE_NUM);
    row.date = day(ECRITURE_DATE);
    row.account = code(COMPTE_NUM);
    if (row.account.empty()) refuse("le numéro de compte est vide");
    row.account_label = text(COMPTE_LIB);
    row.auxiliary = code(COMP_AUX_NUM);
    row.auxiliary_label = text(COMP_AUX_LIB);
    row.piece = text(PIECE_REF);
    row.label = text(ECRITURE_LIB);
    row.lettering = code(ECRITURE_LET);
    row.validated = has_date(VALID_DATE);
    if (at_[DEBIT] != ABSENT && at_[CREDIT] != ABSENT) {
        read_sides(row);
    } else {
        read_amount_and_side(row);
    }
    return true;
}

} // namespace corvalissement
