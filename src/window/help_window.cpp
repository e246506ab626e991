#include "window/help_window.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QPointer>
#include <QTextBrowser>
#include <QVBoxLayout>

// The resource of a static library is entered by hand; the function stands outside every namespace.
static void enter_help_resource() { Q_INIT_RESOURCE(corvalissement_help); }

namespace corvalissement {

void show_help_window(const QString& page, const QString& title) {
    enter_help_resource();
    static QPointer<QDialog> window;
    static QPointer<QTextBrowser> browser;
    if (!window) {
        window = new QDialog;
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->setObjectName(QStringLiteral("Aide"));
        window->setWindowFlag(Qt::WindowMinMaxButtonsHint);
        browser = new QTextBrowser;
        browser->setAccessibleName(QObject::tr("Page d'aide"));
        browser->setOpenExternalLinks(true);
        auto* layout = new QVBoxLayout(window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(browser);
        window->resize(860, 760);
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
}

} // namespace corvalissement
