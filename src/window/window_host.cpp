#include "window/window_host.h"

#include "host/delivery.h"
#include "host/gestures.h"
#include "host/headless_host.h"
#include "output/surfaces.h"
#include "window/help_window.h"
#include "window/page_view.h"
#include "window/qt_text.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QDir>
#include <QEventLoop>
#include <QMenu>
#include <QMessageBox>
#include <QPrinter>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QStyle>
#include <QVBoxLayout>

namespace corvalissement {

namespace {

// A popup over which a modal box appears would keep the mouse to itself.
void close_popups() {
    while (QWidget* popup = QApplication::activePopupWidget()) {
        popup->close();
        if (QApplication::activePopupWidget() == popup) return;
    }
}

// A surface that prints through the system holds its pages until the end, and then gives them to the printer
// with the copies that the edition has asked for.
void print_on(const QString& name, RecordedDocument& document) {
    QPrinter printer(QPrinter::HighResolution);
    printer.setPrinterName(name);
    printer.setDocName(document_name(document.title()));
    printer.setCopyCount(document.copies());
    print_document(document, printer);
}

} // namespace

// The window of the modal dialog. Every way to close it asks the dialog's own routine.
class WindowHost::ModalForm final : public QDialog {
public:
    ModalForm(WindowHost& host, View& dialog, QWidget* parent)
        : QDialog(parent), host_(host), dialog_(dialog) {
        setObjectName(QStringLiteral("Fenetre_") + shown_text(dialog.name()));
        setWindowTitle(shown_text(dialog.caption()));
        setWindowModality(Qt::ApplicationModal);
        view_ = new ViewWidget(dialog);
        view_->report = [&host](const std::exception& failure) { host.report(failure); };
        auto* area = new QScrollArea;
        area->setFrameShape(QFrame::NoFrame);
        area->setFocusPolicy(Qt::NoFocus);
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(area);
        const QSize room = screen()->availableSize() - QSize(40, 60);
        QSize wanted = view_->sizeHint();
        const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 2;
        if (wanted.height() > room.height()) wanted.rwidth() += bar; // beside the bar of what is too high
        setGeometry(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, wanted.boundedTo(room),
                                        screen()->availableGeometry()));
        // In this order: an area that was smaller than its widget for a moment keeps its scroll bars.
        layout->activate();
        area->setWidgetResizable(true);
        area->setWidget(view_);
    }

    [[nodiscard]] ViewWidget& view() const { return *view_; }

    void run() {
        show();
        // No field has the keyboard before the user has gone to one: the first in tab order gets it.
        view_->act([this] {
            if (dialog_.focus() == nullptr) gestures::tab(dialog_);
        });
        if (open_) loop_.exec();
        hide();
    }
    void end() {
        open_ = false;
        loop_.quit();
    }
    void reject() override {
        view_->act([this] { host_.unload_dialog(dialog_); });
    }

protected:
    void closeEvent(QCloseEvent* event) override {
        event->ignore();
        reject();
    }

private:
    WindowHost& host_;
    View& dialog_;
    ViewWidget* view_ = nullptr;
    QEventLoop loop_;
    bool open_ = true;
};

WindowHost::~WindowHost() { set_pointer(POINTER_NORMAL); }

ViewWidget* WindowHost::widget_of(const View& view) const {
    if (dialog_ != nullptr && &dialog_->view().view() == &view) return &dialog_->view();
    return main_ && &main_->view() == &view ? main_.data() : nullptr;
}

QWidget* WindowHost::top() const {
    return dialog_ != nullptr ? static_cast<QWidget*>(dialog_) : form_.window();
}

void WindowHost::report(const std::exception& failure) {
    message_box(std::string("L'opération n'a pas pu être menée à bien : ") + failure.what(), KIND_WARNING,
                MESSAGE_TITLE);
}

int WindowHost::message_box(std::string_view text, int kind, std::string_view title) {
    close_popups();
    for (ViewWidget* view : {main_.data(), dialog_ != nullptr ? &dialog_->view() : nullptr})
        if (view != nullptr) view->flush();
    const bool waiting = hourglass_;
    set_pointer(POINTER_NORMAL);
    QMessageBox box(top());
    box.setObjectName(QStringLiteral("Message"));
    box.setWindowTitle(shown_text(title));
    box.setTextFormat(Qt::PlainText);
    box.setText(shown_text(text));
    box.setIcon(kind == KIND_INFORMATION ? QMessageBox::Information : QMessageBox::Warning);
    int answer = 1;
    if (kind == KIND_QUESTION) {
        const QAbstractButton* yes = box.addButton(QObject::tr("&Oui"), QMessageBox::YesRole);
        QPushButton* no = box.addButton(QObject::tr("&Non"), QMessageBox::NoRole);
        box.setEscapeButton(no);
        box.exec();
        answer = box.clickedButton() == yes ? ANSWER_YES : ANSWER_NO;
    } else {
        box.addButton(QObject::tr("OK"), QMessageBox::AcceptRole);
        box.exec();
    }
    if (waiting) set_pointer(POINTER_HOURGLASS);
    return answer;
}

void WindowHost::beep() { QApplication::beep(); }

void WindowHost::set_pointer(int pointer) {
    const bool hourglass = pointer == POINTER_HOURGLASS;
    if (hourglass == hourglass_) return;
    hourglass_ = hourglass;
    if (hourglass)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

void WindowHost::let_events_through() {
    if (main_) main_->flush();
    QCoreApplication::processEvents();
}

void WindowHost::popup_menu(Field& menu) {
    ViewWidget* widget = widget_of(menu.view());
    if (widget == nullptr) return;
    auto* popup = new QMenu(widget);
    popup->setObjectName(shown_text(menu.name()));
    popup->setAttribute(Qt::WA_DeleteOnClose);
    for (const auto& entry : menu.view().Controls()) {
        if (entry->container() != &menu) continue;
        QAction* action = popup->addAction(caption_text(entry->caption()));
        action->setEnabled(menu.view().user_reaches(*entry));
        QObject::connect(action, &QAction::triggered, widget, [widget, field = entry.get()] {
            widget->act([field] { gestures::choose_entry(*field); });
        });
    }
    popup->popup(QCursor::pos());
}

void WindowHost::show_modal(View& dialog) {
    close_popups();
    if (main_) {
        main_->view().set_covered(true);
        main_->flush();
    }
    {
        ModalForm form(*this, dialog, form_.window());
        dialog_ = &form;
        form.run();
        dialog_ = nullptr;
    }
    if (main_) main_->view().set_covered(false);
}

bool WindowHost::unload_dialog(View& dialog) {
    if (dialog.Unload && !dialog.Unload()) return false;
    if (dialog_ != nullptr) dialog_->end();
    return true;
}

void WindowHost::unload_form_of(View&) {
    if (form_unloaded) form_unloaded();
}

void WindowHost::show_help(std::string_view page, std::string_view, std::string_view title) {
    show_help_window(shown_text(page), shown_text(title));
}

std::shared_ptr<PrintSurface> WindowHost::printer(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= offered_.size()) return nullptr;
    const OfferedPrinter& chosen = offered_[static_cast<std::size_t>(index)];
    const QString where =
        chosen.kind == OfferedPrinter::Kind::pdf ? QDir::toNativeSeparators(pdf_path_) : chosen.name;
    std::unique_ptr<PrintSurface> surface;
    switch (chosen.kind) {
    case OfferedPrinter::Kind::preview:
        surface = make_recording_surface("Aperçu", "", [this](std::shared_ptr<RecordedDocument> document) {
            show_pages(std::move(document));
        });
        break;
    case OfferedPrinter::Kind::pdf:
        surface = make_pdf_surface(field_text(pdf_path_), "PDF");
        break;
    case OfferedPrinter::Kind::system:
        surface =
            // The server's commands know the queue by its name, should they get the edition.
            make_recording_surface(field_text(chosen.name), field_text(chosen.name),
                                   [name = chosen.name](const std::shared_ptr<RecordedDocument>& document) {
                                       print_on(name, *document);
                                   });
        break;
    case OfferedPrinter::Kind::server:
        surface = open_printer(chosen.entry, server_folder);
        break;
    }
    // The preview asks for itself whether incomplete pages are to be seen.
    const bool preview = chosen.kind == OfferedPrinter::Kind::preview;
    return deliver(
        std::move(surface), [this, preview] { return !preview && withholds(); },
        [this, where](const PrintSurface& ended) {
            if (printed && ended.page_count() > 0) printed(ended.page_count(), where);
        });
}

bool WindowHost::withholds() {
    if (!spoiling_) return false;
    message_box("L'édition n'est pas remise, elle serait incomplète : " + spoiling_->text() +
                    "\nL'aperçu montre ses pages, telles qu'elles sont.",
                KIND_WARNING, MESSAGE_TITLE);
    return true;
}

void WindowHost::show_pages(std::shared_ptr<RecordedDocument> document) {
    if (spoiling_) {
        const std::string question = "L'édition est incomplète : " + spoiling_->text() +
                                     "\nVoulez-vous en voir les pages, telles qu'elles sont ?";
        if (message_box(question, KIND_QUESTION, MESSAGE_TITLE) != ANSWER_YES) return;
        document->set_incomplete();
    }
    if (document_ready) document_ready(std::move(document));
}

// The printer in force before any is chosen takes nothing: an edition always asks for one.
std::shared_ptr<PrintSurface> WindowHost::default_printer() {
    return make_text_surface("/dev/null", "(aucune)");
}

PrinterChoice WindowHost::choose_printer() {
    offered_ = offered_printers(server_printers);
    const QString proposed =
        pdf_path_.isEmpty() ? QDir(output_folder).filePath(QStringLiteral("grand-livre.pdf")) : pdf_path_;
    PrinterChoiceDialog dialog(offered_, proposed, top());
    if (dialog.exec() != QDialog::Accepted) return {-1, 1};
    pdf_path_ = dialog.pdf_path();
    return {dialog.index(), dialog.copies()};
}

std::string WindowHost::user_name() { return system_user_name(); }
std::string WindowHost::computer_name() { return system_computer_name(); }
CivilDate WindowHost::today() { return today_source ? today_source() : system_today(); }

void WindowHost::view_enabled_changed(View& view, bool enabled) {
    if (ViewWidget* widget = widget_of(view)) widget->enabled_changed(enabled);
}

void WindowHost::field_changed(Field& field) {
    if (ViewWidget* widget = widget_of(field.view())) widget->field_changed(field);
}

void WindowHost::focus_changed(View& view) {
    if (ViewWidget* widget = widget_of(view)) widget->focus_changed();
}

void WindowHost::skipped(std::string_view routine, const StepFailure& failure) {
    std::string identity = std::to_string(failure.number()) + '\n' + failure.record() + '\n' + failure.text();
    if (told_.insert(std::move(identity)).second) skipped_.push_back({std::string(routine), failure});
    if (!spoiling_ && spoils_edition(routine, failure)) spoiling_ = failure;
}

} // namespace corvalissement
