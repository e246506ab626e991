// The fiscal year and the dates of the period.
#include "control/ctr_corvalissement.h"
#include "data/keys.h"
#include "platform/text.h"

namespace corvalissement {

namespace {

std::string two_digits(std::int64_t number) {
    std::string text = std::to_string(number);
    return text.size() < 2 ? "0" + text : text;
}

} // namespace

void Ctr_Corvalissement::set_year_dates(std::string_view first_day, std::string_view last_day) {
    SkippedFailures& place = host().skipped_failures();
    skip(place, "Cbo_Exer_Click", [&] { Txt_DateDeb.set_text(util_.DateVersTexte(first_day)); });
    skip(place, "Cbo_Exer_Click", [&] { Txt_DateFin.set_text(util_.DateVersTexte(last_day)); });
    W_DebExercice = Txt_DateDeb.text();
    W_FinExercice = Txt_DateFin.text();
}

// No date is stored for the year before: it ends on the day before year N and begins on the first of a
// month, twelve months before the month that follows its end.
void Ctr_Corvalissement::set_previous_year_dates() {
    SkippedFailures& place = host().skipped_failures();
    const TarvexRecord& parameters = variable_.Files.R_PARAMENTITECOMPTA;
    skip(place, "Cbo_Exer_Click", [&] {
        const std::int64_t last_day = day_number(parameters(parament::FIRST_DAY_N)) - 1;
        Txt_DateFin.set_text(util_.DateVersTexte(std::to_string(last_day)));
    });
    skip(place, "Cbo_Exer_Click", [&] {
        std::int64_t month = 0;
        std::int64_t year = 0;
        if (!parse_whole(chars(Txt_DateFin.text(), 4, 2), month) ||
            !parse_whole(chars(Txt_DateFin.text(), 7, 4), year))
            throw StepFailure(ERR_TYPE, "la date de fin n'est pas une date", Txt_DateFin.text());
        const CivilDate first =
            first_day_of_year_ending({static_cast<int>(year), static_cast<int>(month), 1});
        Txt_DateDeb.set_text("01/" + two_digits(first.month) + "/" + std::to_string(first.year));
    });
    W_DebExercice = Txt_DateDeb.text();
    W_FinExercice = Txt_DateFin.text();
}

void Ctr_Corvalissement::Cbo_Exer_Click() {
    SkippedFailures& place = host().skipped_failures();
    LedgerFiles& shared = variable_.Files;
    const TarvexRecord& parameters = shared.R_PARAMENTITECOMPTA;
    const int error = skip(
        place, "Cbo_Exer_Click",
        [&] { shared.F_PARAMENTITECOMPTA->DBRead(Txt_Entite.text(), shared.R_PARAMENTITECOMPTA); },
        ERR_NOT_FOUND);
    if (error == ERR_NOT_FOUND) {
        message(host(), "Vous devez renseigner les paramètres généraux avant la saisie.");
        Cmd_Imprimer.set_enabled(false);
        return;
    }
    for (Field* open :
         {static_cast<Field*>(&Txt_DateDeb), static_cast<Field*>(&Txt_DateFin), &Etq_DateDeb, &Etq_DateFin})
        open->set_enabled(true);
    skip(place, "Cbo_Exer_Click", [&] { Affiche_Detail(); });
    W_DebExercice.clear();
    W_FinExercice.clear();
    set_year_dates(parameters(parament::FIRST_DAY_N), parameters(parament::LAST_DAY_N));
    const std::string& year = Cbo_Exer.text();
    if (year == exercice::PRECEDENT) {
        set_previous_year_dates();
        Cac_CumulAnt.set_enabled(false);
        Cac_PriseCpteBrouillard.set_enabled(false);
    } else if (year == exercice::COURANT) {
        Cac_CumulAnt.set_enabled(false);
        Cac_PriseCpteBrouillard.set_enabled(true);
    } else if (year == exercice::SUIVANT) {
        set_year_dates(parameters(parament::FIRST_DAY_N1), parameters(parament::LAST_DAY_N1));
        Cac_CumulAnt.set_enabled(true);
        Cac_PriseCpteBrouillard.set_enabled(true);
    }
}

// Whatever separator is struck, a letter or Enter included, the field receives "/".
void Ctr_Corvalissement::Txt_Date_KeyPress(int& key) {
    if ((key < '0' || key > '9') && key != KEY_BACKSPACE) key = '/';
}

void Ctr_Corvalissement::Txt_Date_LostFocus(TextField& date) {
    if (date.text().empty()) return;
    date.set_text(util_.CompleteDate(date.text(), 0));
    if (util_.ErreurDate()) {
        set_focus(date);
        return;
    }
    if (!util_.TexteVersDate(date.text()).empty()) return;
    message(host(), "Erreur de saisie dans la date, veuillez la ressaisir.");
    set_focus(date);
}

} // namespace corvalissement
