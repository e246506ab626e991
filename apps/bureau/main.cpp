// corvalissement-bureau: the control in a window.
//
//     corvalissement-bureau [--base BASE | BASE]
#include "main_window.h"

#include <QApplication>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QSettings>
#include <QTranslator>

#include <cstdio>
#include <cstring>

namespace {

constexpr const char* USAGE = "Edition du grand livre général, dans une fenêtre.\n\n"
                              "Usage : corvalissement-bureau [OPTIONS] [BASE]\n\n"
                              "  BASE            Base à ouvrir ; sans elle, la dernière ouverte\n"
                              "  --base BASE     La même chose, par une option\n"
                              "  -h, --help      Montre cette aide\n"
                              "  --version       Montre la version\n";

// What the words of the command line ask for, before there is any window or screen: -1 to go on.
int answer_without_screen(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::fputs(USAGE, stdout);
            return 0;
        }
        if (std::strcmp(argv[i], "--version") == 0) {
            std::fputs("corvalissement-bureau " CORVALISSEMENT_VERSION "\n", stdout);
            return 0;
        }
    }
    return -1;
}

// The base that is asked for, "" for none; false when the words make no sense. What the platform takes for
// itself is gone from the words by now.
bool asked_base(const QStringList& words, QString& base) {
    for (qsizetype i = 1; i < words.size(); ++i) {
        const bool option = words[i] == QLatin1String("--base");
        if (option && ++i == words.size()) return false;
        if (!base.isEmpty() || (!option && words[i].startsWith(QLatin1Char('-')))) return false;
        base = words[i];
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (const int status = answer_without_screen(argc, argv); status >= 0) return status;
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("corvalissement"));
    QApplication::setApplicationName(QStringLiteral("corvalissement-bureau"));
    QApplication::setApplicationVersion(QStringLiteral(CORVALISSEMENT_VERSION));
    QLocale::setDefault(QLocale(QLocale::French, QLocale::France));
    // The platform's own dialogs speak French too, where its translation is installed.
    QTranslator french;
    if (french.load(QStringLiteral("qtbase_fr"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&french);

    QString asked;
    if (!asked_base(QApplication::arguments(), asked)) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    corvalissement::MainWindow window;
    window.show();
    const QString last = QSettings().value(QStringLiteral("base")).toString();
    if (!asked.isEmpty())
        window.open_base(asked);
    else if (QFileInfo::exists(last))
        window.open_base(last);
    return QApplication::exec();
}
