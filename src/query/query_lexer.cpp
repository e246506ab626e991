#include "query/query_lexer.h"

#include "platform/text.h"

#include <string>

namespace corvalissement {

namespace {

constexpr char QUOTE = '"';

// Walks over the query once and knows at which character it is.
class Reader {
public:
    explicit Reader(std::string_view query) : query_(query) {}

    Token next() {
        advance(query_.find_first_not_of(' ', at_));
        if (at_ == query_.size()) return {TokenKind::end, {}, position_};
        return query_[at_] == QUOTE ? value() : word();
    }

private:
    void advance(std::size_t to) {
        if (to == std::string_view::npos) to = query_.size();
        position_ += char_count(query_.substr(at_, to - at_));
        at_ = to;
    }

    Token word() {
        const std::size_t start = at_;
        const std::size_t position = position_;
        advance(query_.find_first_of(" \"", at_));
        if (at_ < query_.size() && query_[at_] == QUOTE)
            throw query_failure(query_, position_, "guillemet inattendu dans un mot");
        return {TokenKind::word, query_.substr(start, at_ - start), position};
    }

    Token value() {
        const std::size_t position = position_;
        advance(at_ + 1);
        const std::size_t start = at_;
        const std::size_t close = query_.find(QUOTE, at_);
        if (close == std::string_view::npos)
            throw query_failure(query_, position, "valeur sans guillemet de fin");
        advance(close + 1);
        if (at_ < query_.size() && query_[at_] != ' ')
            throw query_failure(query_, position_, "une valeur ne peut pas contenir de guillemet");
        return {TokenKind::value, query_.substr(start, close - start), position};
    }

    std::string_view query_;
    std::size_t at_ = 0;
    std::size_t position_ = 1;
};

} // namespace

std::vector<Token> split_query(std::string_view query) {
    std::vector<Token> tokens;
    Reader reader(query);
    do {
        tokens.push_back(reader.next());
    } while (tokens.back().kind != TokenKind::end);
    return tokens;
}

StepFailure query_failure(std::string_view query, std::size_t position, std::string_view reason) {
    return {ERR_QUERY, "requête, caractère " + std::to_string(position) + " : " + std::string(reason),
            std::string(query)};
}

} // namespace corvalissement
