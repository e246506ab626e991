// The tests of the window run on the empty screen that every machine has.
#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("corvalissement"));
    QApplication::setApplicationName(QStringLiteral("essais"));
    // What the window remembers is remembered in a folder that goes with the tests.
    const QTemporaryDir settings;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
    return RUN_ALL_TESTS();
}
