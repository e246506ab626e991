#include "query/query_parser.h"

#include "platform/text.h"
#include "query/query_lexer.h"

#include <optional>
#include <utility>

namespace corvalissement {

namespace {

std::optional<Comparison> comparison_of(std::string_view sign) {
    constexpr std::pair<std::string_view, Comparison> SIGNS[] = {
        {"=", Comparison::equal},    {"<>", Comparison::not_equal}, {">=", Comparison::at_least},
        {"<=", Comparison::at_most}, {">", Comparison::greater},    {"<", Comparison::less}};
    for (const auto& [text, comparison] : SIGNS)
        if (text == sign) return comparison;
    return std::nullopt;
}

// Where the conditions read so far stand in the rule of OR.
struct Placing {
    bool key_seen = false;
    bool or_seen = false;
    std::vector<Condition> since_key;           // from the first condition on field 0 on
    std::optional<std::size_t> other_after_key; // position of a condition among them that isn't on it
};

class Parser {
public:
    explicit Parser(std::string_view text) : text_(text), tokens_(split_query(text)) {}

    Query query() {
        expect("SSELECT");
        if (here().kind != TokenKind::word) fail("le nom d'un fichier est attendu");
        query_.file = take().text;
        conditions();
        while (is_word("PAR")) {
            take();
            query_.order.push_back(field());
        }
        if (here().kind != TokenKind::end) fail("AND, OR, PAR ou la fin de la requête est attendu");
        return std::move(query_);
    }

private:
    [[nodiscard]] const Token& here() const { return tokens_[at_]; }
    Token take() { return tokens_[at_++]; }
    [[nodiscard]] bool is_word(std::string_view word) const {
        return here().kind == TokenKind::word && here().text == word;
    }
    [[noreturn]] void fail(std::string_view reason) const { fail_at(here().position, reason); }
    [[noreturn]] void fail_at(std::size_t position, std::string_view reason) const {
        throw query_failure(text_, position, reason);
    }
    void expect(std::string_view word) {
        if (!is_word(word)) fail(std::string(word) + " est attendu");
        take();
    }

    QueryField field() {
        if (here().kind != TokenKind::word) fail("un champ est attendu");
        const std::optional<QueryField> found = find_field(query_.file, here().text);
        if (!found) fail("le champ " + sanitize(here().text) + " n'existe pas dans " + sanitize(query_.file));
        take();
        return *found;
    }

    Condition condition() {
        expect("AVEC");
        Condition condition;
        condition.field = field();
        const std::optional<Comparison> sign =
            here().kind == TokenKind::word ? comparison_of(here().text) : std::nullopt;
        if (!sign) fail("une comparaison est attendue");
        condition.comparison = *sign;
        take();
        if (here().kind != TokenKind::value) fail("une valeur entre guillemets est attendue");
        set_value(condition, take());
        return condition;
    }

    void set_value(Condition& condition, const Token& token) const {
        std::string_view value = token.text;
        const bool ending = !value.empty() && value.front() == '[';
        const bool beginning = !value.empty() && value.back() == ']';
        if (ending && beginning) fail_at(token.position, "une valeur ne peut pas avoir les deux crochets");
        if (ending) {
            condition.scope = Scope::ending;
            value.remove_prefix(1);
        } else if (beginning) {
            if (condition.comparison != Comparison::equal && condition.comparison != Comparison::not_equal)
                fail_at(token.position, "un début de champ ne se compare que par = ou <>");
            condition.scope = Scope::beginning;
            value.remove_suffix(1);
        }
        condition.value = beginning && condition.field.label ? fold(value) : std::string(value);
    }

    void conditions() {
        if (!is_word("AVEC")) return;
        Placing placing;
        place(condition(), placing, 0);
        while (is_word("AND") || is_word("OR")) {
            const Token connector = take();
            const std::size_t position = here().position;
            if (connector.text == "OR") {
                if (!placing.key_seen)
                    fail_at(connector.position, "OR doit suivre une condition sur le champ 0");
                placing.or_seen = true;
                query_.alternatives.push_back(std::exchange(placing.since_key, {}));
            }
            place(condition(), placing, position);
        }
        if (placing.or_seen) {
            if (placing.other_after_key)
                fail_at(*placing.other_after_key,
                        "avec OR, seul le champ 0 peut suivre une condition sur le champ 0");
            query_.alternatives.push_back(std::move(placing.since_key));
        } else {
            for (Condition& one : placing.since_key)
                query_.common.push_back(std::move(one));
        }
    }

    void place(Condition condition, Placing& placing, std::size_t position) {
        const bool on_key = condition.field.kind == QueryFieldKind::key;
        placing.key_seen = placing.key_seen || on_key;
        if (!placing.key_seen) {
            query_.common.push_back(std::move(condition));
            return;
        }
        if (!on_key && !placing.other_after_key) placing.other_after_key = position;
        placing.since_key.push_back(std::move(condition));
    }

    std::string_view text_;
    std::vector<Token> tokens_;
    std::size_t at_ = 0;
    Query query_;
};

bool holds(Comparison comparison, int order) {
    switch (comparison) {
    case Comparison::equal:
        return order == 0;
    case Comparison::not_equal:
        return order != 0;
    case Comparison::at_least:
        return order >= 0;
    case Comparison::at_most:
        return order <= 0;
    case Comparison::greater:
        return order > 0;
    case Comparison::less:
        return order < 0;
    }
    return false;
}

} // namespace

Query parse_query(std::string_view text) { return Parser(text).query(); }

std::vector<QueryField> parse_fields(std::string_view text, std::string_view file) {
    std::vector<QueryField> fields;
    for (const Token& token : split_query(text)) {
        if (token.kind == TokenKind::end) break;
        const std::optional<QueryField> found =
            token.kind == TokenKind::word ? find_field(file, token.text) : std::nullopt;
        if (!found) throw query_failure(text, token.position, "champ demandé inconnu");
        fields.push_back(*found);
    }
    if (fields.empty()) throw query_failure(text, 1, "aucun champ n'est demandé");
    return fields;
}

bool meets(const Condition& condition, std::string_view text) {
    switch (condition.scope) {
    case Scope::whole:
        return holds(condition.comparison, text.compare(condition.value));
    case Scope::ending:
        return holds(condition.comparison,
                     last_chars(text, char_count(condition.value)).compare(condition.value));
    case Scope::beginning:
        break;
    }
    const bool begins =
        condition.field.label ? fold(text).starts_with(condition.value) : text.starts_with(condition.value);
    return begins == (condition.comparison == Comparison::equal);
}

} // namespace corvalissement
