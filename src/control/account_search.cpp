#include "control/account_search.h"

#include "data/keys.h"
#include "data/variable.h"
#include "launch/ledger_query.h"
#include "platform/text.h"

namespace corvalissement {

namespace {

constexpr std::size_t ACCOUNT_LENGTH = 10;
constexpr int LAST_PLAIN_KEY = 122; // "z"

struct ClassRule {
    std::string_view prefix;
    std::string_view refusal;
};

// By the list index of Cbo_EditCpte.
constexpr ClassRule CLASS_RULES[] = {
    {"", ""},
    {"40", "Vous devez saisir un compte fournisseur."},
    {"41", "Vous devez saisir un compte client."},
};

// What the text of Cbo_Exer makes of the file and the year code.
struct YearFile {
    std::string_view file;
    std::string_view code;
    bool next_year;
};

YearFile year_file(std::string_view year) {
    if (year == exercice::PRECEDENT) return {files::BALANCEGENEARCHIVE, exercice::CODE_N0, false};
    if (year == exercice::COURANT) return {files::BALANCEGENE, exercice::CODE_N0, false};
    return {files::BALANCEGENE, exercice::CODE_N1, true};
}

std::string key_condition(const YearFile& year, std::string_view entity, std::string_view begin) {
    return "SSELECT " + std::string(year.file) +
           " AVEC 0 = " + quoted(std::string(year.code) + std::string(entity) + std::string(begin) + "]");
}

} // namespace

bool drop_accented_key(Dialogue& host, int& key) {
    if (key <= LAST_PLAIN_KEY) return false;
    message(host, "La saisie de minuscule accentuée est interdite sur cette zone.");
    key = 0;
    return true;
}

AccountSearch::AccountSearch(View& view, Variable& variable, Fields fields, std::string_view search_name)
    : view_(view), variable_(variable), fields_(fields), search_name_(search_name) {}

void AccountSearch::bind() {
    fields_.number.KeyPress = [this](int& key) { number_key_press(key); };
    fields_.number.LostFocus = [this] { number_lost_focus(); };
    fields_.number.Change = [this] { number_change(); };
    fields_.label.KeyPress = [this](int& key) { label_key_press(key); };
    fields_.label.Click = [this] { label_click(); };
    fields_.label.Change = [this] { label_change(); };
}

void AccountSearch::number_key_press(int& key) {
    if (key == KEY_ENTER) {
        if (fields_.number.text().empty()) return;
        fields_.W_SansControleClasse = false;
        search_by_number();
        return;
    }
    static_cast<void>(drop_accented_key(view_.host(), key));
}

void AccountSearch::number_lost_focus() {
    if (!fields_.number.text().empty()) search_by_number();
}

void AccountSearch::refuse_number(std::string_view text, int kind) {
    message(view_.host(), text, kind);
    fields_.number.clear();
    view_.set_focus(fields_.number);
}

bool AccountSearch::class_allows(std::string_view number) {
    if (fields_.W_SansControleClasse) return true;
    const int index = fields_.account_class.list_index();
    if (index != 1 && index != 2) return true;
    const ClassRule& rule = CLASS_RULES[index];
    if (chars(number, 1, 2) == rule.prefix) return true;
    refuse_number(rule.refusal, KIND_WARNING);
    found_.set_text("");
    fields_.W_SansControleClasse = true;
    return false;
}

void AccountSearch::number_change() {
    const std::string number = fields_.number.text();
    if (char_count(number) != ACCOUNT_LENGTH) {
        fields_.label.set_text("");
        return;
    }
    LedgerFiles& files = variable_.Files;
    const int error = skip(
        view_.host().skipped_failures(), "Txt_Cpte_Change",
        [&] { files.F_PLANCOMPTABLE->DBRead(fields_.entity.text() + number, files.R_PLANCOMPTABLE); },
        ERR_NOT_FOUND);
    if (error == ERR_NOT_FOUND) {
        refuse_number("Ce compte n'existe pas.", KIND_WARNING);
        return;
    }
    if (!class_allows(number)) return;
    fields_.label.set_text(std::string(files.R_PLANCOMPTABLE(plan::LABEL, 1)));
}

void AccountSearch::select(const std::string& query) {
    std::string work;
    found_ = variable_.TheDatabase->DBSelect(query_request(query, year_file(fields_.year.text()).file, "0"),
                                             "", work);
}

void AccountSearch::read_chart(std::string_view account) {
    LedgerFiles& files = variable_.Files;
    files.F_PLANCOMPTABLE->DBRead(account, files.R_PLANCOMPTABLE);
}

void AccountSearch::add_label_row() {
    LedgerFiles& files = variable_.Files;
    fields_.label.add_row(std::string(files.R_PLANCOMPTABLE(plan::LABEL)));
}

void AccountSearch::take_account(std::size_t i) {
    fields_.number.set_text(std::string(BalanceKey::of(found_(i, 1)).number));
}

void AccountSearch::search_by_number() {
    {
        BusyBracket busy(view_);
        SkippedFailures& place = view_.host().skipped_failures();
        const YearFile year = year_file(fields_.year.text());
        std::string query;
        const int refused = skip(place, search_name_, [&] {
            query = key_condition(year, fields_.entity.text(), fields_.number.text());
            if (year.next_year) query += " PAR 0";
        });
        // A number that no query can hold finds nothing. A query that fails on the server leaves the list of
        // the search before, and what follows goes by that list.
        if (refused != 0)
            found_ = DynArray();
        else
            skip(place, search_name_, [&] { select(query); });
        busy.end_now();
    }
    if (found_.text().empty()) {
        if (fields_.number.enabled()) refuse_number("Aucune écriture sur ce compte.", KIND_INFORMATION);
        return;
    }
    BusyBracket busy(view_);
    fields_.label.clear();
    fields_.number.clear();
    const std::size_t n = found_.DCount();
    if (n > 1) {
        for (std::size_t i = 1; i <= n; ++i) {
            // A chart record that cannot be read leaves the label of the one before in the row.
            skip(view_.host().skipped_failures(), search_name_,
                 [&] { read_chart(BalanceKey::account_in(found_(i, 1))); });
            add_label_row();
        }
        busy.end();
        view_.set_focus(fields_.label);
    } else {
        take_account(1);
        busy.end();
    }
}

void AccountSearch::label_key_press(int& key) {
    if (key == KEY_ENTER)
        search_by_label();
    else
        static_cast<void>(drop_accented_key(view_.host(), key));
}

// Nothing is skipped here: a chart record that is missing ends the search, and the host is told.
void AccountSearch::search_by_label() {
    BusyBracket busy(view_);
    const std::string begin = capitals(fields_.label.text());
    select(key_condition(year_file(fields_.year.text()), fields_.entity.text(), "") +
           " AND AVEC LibCpteBalanceGene = " + quoted(begin + "]") + " PAR LibCpteBalanceGene");
    if (found_.text().empty()) {
        if (fields_.number.text().empty()) {
            view_.host().beep();
            message(view_.host(), "Aucun compte comptable commençant par " + begin);
        }
        busy.end();
        return;
    }
    fields_.label.clear();
    fields_.number.clear();
    // The result of a query sorted on labels ends with one attribute that stands for no account.
    const std::size_t n = found_.DCount() - 1;
    if (n > 1) {
        for (std::size_t i = 1; i <= n; ++i) {
            read_chart(BalanceKey::account_in(found_(i, 1)));
            add_label_row();
        }
    } else if (n == 1) {
        // Kept aside, for an account outside the class empties the list.
        const std::string account(BalanceKey::account_in(found_(1, 1)));
        take_account(1);
        read_chart(account);
        fields_.label.set_text(std::string(variable_.Files.R_PLANCOMPTABLE(plan::LABEL)));
    }
    busy.end();
}

void AccountSearch::label_click() {
    if (fields_.label.text().empty()) return;
    take_account(static_cast<std::size_t>(fields_.label.list_index() + 1));
}

void AccountSearch::label_change() {
    if (fields_.label.text().empty()) fields_.number.clear();
}

} // namespace corvalissement
