#include "main_window.h"

#include "import_dialog.h"
#include "records/bad_input.h"
#include "store/store.h"
#include "window/help_window.h"
#include "window/preview_window.h"
#include "window/qt_text.h"
#include "window/screen_room.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QStatusBar>
#include <QVBoxLayout>

#include <algorithm>

namespace corvalissement {

namespace {

constexpr std::int32_t LEVEL_READING = 1; // any level but that of the edition
constexpr int PROGRESS_STEPS = 1000;
constexpr const char* MENU_LETTERS = "FEUA"; // Fichier, Edition, Utilisateur, Aide

const QString KEY_BASE = QStringLiteral("base");
const QString KEY_LEVEL = QStringLiteral("niveau");
const QString KEY_GEOMETRY = QStringLiteral("fenetre");
const QString KEY_PREVIEW = QStringLiteral("apercu");

QString bases() { return QObject::tr("Bases comptables (*.base);;Tous les fichiers (*)"); }

// Thrown through an import that its user gives up: nothing of it is then in the base.
struct ImportGivenUp final : std::exception {};

} // namespace

MainWindow::MainWindow() {
    setObjectName(QStringLiteral("Bureau"));
    pages_ = new QStackedWidget;
    control_ = new ControlWidget;
    control_->finished = [this] { edition_finished(); };
    control_->preview = [this](std::shared_ptr<RecordedDocument> document) {
        show_document(std::move(document));
    };
    control_->printed = [this](long pages, const QString& where) {
        last_printed_ = pages == 1 ? tr("1 page : %1").arg(where) : tr("%1 pages : %2").arg(pages).arg(where);
    };
    make_welcome();
    pages_->addWidget(control_);
    setCentralWidget(pages_);
    make_menus();
    const QSettings settings;
    level_ = settings.value(KEY_LEVEL, LEVEL_EDITION).toInt();
    resize(980, 820);
    restoreGeometry(settings.value(KEY_GEOMETRY).toByteArray());
    keep_on_screen(*this);
    show_state();
}

void MainWindow::make_welcome() {
    auto* page = new QWidget;
    welcome_ = new QLabel;
    welcome_->setAlignment(Qt::AlignCenter);
    welcome_->setWordWrap(true);
    welcome_->setTextFormat(Qt::PlainText);
    auto* column = new QVBoxLayout(page);
    column->addStretch();
    column->addWidget(welcome_);
    const auto add = [&](const QString& text, void (MainWindow::*action)()) {
        auto* button = new QPushButton(text);
        button->setMinimumWidth(fontMetrics().averageCharWidth() * 40);
        connect(button, &QPushButton::clicked, this, action);
        column->addWidget(button, 0, Qt::AlignCenter);
        return button;
    };
    again_ = add(tr("&Nouvelle édition"), &MainWindow::begin_edition);
    add(tr("&Ouvrir une base…"), &MainWindow::ask_open);
    add(tr("&Créer une base…"), &MainWindow::ask_create);
    column->addStretch();
    pages_->addWidget(page);
}

void MainWindow::make_menus() {
    QMenu* file = menuBar()->addMenu(tr("&Fichier"));
    file->addAction(tr("&Ouvrir une base…"), QKeySequence::Open, this, [this] { ask_open(); });
    file->addAction(tr("&Créer une base…"), QKeySequence::New, this, [this] { ask_create(); });
    import_ = file->addAction(tr("&Importer des écritures…"), QKeySequence(Qt::CTRL | Qt::Key_I), this,
                              [this] { ask_import(); });
    file->addSeparator();
    file->addAction(tr("&Quitter"), QKeySequence(Qt::CTRL | Qt::Key_Q), this, [this] { close(); });

    QMenu* edition = menuBar()->addMenu(tr("&Edition"));
    edition_ = edition->addAction(tr("&Nouvelle édition"), QKeySequence(Qt::CTRL | Qt::Key_E), this,
                                  [this] { begin_edition(); });

    QMenu* user = menuBar()->addMenu(tr("&Utilisateur"));
    auto* levels = new QActionGroup(this);
    const std::int32_t remembered = QSettings().value(KEY_LEVEL, LEVEL_EDITION).toInt();
    for (const auto& [text, level] : {std::pair(tr("&Edition (niveau 2)"), LEVEL_EDITION),
                                      std::pair(tr("&Consultation (niveau 1)"), LEVEL_READING)}) {
        QAction* action = user->addAction(text);
        action->setCheckable(true);
        action->setChecked(level == remembered);
        levels->addAction(action);
        connect(action, &QAction::triggered, this, [this, chosen = level] { set_level(chosen); });
    }

    QMenu* help = menuBar()->addMenu(tr("&Aide"));
    help->addAction(tr("&Sommaire"), QKeySequence::HelpContents, this, [] {
        show_help_window(QStringLiteral("Corvalissement.htm"), tr("Edition du grand livre général"));
    });
    help->addAction(tr("À &propos"), this, [this] {
        QMessageBox::about(
            this, tr("À propos"),
            tr("Edition du grand livre général\nVersion %1").arg(QStringLiteral(CORVALISSEMENT_VERSION)));
    });
}

void MainWindow::show_state() {
    const QString name = QFileInfo(base_).fileName();
    const QString reading = level_ == LEVEL_EDITION ? QString() : tr(" (consultation)");
    setWindowTitle((base_.isEmpty() ? tr("Grand livre général") : tr("%1 - Grand livre général").arg(name)) +
                   reading);
    import_->setEnabled(!base_.isEmpty());
    edition_->setEnabled(!base_.isEmpty());
    again_->setVisible(!base_.isEmpty());
    welcome_->setText(base_.isEmpty() ? tr("Ouvrez une base comptable, ou créez-en une et importez-y un "
                                           "fichier des écritures comptables (FEC).")
                      : last_printed_.isEmpty()
                          ? tr("Base ouverte : %1").arg(name)
                          : tr("Base ouverte : %1\nDernière édition : %2").arg(name, last_printed_));
}

bool MainWindow::open_base(const QString& path) {
    if (!control_->may_close()) return false;
    try {
        static_cast<void>(open_embedded_store(field_text(path), OpenMode::must_exist));
    } catch (const std::exception& failure) {
        tell_failure(failure);
        return false;
    }
    base_ = QFileInfo(path).absoluteFilePath();
    last_printed_.clear();
    QSettings().setValue(KEY_BASE, base_);
    begin_edition();
    return true;
}

void MainWindow::begin_edition() {
    if (base_.isEmpty() || !control_->may_close()) return;
    control_->shut();
    last_printed_.clear();
    ControlSettings settings;
    settings.level = level_;
    settings.output_folder = QFileInfo(base_).absolutePath();
    settings.taken_keys = QLatin1String(MENU_LETTERS);
    pages_->setCurrentWidget(control_);
    show_state();
    try {
        control_->open(settings, field_text(base_));
    } catch (const std::exception& failure) {
        pages_->setCurrentIndex(0);
        tell_failure(failure);
    }
}

void MainWindow::edition_finished() {
    pages_->setCurrentIndex(0);
    show_state();
    again_->setFocus();
    const auto& steps = control_->skipped_steps();
    if (steps.empty()) return;
    // An output that cannot be written fails many steps, for one reason.
    const auto output = std::find_if(steps.begin(), steps.end(), [](const SkippedStep& step) {
        return step.failure.number() == ERR_OUTPUT;
    });
    if (output != steps.end()) {
        QMessageBox::warning(
            this, windowTitle(),
            tr("Le grand livre n'a pas pu être produit.\n%1").arg(shown_text(output->failure.text())));
        return;
    }
    QString details;
    for (const SkippedStep& step : steps)
        details += shown_text(step.failure.text()) + QLatin1Char(' ') + shown_text(step.failure.record()) +
                   QLatin1Char('\n');
    QMessageBox box(QMessageBox::Warning, windowTitle(),
                    steps.size() == 1
                        ? tr("Une étape de l'édition n'a pas pu être menée à bien.")
                        : tr("%1 étapes de l'édition n'ont pas pu être menées à bien.").arg(steps.size()),
                    QMessageBox::Ok, this);
    box.setInformativeText(details.section(QLatin1Char('\n'), 0, 4));
    if (steps.size() > 5) box.setDetailedText(details);
    box.exec();
}

void MainWindow::show_document(std::shared_ptr<RecordedDocument> document) {
    auto* window = new PreviewWindow(std::move(document));
    window->restoreGeometry(QSettings().value(KEY_PREVIEW).toByteArray());
    keep_on_screen(*window);
    window->closing = [](const QByteArray& geometry) { QSettings().setValue(KEY_PREVIEW, geometry); };
    window->show();
}

void MainWindow::set_level(std::int32_t level) {
    if (level == level_) return;
    level_ = level;
    QSettings().setValue(KEY_LEVEL, level);
    show_state();
    if (pages_->currentWidget() == control_) begin_edition();
}

void MainWindow::ask_open() {
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Ouvrir une base"), QFileInfo(QSettings().value(KEY_BASE).toString()).absolutePath(),
        bases());
    if (!path.isEmpty()) open_base(path);
}

void MainWindow::ask_create() {
    QString path =
        QFileDialog::getSaveFileName(this, tr("Créer une base"),
                                     QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
                                         .filePath(QStringLiteral("compta.base")),
                                     bases());
    if (path.isEmpty() || !control_->may_close()) return;
    // The dialog has asked whether a file of that name may go; a base is never overwritten for all that.
    if (QFileInfo::exists(path)) {
        QMessageBox::warning(this, windowTitle(),
                             tr("« %1 » existe déjà. Ouvrez cette base, ou choisissez un autre nom.")
                                 .arg(QDir::toNativeSeparators(path)));
        return;
    }
    if (QFileInfo(path).suffix().isEmpty()) path += QLatin1String(".base");
    try {
        static_cast<void>(open_embedded_store(field_text(path), OpenMode::create));
    } catch (const std::exception& failure) {
        tell_failure(failure);
        return;
    }
    control_->shut();
    base_ = path;
    QSettings().setValue(KEY_BASE, base_);
    pages_->setCurrentIndex(0);
    show_state();
    ask_import();
}

void MainWindow::ask_import() {
    if (!control_->may_close()) return;
    const QStringList paths = QFileDialog::getOpenFileNames(
        this, tr("Fichiers des écritures comptables"), QFileInfo(base_).absolutePath(),
        tr("Fichiers des écritures comptables (*.txt *.csv *.fec);;Tous les fichiers (*)"));
    if (paths.isEmpty()) return;
    FecOptions options;
    try {
        const auto store = open_embedded_store(field_text(base_), OpenMode::must_exist);
        ImportDialog dialog(paths, *store, this);
        if (dialog.exec() != QDialog::Accepted) return;
        options = dialog.options();
    } catch (const std::exception& failure) {
        tell_failure(failure);
        return;
    }
    import(options);
}

// The control holds the base it reads from, so it goes before the base changes and comes back behind.
void MainWindow::import(const FecOptions& options) {
    control_->shut();
    QProgressDialog progress(tr("Importation en cours…"), tr("&Abandonner"), 0, PROGRESS_STEPS, this);
    progress.setWindowTitle(tr("Importation"));
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(300);
    progress.setAutoClose(false);
    try {
        const auto store = open_embedded_store(field_text(base_), OpenMode::must_exist);
        const FecSummary summary = import_fec(*store, options, [&](double fraction) {
            const int step = static_cast<int>(fraction * PROGRESS_STEPS);
            if (step == progress.value()) return;
            progress.setValue(step);
            if (progress.wasCanceled()) throw ImportGivenUp();
        });
        progress.close();
        QMessageBox box(QMessageBox::Information, tr("Importation"), told_summary(summary), QMessageBox::Ok,
                        this);
        QString remarks;
        for (const std::string& remark : summary.remarks)
            remarks += shown_text(remark) + QLatin1Char('\n');
        box.setDetailedText(remarks);
        box.exec();
    } catch (const ImportGivenUp&) {
        progress.close();
        statusBar()->showMessage(tr("Importation abandonnée : la base est inchangée."));
    } catch (const OtherCompany& other) {
        progress.close();
        if (confirms(other)) {
            FecOptions confirmed = options;
            confirmed.same_entity = true;
            import(confirmed);
            return;
        }
        statusBar()->showMessage(tr("Importation abandonnée : la base est inchangée."));
    } catch (const BadInput& bad) {
        progress.close();
        QString told = shown_text(bad.text());
        for (const std::string& fault : bad.others())
            told += QLatin1Char('\n') + shown_text(fault);
        QMessageBox::warning(this, windowTitle(), told + tr("\n\nLa base est inchangée."));
    } catch (const std::exception& failure) {
        progress.close();
        tell_failure(failure);
    }
    begin_edition();
}

bool MainWindow::confirms(const OtherCompany& other) {
    QMessageBox box(QMessageBox::Warning, windowTitle(), shown_text(other.file() + " : " + other.fact()),
                    QMessageBox::NoButton, this);
    box.setInformativeText(
        tr("Ces écritures seraient ajoutées à celles d'une autre entreprise, sans retour possible."));
    QAbstractButton* add = box.addButton(tr("&Ajouter quand même"), QMessageBox::AcceptRole);
    box.setDefaultButton(box.addButton(tr("A&bandonner"), QMessageBox::RejectRole));
    box.exec();
    return box.clickedButton() == add;
}

void MainWindow::tell_failure(const std::exception& failure) {
    QMessageBox::warning(this, windowTitle(), QString::fromUtf8(failure.what()));
}

// The form goes only between two routines of the control; an edition on its way is not cut.
void MainWindow::closeEvent(QCloseEvent* event) {
    if (!control_->may_close()) {
        event->ignore();
        return;
    }
    QSettings().setValue(KEY_GEOMETRY, saveGeometry());
    control_->shut();
    QMainWindow::closeEvent(event);
}

} // namespace corvalissement
