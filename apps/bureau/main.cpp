// corvalissement-bureau: the control in a window.
//
//     corvalissement-bureau [--base BASE | BASE]
#include "main_window.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QSettings>
#include <QTranslator>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("corvalissement"));
    QApplication::setApplicationName(QStringLiteral("corvalissement-bureau"));
    QApplication::setApplicationVersion(QStringLiteral(CORVALISSEMENT_VERSION));
    QLocale::setDefault(QLocale(QLocale::French, QLocale::France));
    // The platform's own dialogs speak French too, where its translation is installed.
    QTranslator french;
    if (french.load(QStringLiteral("qtbase_fr"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&french);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Edition du grand livre général"));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("BASE"),
                                 QStringLiteral("Base à ouvrir ; sans elle, la dernière ouverte"),
                                 QStringLiteral("[BASE]"));
    const QCommandLineOption base(QStringLiteral("base"), QStringLiteral("La même chose, par une option"),
                                  QStringLiteral("BASE"));
    parser.addOption(base);
    parser.process(application);

    corvalissement::MainWindow window;
    window.show();
    const QString asked = parser.isSet(base) ? parser.value(base) : parser.positionalArguments().value(0);
    const QString last = QSettings().value(QStringLiteral("base")).toString();
    if (!asked.isEmpty())
        window.open_base(asked);
    else if (QFileInfo::exists(last))
        window.open_base(last);
    return QApplication::exec();
}
