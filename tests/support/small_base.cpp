#include "support/small_base.h"

#include "commands/session.h"
#include "launch/edition_run.h"
#include "launch/ledger_query.h"

namespace corvalissement::testing_support {

namespace {

std::string joined(const std::vector<std::string>& parts, char mark) {
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) text += mark;
        text += parts[i];
    }
    return text;
}

void put_balances(Store& store, std::string_view balance_file, std::string_view entry_file,
                  const std::vector<TestBalance>& balances) {
    for (const TestBalance& balance : balances) {
        std::vector<std::string> dates;
        std::vector<std::string> keys;
        for (const TestEntry& entry : balance.entries) {
            dates.push_back(std::to_string(entry.day));
            keys.push_back(entry.key);
            put(store, entry_file, entry.key,
                {"", std::to_string(entry.day), entry.account, entry.label, entry.piece, entry.debit,
                 entry.credit, entry.due, entry.quantity, "", entry.lettering});
        }
        put(store, balance_file, balance.key,
            {"", "", balance.solde, "", "", "", "", values_of(dates), values_of(keys)});
    }
}

DynArray select(ServerSession& session, const QueryText& query) {
    std::string work;
    return session.DBSelect(query_request(query.query, query.file, "0"), "", work);
}

} // namespace

std::string record_of(const std::vector<std::string>& attributes) {
    return joined(attributes, ATTRIBUTE_MARK);
}
std::string values_of(const std::vector<std::string>& values) { return joined(values, VALUE_MARK); }

void put(Store& store, std::string_view file, std::string_view key,
         const std::vector<std::string>& attributes) {
    store.write(store.file(file), key, record_of(attributes));
}

void put(Store& store, const TestLedger& ledger) {
    put(store, "ASSOCIATION", ledger.entity, ledger.association);
    for (const auto& [key, label] : ledger.chart)
        put(store, "PLANCOMPTABLE", key, {label});
    put_balances(store, "BALANCEGENE", "DETAILECRITUREGENE", ledger.ledger);
    put_balances(store, "BALANCEGENEARCHIVE", "DETAILECRITUREGENEARCHIVE", ledger.archive);
    put_balances(store, "BALANCEGENETEMPO", "DETAILECRITUREGENETEMPO", ledger.drafts);
}

void run_edition(const TestLedger& ledger, const Selection& selection, EditionResult& result,
                 const std::function<void(Store&)>& damage) {
    auto store = make_memory_store();
    put(*store, ledger);
    if (damage) damage(*store);
    ServerSession session(std::move(store));
    LedgerFiles files;
    files.open(session);
    const DynArray keys = select(session, ledger_query(selection));
    const DynArray drafts = selection.with_drafts ? select(session, temporary_query(selection)) : DynArray();
    NoProgress progress;
    print_edition({.selection = selection,
                   .W_ListeBalance = keys,
                   .W_ListeBalanceTempo = drafts,
                   .files = files,
                   .session = session,
                   .state = result.state,
                   .progress = progress,
                   .failures = result.failures,
                   .today = TEST_TODAY,
                   .routine = "Imprime"},
                  result.surface);
}

} // namespace corvalissement::testing_support
