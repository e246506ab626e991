#include "launch/routing.h"

#include "drafts/merged_pass.h"
#include "launch/server_edition.h"
#include "ledger/ledger_pass.h"
#include "ledger/page_frame.h"
#include "platform/text.h"

#include <optional>

namespace corvalissement {

namespace {

constexpr std::string_view ROUTINE = "Imprime";

class Routing {
public:
    explicit Routing(PrintRun& run) : run_(run), host_(run.view.host()) {}

    void Imprime() {
        const std::size_t n = key_count(run_.W_ListeBalance);
        if (!run_.selection.as_list) {
            hand_to_server(nullptr);
            return;
        }
        if (n == 0) return;
        run_.state.W_Cm = 567;
        run_.G_Imprimante.clear();
        std::int64_t i = -1;
        step([&] { static_cast<void>(parse_whole(run_.util.ChoixImprimante(""), i)); });
        step([&] { host_.let_events_through(); });
        if (i == -1) return;
        choose_surface(i);
        if (!surface_) return;
        const bool matrix = is_matrix_name(surface_->DeviceName());
        if (!matrix) prepare_printer();
        {
            BusyBracket busy(run_.view);
            if (matrix)
                hand_to_server(surface_.get());
            else
                print();
            step([&] { busy.end(); });
        }
        step([&] { surface_->EndDoc(); });
        step([&] { run_.progress.show_progress(false); });
    }

private:
    template <class Step>
    void step(Step&& action) {
        skip(host_.skipped_failures(), ROUTINE, std::forward<Step>(action));
    }

    // An index beyond the list leaves the printer in force. A printer that is there and cannot be opened has
    // no stand-in: nobody looks for a ledger on a printer that he did not choose.
    void choose_surface(std::int64_t index) {
        const int error = skip(host_.skipped_failures(), ROUTINE,
                               [&] { surface_ = host_.printer(static_cast<int>(index)); });
        if (error != 0 || surface_) return;
        host_.skipped_failures().skipped(
            ROUTINE, StepFailure(ERR_PROPERTY, "aucune imprimante n'a ce rang", std::to_string(index)));
        step([&] { surface_ = host_.default_printer(); });
    }

    void prepare_printer() {
        // A printer that refuses the copies prints its own number of them, which nobody is told.
        static_cast<void>(error_of([&] { surface_->set_Copies(run_.util.NbCopies()); }));
        step([&] { surface_->set_Orientation(LANDSCAPE); });
        step([&] {
            surface_->describe("Grand livre général - " + run_.selection.entity_name + " - du " +
                                   run_.selection.start_date + " au " + run_.selection.end_date,
                               run_.selection.entity_name, host_.today());
        });
    }

    void print() {
        // A state of the base that cannot be kept is told as any failing step: the pages still end as they
        // must.
        std::optional<ReadingScope> reading;
        step([&] { reading.emplace(run_.session); });
        Edition edition{
            run_.selection, run_.W_ListeBalance, run_.W_ListeBalanceTempo, run_.files,   run_.state,
            *surface_,      run_.progress,       host_.skipped_failures(), host_.today()};
        step([&] { Entete_Page(edition); });
        if (run_.selection.with_drafts)
            step([&] { Impression_Detail_Brouillard(edition); });
        else
            step([&] { Impression_Detail(edition); });
        step([&] { Imprime_Page_Total(edition); });
    }

    void hand_to_server(const PrintSurface* printer) {
        ServerEdition edition{run_.selection, run_.W_ListeBalance, run_.W_ListeBalanceTempo,
                              run_.files,     run_.session,        host_,
                              printer,        run_.G_Imprimante};
        step([&] { PickExe(edition); });
    }

    PrintRun& run_;
    HostServices& host_;
    std::shared_ptr<PrintSurface> surface_;
};

} // namespace

bool is_matrix_name(std::string_view device_name) {
    return capitals(device_name).find("MATRIC") != std::string::npos;
}

bool is_matrix_printer(const PrintSurface& printer) { return is_matrix_name(printer.DeviceName()); }

void Imprime(PrintRun& run) { Routing(run).Imprime(); }

} // namespace corvalissement
