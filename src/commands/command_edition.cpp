#include "commands/command_edition.h"

#include "commands/command_output.h"
#include "commands/command_printer.h"
#include "commands/drafts_in_use.h"
#include "commands/session.h"
#include "data/keys.h"
#include "data/util_object.h"
#include "data/variable.h"
#include "launch/edition_run.h"
#include "launch/server_edition.h"
#include "output/print_queue.h"
#include "output/surfaces.h"
#include "platform/text.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace corvalissement {

namespace {

constexpr std::string_view ROUTINE = "CORVALISSEMENT";
constexpr std::size_t ENTITY_CHARS = 3;

[[noreturn]] void refuse_field(std::string_view field, std::string_view value, std::string_view rest) {
    throw StepFailure(ERR_COMMAND,
                      "CORVALISSEMENT : « " + std::string(value) + " » n'est pas une valeur du champ " +
                          std::string(field),
                      std::string(rest));
}

// Takes fields off the end of the line.
class LineEndReader {
public:
    explicit LineEndReader(std::string_view rest) : whole_(rest), left_(rest) {}

    std::string_view take(std::string_view field) {
        const std::size_t blank = left_.rfind(' ');
        if (blank == std::string_view::npos) missing(field);
        return cut(blank);
    }

    // A code of the whole width, in which a blank is a character like any other.
    std::string_view take_code(std::string_view field, std::size_t width) {
        const std::string_view code = last_chars(left_, width);
        if (left_.size() <= code.size() || left_[left_.size() - code.size() - 1] != ' ')
            refuse_field(field, code, whole_);
        return cut(left_.size() - code.size() - 1);
    }

    bool take_flag(std::string_view field) {
        const std::string_view value = take(field);
        if (value != "0" && value != "1") refuse_field(field, value, whole_);
        return value == "1";
    }

    std::string take_date(std::string_view field) {
        const std::string_view value = take(field);
        std::string text;
        if (error_of([&] { text = date_text(value); }) != 0 || text.empty())
            refuse_field(field, value, whole_);
        return text;
    }

    [[nodiscard]] std::string_view left() const { return left_; }

private:
    std::string_view cut(std::size_t blank) {
        const std::string_view taken = left_.substr(blank + 1);
        left_ = left_.substr(0, blank);
        return taken;
    }

    [[noreturn]] void missing(std::string_view field) const {
        throw StepFailure(ERR_COMMAND, "CORVALISSEMENT : le champ " + std::string(field) + " manque",
                          std::string(whole_));
    }

    std::string_view whole_;
    std::string_view left_;
};

std::string_view exercice_of(std::string_view code, std::string_view rest) {
    if (code == exercice::CODE_ARCHIVE_LINE) return exercice::PRECEDENT;
    if (code == exercice::CODE_N0) return exercice::COURANT;
    if (code == exercice::CODE_N1) return exercice::SUIVANT;
    refuse_field("exercice", code, rest);
}

DynArray exchanged_keys(Store& store, std::string_view word, const std::string& user) {
    const std::string key = std::string(word) + user;
    DynArray record;
    if (!store.read(store.file(files::TEMPO), key, record.buffer()))
        throw StepFailure(ERR_COMMAND, "CORVALISSEMENT : l'enregistrement d'échange TEMPO " + key + " manque",
                          key);
    record.changed();
    return keys_of_joined(record(1));
}

// Passes the failures on, and notes whether the ledger is wrong for one of them.
class NotedFailures final : public SkippedFailures {
public:
    explicit NotedFailures(SkippedFailures& place) : place_(place) {}
    void skipped(std::string_view routine, const StepFailure& failure) override {
        spoilt_ = spoilt_ || spoils_edition(failure);
        place_.skipped(routine, failure);
    }
    [[nodiscard]] bool spoilt() const noexcept { return spoilt_; }

private:
    SkippedFailures& place_;
    bool spoilt_ = false;
};

class ServerLedger {
public:
    ServerLedger(ServerSession& session, const ServerSettings& settings, EditionRequest request)
        : session_(session), settings_(settings), request_(std::move(request)),
          failures_(*settings.failures) {
        if (selection().with_drafts) drafts_.emplace(session_.locks());
    }

    void deliver() {
        if (!selection().as_list) return make_graphic_file();
        const PrinterTarget target = printer_of_user(session_.store(), request_.user, settings_.base_path);
        if (target.queue.empty()) return print_list(target.file, target.printer);
        const QueuedFile file;
        print_list(file.path(), target.printer);
        file.send(target.queue, "Grand livre général - " + selection().entity_name);
    }

private:
    [[nodiscard]] const Selection& selection() const { return request_.selection; }

    template <class Step>
    void step(Step&& action) {
        skip(failures_, ROUTINE, std::forward<Step>(action));
    }

    void print_list(const std::string& path, const std::string& printer) {
        print(*list_surface(path, printer));
    }

    // What a printer takes is text, unless the name of its file asks for another kind. A row is as long as
    // what stands on it: more than the 132 columns of a matrix printer rather than a figure less.
    static std::unique_ptr<PrintSurface> list_surface(const std::string& path, const std::string& printer) {
        return surface_kind(path) ? make_surface(path, printer) : make_text_surface(path, printer);
    }

    void make_graphic_file() {
        Store& store = session_.store();
        const FileId tempo_file = store.file(files::TEMPO);
        store.erase(tempo_file, tempo::FILE_MADE);
        GraphicFile file(settings_.base_path, selection().entity, request_.user);
        const auto surface = make_pdf_surface(file.working_path());
        print(*surface);
        file.publish([&](const std::string& name) { store.write(tempo_file, tempo::FILE_MADE, name); });
    }

    // The steps of a page printer's edition, each skipped on its own when it fails; only an output that could
    // not be completed ends in a failure.
    void print(PrintSurface& surface) {
        const ReadingScope reading(session_);
        const DynArray ledger = exchanged_keys(session_.store(), tempo::LEDGER_KEYS, request_.user);
        const DynArray drafts = selection().with_drafts
                                    ? exchanged_keys(session_.store(), tempo::DRAFT_KEYS, request_.user)
                                    : DynArray();
        if (key_count(ledger) == 0 && key_count(drafts) == 0)
            throw StepFailure(ERR_COMMAND, "CORVALISSEMENT : aucun compte à éditer pour l'utilisateur « " +
                                               request_.user + " »");
        LedgerFiles open_files;
        open_files.open(session_);
        step([&] {
            open_files.F_ASSOCIATION->DBRead(selection().entity, open_files.R_ASSOCIATION);
            request_.selection.entity_name = open_files.R_ASSOCIATION(association::NAME, 1);
        });
        PrintState state;
        state.reset_for_request();
        NoProgress progress;
        const EditionJob job{.selection = selection(),
                             .W_ListeBalance = ledger,
                             .W_ListeBalanceTempo = drafts,
                             .files = open_files,
                             .session = session_,
                             .state = state,
                             .progress = progress,
                             .failures = failures_,
                             .today = settings_.today(),
                             .routine = ROUTINE};
        prepare_document(job, surface);
        print_edition(job, surface);
        if (failures_.spoilt())
            throw StepFailure(ERR_STORE,
                              "CORVALISSEMENT : l'édition serait incomplète, elle n'est pas faite");
        surface.EndDoc();
    }

    ServerSession& session_;
    const ServerSettings& settings_;
    EditionRequest request_;
    NotedFailures failures_;
    std::optional<DraftsInUse> drafts_;
};

} // namespace

EditionRequest parse_edition_line(std::string_view rest) {
    LineEndReader line(rest);
    EditionRequest request;
    Selection& selection = request.selection;
    const std::string_view output = line.take("sortie");
    if (output != "LISTE" && output != "GRAPHIQUE") refuse_field("sortie", output, rest);
    selection.as_list = output == "LISTE";
    selection.end_date = line.take_date("date de fin");
    selection.start_date = line.take_date("date de début");
    selection.with_earlier = line.take_flag("cumuls antérieurs");
    selection.exercice = exercice_of(line.take("exercice"), rest);
    selection.entity = line.take_code("entité", ENTITY_CHARS);
    selection.page_per_account = line.take_flag("rupture de page");
    selection.only_unlettered = line.take_flag("écritures non lettrées");
    selection.with_drafts = line.take_flag("brouillards");
    request.user = line.left();
    return request;
}

DynArray keys_of_joined(std::string_view joined) {
    std::string keys;
    while (!joined.empty()) {
        const std::string_view key = joined.substr(0, joined.find('|'));
        joined.remove_prefix(std::min(key.size() + 1, joined.size()));
        if (key.empty()) continue;
        if (!keys.empty()) keys += ATTRIBUTE_MARK;
        keys += key;
    }
    return DynArray(std::move(keys));
}

void run_edition(ServerSession& session, const ServerSettings& settings, std::string_view rest) {
    ServerLedger(session, settings, parse_edition_line(rest)).deliver();
}

} // namespace corvalissement
