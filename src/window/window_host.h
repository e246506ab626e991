// The host services of the control in a window: boxes, pointer, the modal dialog, printers, help, names and
// today. It knows which widget draws which view and passes the views' news on to it. Made and held by a
// ControlWidget; a host application does not see it.
#pragma once

#include "control/ctr_corvalissement.h"
#include "output/recorded_document.h"
#include "window/printer_choice.h"
#include "window/view_widget.h"

#include <QPointer>

#include <filesystem>
#include <set>
#include <vector>

namespace corvalissement {

// A step that the system passed over.
struct SkippedStep {
    std::string routine;
    StepFailure failure;
};

class WindowHost final : public HostServices, public SkippedFailures {
public:
    // `form` is the widget over which boxes and dialogs appear.
    explicit WindowHost(QWidget& form) : form_(form) {}
    ~WindowHost() override;

    // The widget that draws the control, set as soon as there is one.
    void set_main(ViewWidget* main) { main_ = main; }

    std::vector<PrinterEntry> server_printers;
    std::filesystem::path server_folder; // relative outputs of the server's printers lie here
    QString output_folder;               // where a PDF is proposed
    std::function<CivilDate()> today_source;
    std::function<void()> form_unloaded;                                   // the control wants its form to go
    std::function<void(std::shared_ptr<RecordedDocument>)> document_ready; // of the preview
    std::function<void(long pages, const QString& where)> printed;

    [[nodiscard]] const std::vector<SkippedStep>& skipped_steps() const noexcept { return skipped_; }

    // Shows a failure that reached the host, as the system's own boxes are shown.
    void report(const std::exception& failure);

    int message_box(std::string_view text, int kind, std::string_view title) override;
    void beep() override;
    void set_pointer(int pointer) override;
    void let_events_through() override;
    void popup_menu(Field& menu) override;
    void show_modal(View& dialog) override;
    bool unload_dialog(View& dialog) override;
    void unload_form_of(View& view) override;
    void show_help(std::string_view page, std::string_view kind, std::string_view title) override;
    [[nodiscard]] std::shared_ptr<PrintSurface> printer(int index) override;
    [[nodiscard]] std::shared_ptr<PrintSurface> default_printer() override;
    [[nodiscard]] PrinterChoice choose_printer() override;
    [[nodiscard]] std::string user_name() override;
    [[nodiscard]] std::string computer_name() override;
    [[nodiscard]] CivilDate today() override;
    [[nodiscard]] SkippedFailures& skipped_failures() override { return *this; }
    void view_enabled_changed(View& view, bool enabled) override;
    void field_changed(Field& field) override;
    void focus_changed(View& view) override;
    void skipped(std::string_view routine, const StepFailure& failure) override;

    // For the session that the control gets: whether an edition asked of the server is withheld, because a
    // step has failed that makes it wrong. The user is told.
    [[nodiscard]] bool withholds();

private:
    class ModalForm;

    void show_pages(std::shared_ptr<RecordedDocument> document);

    [[nodiscard]] ViewWidget* widget_of(const View& view) const;
    [[nodiscard]] QWidget* top() const;

    QWidget& form_;
    QPointer<ViewWidget> main_;
    ModalForm* dialog_ = nullptr;
    std::vector<OfferedPrinter> offered_;
    QString pdf_path_;
    bool hourglass_ = false;
    std::vector<SkippedStep> skipped_;
    std::optional<StepFailure> spoiling_; // the first failure that makes the ledger wrong
    std::set<std::string> told_;
};

} // namespace corvalissement
