#include "window/preview_window.h"

#include "output/sheet.h"
#include "output/surfaces.h"
#include "platform/failures.h"
#include "window/qt_text.h"
#include "window/screen_room.h"

#include <QAbstractListModel>
#include <QAction>
#include <QApplication>
#include <QCache>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QScrollArea>
#include <QScrollBar>
#include <QSortFilterProxyModel>
#include <QSpinBox>
#include <QStatusBar>
#include <QTabWidget>
#include <QToolBar>
#include <QVBoxLayout>

#include <iterator>

namespace corvalissement {

namespace {

constexpr double PIXELS_A_UNIT = 96.0 / 1440.0; // the paper's own size on an ordinary screen
constexpr int THUMBNAIL_WIDTH = 150;
constexpr int THUMBNAILS_KEPT = 60;
constexpr double SMALLEST_ZOOM = 0.2;
constexpr double LARGEST_ZOOM = 5.0;
constexpr int FIT_WIDTH = 0; // the first two entries of the zooms
constexpr int FIT_PAGE = 1;
constexpr int PERCENTS[] = {50, 75, 100, 125, 150, 200, 300};
constexpr int OWN_ZOOM = FIT_PAGE + 1 + static_cast<int>(std::size(PERCENTS)); // behind all others

class AccountModel final : public QAbstractListModel {
public:
    AccountModel(std::shared_ptr<RecordedDocument> document, QObject* parent)
        : QAbstractListModel(parent), document_(std::move(document)) {}
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(document_->accounts().size());
    }
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
        if (role != Qt::DisplayRole || !index.isValid()) return {};
        const RecordedAccount& account = document_->accounts()[static_cast<std::size_t>(index.row())];
        return shown_text(account.number + "  " + account.label);
    }

private:
    std::shared_ptr<RecordedDocument> document_;
};

class WaitCursor {
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

} // namespace

// The pages as thumbnails, each drawn when it comes into sight; the last ones seen are kept.
class PreviewWindow::PageModel final : public QAbstractListModel {
public:
    PageModel(std::shared_ptr<RecordedDocument> document, QObject* parent)
        : QAbstractListModel(parent), document_(std::move(document)), kept_(THUMBNAILS_KEPT) {}
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(document_->page_count());
    }
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
        if (!index.isValid()) return {};
        if (role == Qt::DisplayRole) return QString::number(index.row() + 1);
        if (role == Qt::AccessibleTextRole) return tr("Page %1").arg(index.row() + 1);
        if (role != Qt::DecorationRole) return {};
        if (const QPixmap* drawn = kept_.object(index.row())) return *drawn;
        auto* drawn = new QPixmap(draw(index.row()));
        const QPixmap result = *drawn;
        kept_.insert(index.row(), drawn);
        return result;
    }

private:
    [[nodiscard]] QPixmap draw(int page) const {
        const double zoom = THUMBNAIL_WIDTH / document_->width();
        QPixmap sheet(THUMBNAIL_WIDTH, static_cast<int>(document_->height() * zoom));
        sheet.fill(Qt::white);
        QPainter painter(&sheet);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::gray);
        painter.drawRect(sheet.rect().adjusted(0, 0, -1, -1));
        painter.scale(zoom, zoom);
        try {
            paint_page(painter, document_->page(page));
        } catch (const StepFailure&) {
            painter.drawLine(0, 0, static_cast<int>(document_->width()),
                             static_cast<int>(document_->height()));
        }
        return sheet;
    }

    std::shared_ptr<RecordedDocument> document_;
    mutable QCache<int, QPixmap> kept_;
};

PreviewWindow::PreviewWindow(std::shared_ptr<RecordedDocument> document, QWidget* parent)
    : QMainWindow(parent), document_(std::move(document)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("Apercu"));
    const QString title = document_->title().empty() ? tr("Aperçu") : shown_text(document_->title());
    setWindowTitle(document_->incomplete() ? tr("INCOMPLET - %1").arg(title) : title);
    page_ = new PageView(document_);
    area_ = new QScrollArea;
    area_->setWidget(page_);
    area_->setAlignment(Qt::AlignCenter);
    area_->setBackgroundRole(QPalette::Dark);
    area_->setAccessibleName(tr("Page du grand livre"));
    area_->installEventFilter(this);
    setCentralWidget(area_);
    make_actions();
    make_side();
    resize(1200, 800);
    keep_on_screen(*this);
    show_place(0, std::nullopt, 0.0);
}

void PreviewWindow::make_actions() {
    auto* bar = addToolBar(tr("Aperçu"));
    bar->setObjectName(QStringLiteral("BarreApercu"));
    bar->setMovable(false);
    const auto add = [&](const QString& text, const QKeySequence& keys, const auto& action) {
        QAction* entry = bar->addAction(text);
        entry->setShortcut(keys);
        if (!keys.isEmpty())
            entry->setToolTip(text + QStringLiteral(" (") + keys.toString(QKeySequence::NativeText) +
                              QLatin1Char(')'));
        connect(entry, &QAction::triggered, this, action);
        bar->widgetForAction(entry)->setFocusPolicy(Qt::TabFocus);
        return entry;
    };
    const auto name = [&](QAction* entry, const QString& spoken, const QString& keys) {
        entry->setToolTip(spoken + QStringLiteral(" (") + keys + QLatin1Char(')'));
        bar->widgetForAction(entry)->setAccessibleName(spoken);
    };
    QAction* save = add(tr("Enregistrer en PDF…"), QKeySequence::Save, [this] { ask_save(); });
    QAction* print = add(tr("Imprimer…"), QKeySequence::Print, [this] { ask_print(); });
    if (document_->incomplete()) {
        for (QAction* handing_on : {save, print})
            handing_on->setEnabled(false);
        auto* warning = new QLabel(tr(" INCOMPLET : une étape de l'édition a échoué "));
        warning->setObjectName(QStringLiteral("Incomplet"));
        warning->setStyleSheet(QStringLiteral("background: #b00020; color: white; font-weight: bold"));
        bar->addWidget(warning);
    }
    bar->addSeparator();
    name(add(tr("◀"), QKeySequence(Qt::ALT | Qt::Key_PageUp), [this] { go_to_page(current_page() - 1); }),
         tr("Page précédente"), tr("Alt+Page préc."));
    number_ = new QSpinBox;
    number_->setRange(1, static_cast<int>(document_->page_count()));
    number_->setAccessibleName(tr("Numéro de page"));
    number_->setKeyboardTracking(false);
    connect(number_, &QSpinBox::valueChanged, this, [this](int number) { go_to_page(number); });
    bar->addWidget(number_);
    bar->addWidget(new QLabel(tr(" sur %1 ").arg(document_->page_count())));
    name(add(tr("▶"), QKeySequence(Qt::ALT | Qt::Key_PageDown), [this] { go_to_page(current_page() + 1); }),
         tr("Page suivante"), tr("Alt+Page suiv."));
    bar->addSeparator();
    zoom_ = new QComboBox;
    zoom_->setAccessibleName(tr("Zoom"));
    zoom_->addItem(tr("Largeur"));
    zoom_->addItem(tr("Page entière"));
    for (const int percent : PERCENTS)
        zoom_->addItem(tr("%1 %").arg(percent), percent);
    connect(zoom_, &QComboBox::currentIndexChanged, this, [this] { apply_zoom(); });
    bar->addWidget(zoom_);
    name(add(tr("+"), QKeySequence::ZoomIn, [this] { zoom_by(1.25); }), tr("Agrandir"), tr("Ctrl++"));
    name(add(tr("−"), QKeySequence::ZoomOut, [this] { zoom_by(0.8); }), tr("Réduire"), tr("Ctrl+-"));
    bar->addSeparator();
    text_ = new QLineEdit;
    text_->setPlaceholderText(tr("Rechercher un texte"));
    text_->setAccessibleName(tr("Texte à rechercher"));
    text_->setClearButtonEnabled(true);
    text_->setMaximumWidth(240);
    connect(text_, &QLineEdit::returnPressed, this, [this] { attempt([this] { search(text_->text()); }); });
    bar->addWidget(text_);
    add(tr("Suivant"), QKeySequence::FindNext, [this] { attempt([this] { search(text_->text()); }); });
    auto* find = new QAction(this);
    find->setShortcut(QKeySequence::Find);
    connect(find, &QAction::triggered, this, [this] { text_->setFocus(Qt::ShortcutFocusReason); });
    addAction(find);
    auto* close_action = new QAction(this);
    close_action->setShortcut(QKeySequence::Close);
    connect(close_action, &QAction::triggered, this, [this] { close(); });
    addAction(close_action);
}

void PreviewWindow::make_side() {
    auto* tabs = new QTabWidget;
    tabs->setDocumentMode(true);

    auto* accounts = new QWidget;
    auto* filter = new QLineEdit;
    filter->setPlaceholderText(tr("Numéro ou libellé"));
    filter->setAccessibleName(tr("Compte à rechercher"));
    filter->setClearButtonEnabled(true);
    auto* list = new QListView;
    list->setUniformItemSizes(true);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list->setAccessibleName(tr("Comptes"));
    auto* chosen = new QSortFilterProxyModel(list);
    chosen->setSourceModel(new AccountModel(document_, list));
    chosen->setFilterCaseSensitivity(Qt::CaseInsensitive);
    list->setModel(chosen);
    connect(filter, &QLineEdit::textChanged, chosen,
            [chosen](const QString& text) { chosen->setFilterFixedString(text); });
    const auto jump = [this, chosen](const QModelIndex& index) {
        if (index.isValid()) jump_to_account(static_cast<std::size_t>(chosen->mapToSource(index).row()));
    };
    connect(list->selectionModel(), &QItemSelectionModel::currentChanged, this, jump);
    connect(filter, &QLineEdit::returnPressed, this, [jump, chosen] { jump(chosen->index(0, 0)); });
    auto* column = new QVBoxLayout(accounts);
    column->setContentsMargins(4, 4, 4, 4);
    column->addWidget(filter);
    column->addWidget(list);

    thumbnails_ = new QListView;
    thumbnails_->setAccessibleName(tr("Pages"));
    thumbnails_->setModel(new PageModel(document_, thumbnails_));
    thumbnails_->setViewMode(QListView::IconMode);
    thumbnails_->setFlow(QListView::TopToBottom);
    thumbnails_->setWrapping(false);
    thumbnails_->setMovement(QListView::Static);
    thumbnails_->setUniformItemSizes(true);
    thumbnails_->setIconSize(QSize(THUMBNAIL_WIDTH, THUMBNAIL_WIDTH));
    connect(thumbnails_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& index) {
                if (index.isValid()) go_to_page(index.row() + 1);
            });

    tabs->addTab(accounts, tr("Comptes"));
    tabs->addTab(thumbnails_, tr("Pages"));
    auto* dock = new QDockWidget(tr("Navigation"));
    dock->setObjectName(QStringLiteral("Navigation"));
    dock->setFeatures(QDockWidget::NoDockWidgetFeatures);
    dock->setWidget(tabs);
    addDockWidget(Qt::LeftDockWidgetArea, dock);
    resizeDocks({dock}, {260}, Qt::Horizontal);
}

long PreviewWindow::current_page() const noexcept { return page_->page() + 1; }

void PreviewWindow::go_to_page(long number) {
    if (number < 1 || number > document_->page_count() || number == current_page()) return;
    statusBar()->clearMessage();
    attempt([&] { show_place(number - 1, std::nullopt, 0.0); });
}

void PreviewWindow::show_place(long page, const std::optional<FoundText>& found, double y) {
    page_->show_page(page, found);
    const QSignalBlocker quiet(number_);
    number_->setValue(static_cast<int>(page + 1));
    const QModelIndex thumbnail = thumbnails_->model()->index(static_cast<int>(page), 0);
    const QSignalBlocker still(thumbnails_->selectionModel());
    thumbnails_->setCurrentIndex(thumbnail);
    thumbnails_->scrollTo(thumbnail);
    apply_zoom();
    area_->verticalScrollBar()->setValue(static_cast<int>(y * page_->zoom()));
    if (const QRect place = page_->found_place(); !place.isEmpty())
        area_->ensureVisible(place.center().x(), place.center().y(), place.width() / 2 + 20, 60);
}

void PreviewWindow::jump_to_account(std::size_t account) {
    const RecordedAccount& target = document_->accounts()[account];
    attempt([&] { show_place(target.page, std::nullopt, SHEET_TOP + target.y); });
}

bool PreviewWindow::search(const QString& text) {
    if (text.isEmpty()) return false;
    if (text != searched_) found_.reset();
    searched_ = text;
    const WaitCursor waiting; // thousands of pages take their seconds
    found_ = document_->find(field_text(text), found_);
    if (!found_) {
        statusBar()->showMessage(tr("« %1 » n'est sur aucune page.").arg(text));
        return false;
    }
    statusBar()->showMessage(tr("« %1 » : page %2.").arg(text).arg(found_->page + 1));
    show_place(found_->page, found_, 0.0);
    return true;
}

void PreviewWindow::apply_zoom() {
    const QSize room =
        area_->maximumViewportSize() - QSize(area_->verticalScrollBar()->sizeHint().width(), 0);
    double zoom = zoom_->currentData().toInt() * PIXELS_A_UNIT / 100.0;
    const double by_width = room.width() / document_->width();
    if (zoom_->currentIndex() == FIT_WIDTH) zoom = by_width;
    if (zoom_->currentIndex() == FIT_PAGE) zoom = std::min(by_width, room.height() / document_->height());
    page_->set_zoom(std::clamp(zoom, SMALLEST_ZOOM * PIXELS_A_UNIT, LARGEST_ZOOM * PIXELS_A_UNIT));
}

// A page that is to fit goes on fitting.
void PreviewWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    if (zoom_->currentIndex() == FIT_WIDTH || zoom_->currentIndex() == FIT_PAGE) apply_zoom();
}

void PreviewWindow::closeEvent(QCloseEvent* event) {
    if (closing) closing(saveGeometry());
    QMainWindow::closeEvent(event);
}

// A zoom that the list does not hold stands at its end, in the place of the one before.
void PreviewWindow::zoom_by(double factor) {
    const double zoom =
        std::clamp(page_->zoom() * factor, SMALLEST_ZOOM * PIXELS_A_UNIT, LARGEST_ZOOM * PIXELS_A_UNIT);
    const int percent = static_cast<int>(zoom / PIXELS_A_UNIT * 100.0 + 0.5);
    const QSignalBlocker quiet(zoom_);
    if (zoom_->count() > OWN_ZOOM) zoom_->removeItem(OWN_ZOOM);
    int place = zoom_->findData(percent);
    if (place < 0) {
        zoom_->addItem(tr("%1 %").arg(percent), percent);
        place = OWN_ZOOM;
    }
    zoom_->setCurrentIndex(place);
    apply_zoom();
}

// The page keys turn the page where there is nothing of it left to scroll.
bool PreviewWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == area_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        const QScrollBar& bar = *area_->verticalScrollBar();
        const bool down = key == Qt::Key_PageDown && bar.value() == bar.maximum();
        const bool up = key == Qt::Key_PageUp && bar.value() == bar.minimum();
        if (down || up) {
            go_to_page(current_page() + (down ? 1 : -1));
            area_->verticalScrollBar()->setValue(down ? 0 : bar.maximum());
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void PreviewWindow::save_pdf(const QString& path) {
    document_->replay(*make_pdf_surface(field_text(path)));
    statusBar()->showMessage(tr("Enregistré : %1").arg(QDir::toNativeSeparators(path)));
}

void PreviewWindow::ask_save() {
    const QString path = QFileDialog::getSaveFileName(
        this, tr("Enregistrer en PDF"), QStringLiteral("grand-livre.pdf"), tr("Documents PDF (*.pdf)"));
    if (path.isEmpty()) return;
    attempt([&] { save_pdf(with_pdf_ending(path)); });
}

void PreviewWindow::ask_print() {
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageSize(QPageSize(QPageSize::A4));
    printer.setDocName(document_name(document_->title()));
    printer.setCopyCount(document_->copies());
    printer.setPageOrientation(document_->landscape() ? QPageLayout::Landscape : QPageLayout::Portrait);
    QPrintDialog dialog(&printer, this);
    dialog.setMinMax(1, static_cast<int>(document_->page_count()));
    if (dialog.exec() != QDialog::Accepted) return;
    attempt([&] { print_document(*document_, printer); });
}

void PreviewWindow::attempt(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::exception& failure) {
        QMessageBox::warning(this, windowTitle(), QString::fromUtf8(failure.what()));
    }
}

} // namespace corvalissement
