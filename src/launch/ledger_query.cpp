#include "launch/ledger_query.h"

#include "data/keys.h"
#include "data/tarvex.h"
#include "platform/failures.h"
#include "platform/text.h"

namespace corvalissement {

namespace {

// The account numbers of a class, and the two characters with which they begin.
struct ClassLimits {
    std::string_view prefix;
    std::string_view lowest;
    std::string_view highest;
};

const ClassLimits* limits_of(AccountClass account_class) {
    static constexpr ClassLimits SUPPLIERS = {"40", "4000000000", "4099999999"};
    static constexpr ClassLimits CUSTOMERS = {"41", "4100000000", "4199999999"};
    switch (account_class) {
    case AccountClass::fournisseurs:
        return &SUPPLIERS;
    case AccountClass::clients:
        return &CUSTOMERS;
    case AccountClass::globale:
        break;
    }
    return nullptr;
}

void add_bounds(std::string& query, std::string_view connector, const Selection& selection,
                std::string_view lower, std::string_view upper) {
    query += connector;
    query += " AVEC 0 >= " + quoted("[" + selection.entity + std::string(lower));
    query += " AND AVEC 0 <= " + quoted("[" + selection.entity + std::string(upper));
}

// The account clauses. A range that runs past the class is cut back to it; one wholly outside keeps its own
// bound on the far side and so selects nothing.
void add_accounts(std::string& query, const Selection& selection) {
    const ClassLimits* limits = limits_of(selection.account_class);
    std::string_view connector = " AND";
    for (const auto& [from, to] : selection.ranges) {
        std::string_view lower = chars(from, 1, 10);
        std::string_view upper = chars(to, 1, 10);
        if (limits != nullptr && chars(from, 1, 2) < limits->prefix) lower = limits->lowest;
        if (limits != nullptr && chars(to, 1, 2) > limits->prefix) upper = limits->highest;
        add_bounds(query, connector, selection, lower, upper);
        connector = " OR";
    }
    if (selection.ranges.empty() && limits != nullptr)
        add_bounds(query, connector, selection, limits->lowest, limits->highest);
}

} // namespace

QueryText ledger_query(const Selection& selection) {
    const std::string_view file = selection.archived() ? files::BALANCEGENEARCHIVE : files::BALANCEGENE;
    std::string query = "SSELECT " + std::string(file);
    query += " AVEC EntiteBalGene = " + quoted(selection.entity);
    if (!selection.with_earlier) {
        const bool n0 = selection.archived() || selection.exercice == exercice::COURANT;
        query += " AND AVEC ExerBalGene = " + quoted(n0 ? exercice::CODE_N0 : exercice::CODE_N1);
    }
    if (selection.only_unsettled) query += " AND AVEC SoldeBalGene <> " + quoted("0");
    add_accounts(query, selection);
    if (selection.with_earlier) query += " PAR CpteBalGene PAR ExerBalGene";
    query += " PAR 0";
    return {std::move(query), file};
}

QueryText temporary_query(const Selection& selection) {
    std::string query = "SSELECT " + std::string(files::BALANCEGENETEMPO);
    query += " AVEC EntiteBalGeneTempo = " + quoted(selection.entity);
    if (!selection.with_earlier) {
        const bool n0 = selection.exercice == exercice::COURANT;
        query += " AND AVEC ExerBalGeneTempo = " + quoted(n0 ? exercice::CODE_N0 : exercice::CODE_N1);
    }
    if (selection.only_unsettled) query += " AND AVEC SoldeBalGeneTempo <> " + quoted("0");
    add_accounts(query, selection);
    if (selection.with_earlier) query += " PAR ExerBalGeneTempo";
    query += " PAR 0";
    return {std::move(query), files::BALANCEGENETEMPO};
}

} // namespace corvalissement
