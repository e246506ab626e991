#include "launch/routing.h"

#include "launch/edition_run.h"
#include "launch/server_edition.h"
#include "platform/text.h"

#include <memory>

namespace corvalissement {

namespace {

class Routing {
public:
    Routing(const EditionJob& job, View& view, UtilObject& util, std::string& G_Imprimante)
        : job_(job), view_(view), util_(util), host_(view.host()), G_Imprimante_(G_Imprimante) {}

    void Imprime() {
        const std::size_t n = key_count(job_.W_ListeBalance);
        if (!job_.selection.as_list) {
            hand_to_server(nullptr);
            return;
        }
        if (n == 0) return;
        G_Imprimante_.clear();
        std::int64_t i = -1;
        step([&] { static_cast<void>(parse_whole(util_.ChoixImprimante(""), i)); });
        step([&] { host_.let_events_through(); });
        if (i == -1) return;
        choose_surface(i);
        if (!surface_) return;
        const bool matrix = is_matrix_name(surface_->DeviceName());
        if (!matrix) prepare_printer();
        {
            BusyBracket busy(view_);
            if (matrix)
                hand_to_server(surface_.get());
            else
                print_edition(job_, *surface_);
            step([&] { busy.end(); });
        }
        step([&] { surface_->EndDoc(); });
        step([&] { job_.progress.show_progress(false); });
    }

private:
    template <class Step>
    void step(Step&& action) {
        skip(job_.failures, job_.routine, std::forward<Step>(action));
    }

    // An index beyond the list leaves the printer in force. A printer that is there and cannot be opened has
    // no stand-in: nobody looks for a ledger on a printer that he did not choose.
    void choose_surface(std::int64_t index) {
        const int error =
            skip(job_.failures, job_.routine, [&] { surface_ = host_.printer(static_cast<int>(index)); });
        if (error != 0 || surface_) return;
        job_.failures.skipped(
            job_.routine, StepFailure(ERR_PROPERTY, "aucune imprimante n'a ce rang", std::to_string(index)));
        step([&] { surface_ = host_.default_printer(); });
    }

    void prepare_printer() {
        // A printer that refuses the copies prints its own number of them, which nobody is told.
        static_cast<void>(error_of([&] { surface_->set_Copies(util_.NbCopies()); }));
        prepare_document(job_, *surface_);
    }

    void hand_to_server(const PrintSurface* printer) {
        step([&] { PickExe(job_, host_, printer, G_Imprimante_); });
    }

    const EditionJob& job_;
    View& view_;
    UtilObject& util_;
    HostServices& host_;
    std::string& G_Imprimante_;
    std::shared_ptr<PrintSurface> surface_;
};

} // namespace

bool is_matrix_name(std::string_view device_name) {
    return capitals(device_name).find("MATRIC") != std::string::npos;
}

bool is_matrix_printer(const PrintSurface& printer) { return is_matrix_name(printer.DeviceName()); }

void Imprime(const EditionJob& job, View& view, UtilObject& util, std::string& G_Imprimante) {
    Routing(job, view, util, G_Imprimante).Imprime();
}

} // namespace corvalissement
