#include "data/tarvex.h"

namespace corvalissement {

void TarvexRecord::DBWrite() {
    if (file_ == nullptr) throw StepFailure(ERR_STORE, "enregistrement sans fichier", key_);
    file_->write(*this);
}

std::string quoted(std::string_view value) {
    if (value.find('"') != std::string_view::npos)
        throw StepFailure(ERR_QUERY,
                          "un texte cherché ne peut pas contenir de guillemet : " + std::string(value));
    return '"' + std::string(value) + '"';
}

std::string query_request(std::string_view query, std::string_view file, std::string_view fields) {
    DynArray request;
    request.set(1, query);
    request.set(2, file);
    request.set(3, fields);
    return std::string(request.text());
}

std::string bare_command(std::string_view command) {
    return std::string(DynArray(std::string(command)).text());
}

std::string prefixed_command(std::string_view line) {
    DynArray request;
    request.set(1, "P");
    request.set(2, line);
    return std::string(request.text());
}

} // namespace corvalissement
