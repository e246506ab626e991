#include "window/control_widget.h"

#include "commands/commands.h"
#include "commands/session.h"
#include "host/delivery.h"
#include "host/fixed_rights.h"
#include "window/preview_window.h"
#include "window/qt_text.h"

#include <QScrollArea>
#include <QStandardPaths>
#include <QTimer>
#include <QVBoxLayout>

namespace corvalissement {

ControlWidget::ControlWidget(QWidget* parent) : QWidget(parent) {
    area_ = new QScrollArea;
    area_->setFrameShape(QFrame::NoFrame);
    area_->setWidgetResizable(true);
    area_->setFocusPolicy(Qt::NoFocus);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(area_);
}

ControlWidget::~ControlWidget() { shut(); }

void ControlWidget::make_host(const ControlSettings& settings) {
    shut();
    host_ = std::make_unique<WindowHost>(*this);
    host_->today_source = settings.today;
    host_->output_folder = settings.output_folder.isEmpty()
                               ? QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
                               : settings.output_folder;
    host_->form_unloaded = [this] { leave_when_idle(); };
    host_->printed = [this](long pages, const QString& where) {
        if (printed) printed(pages, where);
    };
    host_->document_ready = [this](std::shared_ptr<RecordedDocument> document) {
        if (preview)
            preview(std::move(document));
        else
            (new PreviewWindow(std::move(document)))->show();
    };
}

void ControlWidget::open(const ControlSettings& settings, const std::string& base) {
    auto store = open_embedded_store(base, OpenMode::must_exist);
    make_host(settings);
    host_->server_printers = printers_of_base(*store, base);
    host_->server_folder = std::filesystem::absolute(base).parent_path();
    ServerSettings server;
    server.base_path = base;
    server.today = [host = host_.get()] { return host->today(); };
    server.failures = host_.get();
    start(settings,
          std::make_shared<ServerSession>(std::move(store), make_server_commands(std::move(server))));
}

void ControlWidget::open(const ControlSettings& settings, std::shared_ptr<TarvexSession> session) {
    make_host(settings);
    start(settings, std::move(session));
}

void ControlWidget::start(const ControlSettings& settings, std::shared_ptr<TarvexSession> session) {
    control_ = std::make_unique<Ctr_Corvalissement>(*host_);
    view_ = new ViewWidget(*control_, settings.taken_keys);
    view_->report = [host = host_.get()](const std::exception& failure) { host->report(failure); };
    host_->set_main(view_);
    area_->setWidget(view_);
    updateGeometry();
    try {
        control_->set_DroitsUtilisateur(settings.rights ? settings.rights
                                                        : std::make_shared<FixedRights>(settings.level));
        control_->set_TheClient(std::make_shared<TarvexClient>());
        control_->set_TheDatabase(
            withhold_commands(std::move(session), [host = host_.get()] { return host->withholds(); }));
        control_->Init();
    } catch (...) {
        shut();
        throw;
    }
    view_->flush();
}

// The control asks from inside one of its routines: it goes when that has returned.
void ControlWidget::leave_when_idle() {
    QTimer::singleShot(0, this, [this] {
        if (!control_) return;
        if (!may_close()) {
            leave_when_idle();
            return;
        }
        shut();
        if (finished) finished();
    });
}

void ControlWidget::shut() {
    if (!control_) return;
    delete area_->takeWidget();
    view_ = nullptr;
    control_->UserControl_Terminate();
    control_.reset();
}

bool ControlWidget::may_close() const noexcept { return view_ == nullptr || !view_->busy(); }

const std::vector<SkippedStep>& ControlWidget::skipped_steps() const noexcept {
    static const std::vector<SkippedStep> NONE;
    return host_ ? host_->skipped_steps() : NONE;
}

QSize ControlWidget::sizeHint() const { return view_ != nullptr ? view_->sizeHint() : QWidget::sizeHint(); }

} // namespace corvalissement
