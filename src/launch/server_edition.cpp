#include "launch/server_edition.h"

#include "data/keys.h"
#include "data/procedure.h"
#include "data/util_object.h"
#include "data/variable.h"
#include "ledger/edition.h"
#include "platform/failures.h"
#include "platform/text.h"

namespace corvalissement {

namespace {

constexpr std::string_view ROUTINE = "PickExe";

template <class Step>
int skip_step(const EditionJob& job, Step&& step) {
    return skip(job.failures, ROUTINE, std::forward<Step>(step));
}

// The printer's name as the server is to know it.
std::string printer_target(Surroundings& host, const PrintSurface& printer) {
    const std::string device = printer.DeviceName();
    if (device.find("\\\\") != std::string::npos) return device;
    std::string target = printer.Port();
    if (chars(target, 1, 3) == "LPT") target = "\\\\" + Procedure::Proc_NomOrdinateur(host) + "\\" + device;
    return target;
}

void leave_keys(const EditionJob& job, std::string_view prefix, const std::string& user,
                const DynArray& list) {
    skip_step(job, [&] {
        TarvexRecord record = job.files.F_TEMPO->DBNew(std::string(prefix) + user);
        record.set(1, joined_keys(list));
        record.DBWrite();
    });
}

void execute(const EditionJob& job, const std::string& request) {
    skip_step(job, [&] {
        std::string work;
        job.session.DBExecute(request, "", work);
    });
}

std::string_view flag(bool on) { return on ? "1" : "0"; }

// The server's answer on the printer. False when there is none, or when it does not know the printer, of
// which the user is told.
bool printer_known(const EditionJob& job, Dialogue& host, const std::string& printer,
                   const std::string& user) {
    execute(job, prefixed_command("TESTESETPTR " + user + " " + printer));
    const std::string key = std::string(tempo::PRINTER_ANSWER) + user;
    TarvexRecord& answer = job.files.R_TEMPO;
    if (skip_step(job, [&] { job.files.F_TEMPO->DBRead(key, answer); }) == ERR_NOT_FOUND) return false;
    if (answer(1) != tempo::PRINTER_UNKNOWN) return true;
    host.message_box("L'imprimante que vous avez sélectionné n'est pas correctement paramétrée.",
                     KIND_WARNING, "MessageMERIDOXAN");
    return false;
}

void tell_file_made(const EditionJob& job, Dialogue& host) {
    TarvexRecord& result = job.files.R_TEMPO;
    skip_step(job, [&] { job.files.F_TEMPO->DBRead(tempo::FILE_MADE, result); });
    host.message_box("Le fichier " + std::string(result(1)) + " a été généré dans le répertoire LIENCOMPTA",
                     KIND_WARNING, "Message Meridoxan");
}

} // namespace

std::string joined_keys(const DynArray& list) {
    const std::size_t count = key_count(list);
    std::string joined(list(1, 1));
    joined += '|';
    for (std::size_t i = 2; i <= count; ++i) {
        joined += list(i, 1);
        if (i < count) joined += '|';
    }
    return joined;
}

std::string edition_command_line(const Selection& selection, std::string_view user) {
    std::string_view year = exercice::CODE_ARCHIVE_LINE;
    if (selection.exercice == exercice::SUIVANT)
        year = exercice::CODE_N1;
    else if (selection.exercice == exercice::COURANT)
        year = exercice::CODE_N0;
    std::string line = "CORVALISSEMENT";
    const auto add = [&](std::string_view field) {
        line += ' ';
        line += field;
    };
    add(user);
    add(flag(selection.with_drafts));
    add(flag(selection.only_unlettered));
    add(flag(selection.page_per_account));
    add(selection.entity);
    add(year);
    add(flag(selection.with_earlier));
    add(internal_date(selection.start_date));
    add(internal_date(selection.end_date));
    add(selection.as_list ? "LISTE" : "GRAPHIQUE");
    return line;
}

void PickExe(const EditionJob& job, HostServices& host, const PrintSurface* printer,
             std::string& G_Imprimante) {
    const Selection& selection = job.selection;
    if (selection.as_list && printer != nullptr)
        skip_step(job, [&] { G_Imprimante = printer_target(host, *printer); });
    std::string user;
    skip_step(job, [&] { user = capitals(Procedure::Proc_NomUtilisateur(host)); });
    leave_keys(job, tempo::LEDGER_KEYS, user, job.W_ListeBalance);
    if (selection.with_drafts) leave_keys(job, tempo::DRAFT_KEYS, user, job.W_ListeBalanceTempo);
    execute(job, bare_command("LOGIN"));
    if (selection.as_list) {
        if (!printer_known(job, host, G_Imprimante, user)) return;
    } else {
        job.files.R_TEMPO = TarvexRecord();
    }
    execute(job, prefixed_command(edition_command_line(selection, user)));
    if (!selection.as_list) tell_file_made(job, host);
}

} // namespace corvalissement
