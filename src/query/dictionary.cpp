#include "query/dictionary.h"

#include "data/keys.h"

#include <algorithm>
#include <array>

namespace corvalissement {

namespace {

enum class Files { balances, draft_heads };

struct Entry {
    std::string_view name;
    Files files;
    QueryField field;
};

constexpr QueryField ENTITY{QueryFieldKind::key_part, 3, 3, false};
constexpr QueryField YEAR{QueryFieldKind::key_part, 1, 2, false};
constexpr QueryField ACCOUNT{QueryFieldKind::key_part, 6, 10, false};
constexpr QueryField SOLDE{QueryFieldKind::attribute, balance::SOLDE, 0, false};
constexpr QueryField CHART_LABEL{QueryFieldKind::chart_label, plan::LABEL, 0, true};
constexpr QueryField DRAFT_BALANCE{QueryFieldKind::difference, brouillard::TOTAL_DEBIT,
                                   brouillard::TOTAL_CREDIT, false};

constexpr std::array<Entry, 9> NAMES = {{
    {"EntiteBalGene", Files::balances, ENTITY},
    {"EntiteBalGeneTempo", Files::balances, ENTITY},
    {"ExerBalGene", Files::balances, YEAR},
    {"ExerBalGeneTempo", Files::balances, YEAR},
    {"CpteBalGene", Files::balances, ACCOUNT},
    {"SoldeBalGene", Files::balances, SOLDE},
    {"SoldeBalGeneTempo", Files::balances, SOLDE},
    {"LibCpteBalanceGene", Files::balances, CHART_LABEL},
    {"SoldeBrouillardTete", Files::draft_heads, DRAFT_BALANCE},
}};

bool holds(Files kind, std::string_view file) {
    return kind == Files::balances ? is_balance_file(file) : file == files::BROUILLARDTETE;
}

bool is_label(std::string_view file, std::size_t attribute) {
    if (file == files::ASSOCIATION) return attribute == association::NAME;
    if (file == files::PLANCOMPTABLE) return attribute == plan::LABEL;
    if (file == files::JOURNAL) return attribute == journal::LABEL;
    const bool entries = file == files::DETAILECRITUREGENE || file == files::DETAILECRITUREGENEARCHIVE ||
                         file == files::DETAILECRITUREGENETEMPO || file == files::BROUILLARDDETAIL;
    return entries && attribute == entry::LABEL;
}

bool is_number(std::string_view name) {
    constexpr std::size_t LONGEST = 6; // no record has a million attributes
    return !name.empty() && name.size() <= LONGEST &&
           std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

bool is_balance_file(std::string_view file) {
    return file == files::BALANCEGENE || file == files::BALANCEGENEARCHIVE || file == files::BALANCEGENETEMPO;
}

std::optional<QueryField> find_field(std::string_view file, std::string_view name) {
    if (is_number(name)) {
        std::size_t number = 0;
        for (const char digit : name)
            number = number * 10 + static_cast<std::size_t>(digit - '0');
        if (number == 0) return QueryField{};
        return QueryField{QueryFieldKind::attribute, number, 0, is_label(file, number)};
    }
    const auto* const entry = std::find_if(NAMES.begin(), NAMES.end(), [&](const Entry& one) {
        return one.name == name && holds(one.files, file);
    });
    if (entry == NAMES.end()) return std::nullopt;
    return entry->field;
}

} // namespace corvalissement
