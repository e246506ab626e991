// What the tests of the window have in common: made-up bases, keys, and answers for the modal windows that a
// gesture brings up.
#pragma once

#include "made_up/made_up_base.h"
#include "store/store.h"
#include "support/scratch.h"
#include "window/qt_text.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <type_traits>

namespace corvalissement {

inline std::string bytes_of(const QString& path) { return testing_support::bytes_of(field_text(path)); }

// Waits for a modal window of that name or class while the event loop runs, and lets `answer` deal with it.
// Asked again until it is there, so that no clock decides.
template <class Window = QDialog>
void expect_window(const char* name, std::type_identity_t<std::function<void(Window&)>> answer) {
    QTimer::singleShot(0, qApp, [name, answer = std::move(answer)] {
        auto* window = qobject_cast<Window*>(QApplication::activeModalWidget());
        const bool it = window != nullptr && (window->objectName() == QLatin1String(name) ||
                                              window->metaObject()->className() == QByteArray(name));
        if (it)
            answer(*window);
        else
            expect_window<Window>(name, answer);
    });
}

inline void expect_message(std::string* told) {
    expect_window<QMessageBox>("QMessageBox", [told](QMessageBox& box) {
        *told = field_text(box.text());
        box.accept();
    });
}

// Chooses the printer of that place in the list, and a file for a PDF.
inline void expect_printer(int index, const QString& path = {}) {
    expect_window("ChoixImprimante", [index, path](QDialog& choice) {
        choice.findChild<QComboBox*>(QStringLiteral("Imprimante"))->setCurrentIndex(index);
        if (!path.isEmpty()) choice.findChild<QLineEdit*>(QStringLiteral("Fichier"))->setText(path);
        choice.accept();
    });
}

inline void press_button(QWidget& window, const QString& text) {
    for (auto* button : window.findChildren<QAbstractButton*>())
        if (button->text() == text) {
            button->click();
            return;
        }
    ADD_FAILURE() << "no button " << field_text(text);
}

} // namespace corvalissement
