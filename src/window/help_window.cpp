#include "window/help_window.h"

#include "window/screen_room.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QHBoxLayout>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

// The resource of a static library is entered by hand; the function stands outside every namespace.
static void enter_help_resource() { Q_INIT_RESOURCE(corvalissement_help); }

namespace corvalissement {

namespace {

constexpr int PICTURE_WIDTH = 760; // as the page asks for its widest pictures
const QString NAME = QStringLiteral("Aide");

// The browser would shrink a picture by leaving out lines, and its letters with them.
class HelpBrowser final : public QTextBrowser {
public:
    using QTextBrowser::QTextBrowser;
    QVariant loadResource(int type, const QUrl& name) override {
        const QVariant loaded = QTextBrowser::loadResource(type, name);
        if (type != QTextDocument::ImageResource) return loaded;
        QImage picture;
        if (!picture.loadFromData(loaded.toByteArray()) || picture.width() <= PICTURE_WIDTH) return loaded;
        return picture.scaledToWidth(PICTURE_WIDTH, Qt::SmoothTransformation);
    }
};

QHBoxLayout* make_bar(QTextBrowser& browser, QWidget& window) {
    auto* back = new QPushButton(QObject::tr("&Retour"));
    back->setAutoDefault(false);
    back->setEnabled(false);
    QObject::connect(back, &QPushButton::clicked, &browser, &QTextBrowser::backward);
    QObject::connect(&browser, &QTextBrowser::backwardAvailable, back, &QWidget::setEnabled);
    auto* wanted = new QLineEdit;
    wanted->setPlaceholderText(QObject::tr("Rechercher dans l'aide"));
    wanted->setAccessibleName(wanted->placeholderText());
    wanted->setClearButtonEnabled(true);
    QObject::connect(wanted, &QLineEdit::returnPressed, &browser, [&browser, wanted] {
        if (browser.find(wanted->text())) return;
        browser.moveCursor(QTextCursor::Start); // from the beginning again
        static_cast<void>(browser.find(wanted->text()));
    });
    auto* find = new QAction(&window);
    find->setShortcut(QKeySequence::Find);
    QObject::connect(find, &QAction::triggered, wanted,
                     [wanted] { wanted->setFocus(Qt::ShortcutFocusReason); });
    window.addAction(find);
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(6, 6, 6, 0);
    bar->addWidget(back);
    bar->addWidget(wanted);
    bar->addStretch();
    return bar;
}

// The help window that is open already, or null.
QDialog* open_window() {
    for (QWidget* window : QApplication::topLevelWidgets())
        if (window->objectName() == NAME && !window->testAttribute(Qt::WA_WState_Hidden))
            if (auto* dialog = qobject_cast<QDialog*>(window)) return dialog;
    return nullptr;
}

} // namespace

void show_help_window(const QString& page, const QString& title) {
    enter_help_resource();
    QDialog* window = open_window();
    auto* browser = window != nullptr ? window->findChild<HelpBrowser*>() : nullptr;
    if (window == nullptr) {
        window = new QDialog;
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->setObjectName(NAME);
        window->setWindowFlag(Qt::WindowMinMaxButtonsHint);
        browser = new HelpBrowser;
        browser->setAccessibleName(QObject::tr("Page d'aide"));
        browser->setOpenExternalLinks(true);
        auto* layout = new QVBoxLayout(window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addLayout(make_bar(*browser, *window));
        layout->addWidget(browser);
        window->resize(860, 760);
        keep_on_screen(*window);
        // The help goes with the last window that can ask for it.
        window->setAttribute(Qt::WA_QuitOnClose, false);
    }
    window->setWindowTitle(title);
    const QString address = QStringLiteral(":/aide/") + page;
    if (QFile::exists(address))
        browser->setSource(QUrl(QStringLiteral("qrc") + address), QTextDocument::HtmlResource);
    else
        browser->setPlainText(QObject::tr("La page d'aide « %1 » n'existe pas.").arg(page));
    window->show();
    window->raise();
    window->activateWindow();
    browser->setFocus();
}

} // namespace corvalissement
