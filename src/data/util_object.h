// The object that serves dates, amounts and the choice of a printer to the whole system.
#pragma once

#include "platform/host.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace corvalissement {

// The day of an internal date. Throws StepFailure (ERR_TYPE) when the text is no date between the years 1 and
// 9999.
[[nodiscard]] CivilDate civil_date(std::string_view internal_date);
// Internal date (a whole number of days as text, a time part after a mark allowed) to dd/mm/yyyy; "" stays
// "". Throws StepFailure (ERR_TYPE) when the text is no date between the years 1 and 9999.
[[nodiscard]] std::string date_text(std::string_view internal_date);
// dd/mm/yyyy to the internal date as text; "" when the text is no date.
[[nodiscard]] std::string internal_date(std::string_view date_text);
// Whole day number of an internal date, the time part left out. Throws StepFailure (ERR_TYPE).
[[nodiscard]] std::int64_t day_number(std::string_view internal_date);
[[nodiscard]] std::string format_date(const CivilDate& date);

class UtilObject {
public:
    // Asks `host` for today, message boxes and the choice of a printer; it must outlive this object.
    explicit UtilObject(HostServices& host) : host_(host) {}

    [[nodiscard]] std::string DateVersTexte(std::string_view internal) const { return date_text(internal); }
    [[nodiscard]] std::string TexteVersDate(std::string_view text) const { return internal_date(text); }

    // The typed text as the field should show it: day, month and year completed from today. A date that
    // exists in no calendar is refused: the user is told, ErreurDate answers true, and the text comes back
    // as it was. A text that has no date's form comes back as it was too, with nothing said.
    [[nodiscard]] std::string CompleteDate(std::string_view typed, int unused);
    [[nodiscard]] bool ErreurDate() const noexcept { return date_refused_; }

    // `units`: a number of units as text, decimals behind "." or ",". Gives `int_positions` + 1 +
    // `decimals` characters. Throws StepFailure (ERR_TYPE) when it is no number.
    [[nodiscard]] std::string FormatMontant(std::string_view units, int int_positions, int decimals,
                                            int unused) const;

    // Lets the user choose a printer; its index in the platform's list as text, "-1" if given up.
    [[nodiscard]] std::string ChoixImprimante(std::string_view unused);
    // The copies asked for at the last choice.
    [[nodiscard]] std::int16_t NbCopies() const noexcept { return copies_; }

private:
    HostServices& host_;
    bool date_refused_ = false;
    std::int16_t copies_ = 1;
};

} // namespace corvalissement
