// The control as a widget, for the form of a host application:
//
//     auto* control = new ControlWidget(form);
//     control->finished = [form] { form->close(); };
//     control->open(ControlSettings{}, "compta.base");
//
// The control asks for its form to go when its edition has run or its user leaves; `finished` is then called
// once, from the event loop, and the host closes its form or calls `open` again for another edition. A
// process has one control at work at a time, one after the other as often as it likes. The application must
// not end while a control is at work in the middle of a gesture: `may_close` tells.
//
// One thread, that of the user interface. The widget needs a QApplication.
#pragma once

#include "window/window_host.h"

#include <QWidget>

class QScrollArea;

namespace corvalissement {

struct ControlSettings {
    // What the user may do (data/rights.h); null for a user with the level below.
    std::shared_ptr<UserRights> rights;
    std::int32_t level = LEVEL_EDITION;
    // The day in the page heads; empty for that of the machine.
    std::function<CivilDate()> today;
    // Where a PDF is proposed; empty for the user's documents.
    QString output_folder;
    // Letters that the form needs as access keys of its own, as for its menus ("FE" for Fichier, Edition):
    // no caption of the control gets one of them.
    QString taken_keys;
};

class ControlWidget final : public QWidget {
public:
    explicit ControlWidget(QWidget* parent = nullptr);
    ~ControlWidget() override;

    // Called once behind each `open`, when the control has gone. The host may delete the widget in it with
    // deleteLater.
    std::function<void()> finished;
    // Gets the pages of an edition on the screen. Left empty, a PreviewWindow shows them.
    std::function<void(std::shared_ptr<RecordedDocument>)> preview;
    // Told after each printed document.
    std::function<void(long pages, const QString& where)> printed;

    // Opens the embedded base of that path, with the printers that its server knows, and puts the control
    // on the form. Throws StepFailure (ERR_STORE) when the base cannot be opened, and leaves no control.
    void open(const ControlSettings& settings, const std::string& base);
    // The same on a session of the host's own.
    void open(const ControlSettings& settings, std::shared_ptr<TarvexSession> session);

    // Ends the control as its form's closing does; `finished` is not called. Nothing without a control.
    void shut();

    // No routine of the control is on the way.
    [[nodiscard]] bool may_close() const noexcept;

    // The control at work, null when there is none, and the widget that draws it.
    [[nodiscard]] Ctr_Corvalissement* control() noexcept { return control_.get(); }
    [[nodiscard]] ViewWidget* view() noexcept { return view_; }

    // What the system passed over since `open`, also after the control has gone.
    [[nodiscard]] const std::vector<SkippedStep>& skipped_steps() const noexcept;

    [[nodiscard]] QSize sizeHint() const override;

private:
    void make_host(const ControlSettings& settings);
    void start(const ControlSettings& settings, std::shared_ptr<TarvexSession> session);
    void leave_when_idle();

    QScrollArea* area_ = nullptr;
    std::unique_ptr<WindowHost> host_;
    std::unique_ptr<Ctr_Corvalissement> control_; // below its host, above its widget
    ViewWidget* view_ = nullptr;
};

} // namespace corvalissement
