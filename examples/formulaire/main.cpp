// The smallest host with a window: a form of its own, and the control on it.
//
//     formulaire BASE
#include "window/control_widget.h"

#include <QApplication>
#include <QMessageBox>
#include <QVBoxLayout>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();

    QWidget form;
    form.setWindowTitle(QStringLiteral("Comptabilité"));
    auto* control = new corvalissement::ControlWidget;
    auto* layout = new QVBoxLayout(&form);
    layout->addWidget(control);

    // The control goes when its edition has run; this host then goes too.
    control->finished = [&form] { form.close(); };
    try {
        control->open({}, arguments.value(1).toStdString());
    } catch (const std::exception& failure) {
        QMessageBox::critical(nullptr, form.windowTitle(), QString::fromUtf8(failure.what()));
        return 4;
    }
    form.show();
    return QApplication::exec();
}
