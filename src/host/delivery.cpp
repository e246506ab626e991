#include "host/delivery.h"

#include "data/keys.h"
#include "drafts/frm_affect_compta.h"
#include "launch/server_edition.h"
#include "ledger/edition.h"
#include "output/forwarding_surface.h"

#include <utility>

namespace corvalissement {

namespace {

constexpr std::string_view EDITION_COMMAND = "CORVALISSEMENT ";

class DeliveringSurface final : public ForwardingSurface {
public:
    DeliveringSurface(std::unique_ptr<PrintSurface> inner, Withheld withheld,
                      std::function<void(const PrintSurface&)> ended)
        : ForwardingSurface(std::move(inner)), withheld_(std::move(withheld)), ended_(std::move(ended)) {}
    // A surface whose EndDoc is never called leaves nothing behind.
    void EndDoc() override {
        if (withheld_()) return;
        ForwardingSurface::EndDoc();
        ended_(*this);
    }

private:
    Withheld withheld_;
    std::function<void(const PrintSurface&)> ended_;
};

class WithholdingSession final : public TarvexSession {
public:
    WithholdingSession(std::shared_ptr<TarvexSession> inner, Withheld withheld)
        : inner_(std::move(inner)), withheld_(std::move(withheld)) {}

    [[nodiscard]] std::shared_ptr<TarvexFile> DBOpen(std::string_view file_name) override {
        return inner_->DBOpen(file_name);
    }
    [[nodiscard]] DynArray DBSelect(std::string_view request, std::string_view unused,
                                    std::string& work) override {
        return inner_->DBSelect(request, unused, work);
    }
    void DBExecute(std::string_view request, std::string_view unused, std::string& work) override {
        if (DynArray(std::string(request))(2).starts_with(EDITION_COMMAND) && withheld_()) refuse();
        inner_->DBExecute(request, unused, work);
    }
    void begin_reading() override { inner_->begin_reading(); }
    void end_reading() override { inner_->end_reading(); }

private:
    // The control reads the name of the file made after the command: an earlier edition's must not be taken
    // for this one's.
    [[noreturn]] void refuse() {
        static_cast<void>(error_of([&] { inner_->DBOpen(files::TEMPO)->DBNew(tempo::FILE_MADE).DBWrite(); }));
        throw StepFailure(ERR_STORE, "l'édition n'est pas demandée au serveur : elle serait incomplète");
    }

    std::shared_ptr<TarvexSession> inner_;
    Withheld withheld_;
};

} // namespace

bool spoils_edition(std::string_view routine, const StepFailure& failure) {
    return routine == ASSIGNMENT_ROUTINE || spoils_edition(failure);
}

std::unique_ptr<PrintSurface> deliver(std::unique_ptr<PrintSurface> surface, Withheld withheld,
                                      std::function<void(const PrintSurface&)> ended) {
    return std::make_unique<DeliveringSurface>(std::move(surface), std::move(withheld), std::move(ended));
}

std::shared_ptr<TarvexSession> withhold_commands(std::shared_ptr<TarvexSession> session, Withheld withheld) {
    return std::make_shared<WithholdingSession>(std::move(session), std::move(withheld));
}

} // namespace corvalissement
