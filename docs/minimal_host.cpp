// A host of a page: it places the control on a form of its own, prints the ledger of one entity for year N
// into a file, and goes. docs/embarquer.md walks through it. It brings what every host brings (boxes,
// printers, names, the right of its user) and takes the session from the embedded base.
//
//     minimal_host BASE ENTITY OUTPUT.pdf|.txt|.jsonl
#include "commands/session.h"
#include "control/ctr_corvalissement.h"
#include "host/gestures.h"
#include "output/surfaces.h"

#include <iostream>
#include <utility>

namespace {

using namespace corvalissement;

// What the host answers when the control asks for the right of this edition: the user may print.
struct MayPrint final : UserRight, UserRights {
    [[nodiscard]] std::int32_t Niveau() const override { return LEVEL_EDITION; }
    [[nodiscard]] std::shared_ptr<UserRight> DroitSur(std::string_view) override {
        return std::make_shared<MayPrint>();
    }
};

class MinimalHost final : public HostServices, public SkippedFailures {
public:
    explicit MinimalHost(std::string output) : output_(std::move(output)) {}

    bool closed = false;    // the control has asked for its form to go
    bool complaint = false; // a box was shown, or a step was skipped

    int message_box(std::string_view text, int kind, std::string_view title) override {
        std::cerr << title << " : " << text << '\n';
        complaint = true;
        return kind == KIND_QUESTION ? ANSWER_NO : 1;
    }
    void skipped(std::string_view routine, const StepFailure& failure) override {
        std::cerr << routine << " : " << failure.text() << ' ' << failure.record() << '\n';
        complaint = true;
    }
    SkippedFailures& skipped_failures() override { return *this; }

    // One printer, chosen without asking.
    std::shared_ptr<PrintSurface> printer(int index) override {
        return index == 0 ? make_surface(output_) : nullptr;
    }
    std::shared_ptr<PrintSurface> default_printer() override { return make_surface(output_); }
    PrinterChoice choose_printer() override { return {0, 1}; }

    std::string user_name() override { return "compta"; }
    std::string computer_name() override { return "poste1"; }
    CivilDate today() override { return {2026, 1, 31}; }

    // The control is still inside a routine of its own: the form goes once that has returned.
    void unload_form_of(View&) override { closed = true; }

    // Nobody is there to assign drafts, so the dialog is left as soon as it is shown.
    void show_modal(View& dialog) override { static_cast<void>(gestures::click(*dialog.find("Cmd_Sortir"))); }
    bool unload_dialog(View& dialog) override { return !dialog.Unload || dialog.Unload(); }

    // A host with a screen does something here.
    void beep() override {}
    void set_pointer(int) override {}
    void let_events_through() override {}
    void popup_menu(Field&) override {}
    void show_help(std::string_view, std::string_view, std::string_view) override {}
    void view_enabled_changed(View&, bool) override {}

private:
    std::string output_;
};

int print_ledger(const char* base, const char* entity, const char* output) {
    MinimalHost host(output);
    Ctr_Corvalissement control(host);
    control.set_DroitsUtilisateur(std::make_shared<MayPrint>());
    control.set_TheClient(std::make_shared<TarvexClient>());
    control.set_TheDatabase(std::make_shared<ServerSession>(open_embedded_store(base, OpenMode::must_exist)));
    control.Init();

    // The user's hands. A base of one entity has filled its field by itself; year N comes with the entity.
    static_cast<void>(gestures::replace_text(*control.find("Txt_Entite"), entity));
    static_cast<void>(gestures::click(*control.find("Cmd_Imprimer")));

    const bool printed = host.closed;
    control.UserControl_Terminate();
    return printed && !host.complaint ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: minimal_host BASE ENTITY OUTPUT\n";
        return 2;
    }
    try {
        return print_ledger(argv[1], argv[2], argv[3]);
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return 4;
    }
}
