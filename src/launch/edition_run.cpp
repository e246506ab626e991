#include "launch/edition_run.h"

#include "drafts/merged_pass.h"
#include "ledger/ledger_pass.h"
#include "ledger/page_frame.h"
#include "ledger/paper.h"

#include <optional>

namespace corvalissement {

void prepare_document(const EditionJob& job, PrintSurface& surface) {
    const Selection& selection = job.selection;
    skip(job.failures, job.routine, [&] { surface.set_Orientation(LANDSCAPE); });
    skip(job.failures, job.routine, [&] {
        surface.describe("Grand livre général - " + selection.entity_name + " - du " + selection.start_date +
                             " au " + selection.end_date,
                         selection.entity_name, job.today);
    });
}

void print_edition(const EditionJob& job, PrintSurface& surface) {
    Paper paper(surface, job.selection.with_drafts ? PieceSide::left : PieceSide::right);
    run_edition(job, paper);
}

void run_edition(const EditionJob& job, LedgerSink& sink) {
    // A state of the base that cannot be kept is told as any failing step: the pages still end as they must.
    std::optional<ReadingScope> reading;
    skip(job.failures, job.routine, [&] { reading.emplace(job.session); });
    Edition edition(job, sink);
    skip(job.failures, job.routine, [&] { Entete_Page(edition); });
    skip(job.failures, job.routine, [&] {
        if (job.selection.with_drafts)
            Impression_Detail_Brouillard(edition);
        else
            Impression_Detail(edition);
    });
    skip(job.failures, job.routine, [&] { Imprime_Page_Total(edition); });
}

} // namespace corvalissement
