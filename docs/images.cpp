// The pictures of the help page and of the states of the window, taken from the program itself.
//
//     images FOLDER
//
// writes FOLDER/*.png. It drives the real windows on a made-up base, so a picture shows what a user sees.
#include "import_dialog.h"
#include "made_up/made_up_base.h"
#include "main_window.h"
#include "store/store.h"
#include "window/help_window.h"
#include "window/preview_window.h"
#include "window/qt_text.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QProgressBar>
#include <QSettings>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

using namespace corvalissement;

class Studio {
public:
    explicit Studio(const QString& folder) : folder_(folder) {}

    void keep(const QPixmap& picture, const char* name) {
        const QString path = folder_.filePath(QLatin1String(name) + QLatin1String(".png"));
        if (picture.isNull() || !picture.save(path)) {
            std::fprintf(stderr, "%s : image refusée\n", qPrintable(path));
            std::exit(4);
        }
    }
    void take(QWidget& widget, const char* name) {
        QApplication::processEvents();
        keep(widget.grab(), name);
    }

private:
    QDir folder_;
};

template <class Widget = QWidget>
Widget& part(QWidget& window, const char* name) {
    auto* found = window.findChild<Widget*>(QLatin1String(name));
    if (found == nullptr) {
        std::fprintf(stderr, "champ inconnu : %s\n", name);
        std::exit(4);
    }
    return *found;
}

void press(QWidget& window, const char* name) { part<QAbstractButton>(window, name).click(); }

void type(QWidget& window, const char* name, const QString& text) {
    QWidget& field = part(window, name);
    QApplication::setActiveWindow(&window); // there is no window manager to do it
    field.setFocus(Qt::MouseFocusReason);
    QApplication::processEvents();
    for (const QChar c : text)
        for (const auto kind : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent key(kind, c == QLatin1Char('\r') ? Qt::Key_Return : 0, Qt::NoModifier, QString(c));
            QApplication::sendEvent(&field, &key);
        }
    QApplication::processEvents();
}

// Hands the modal window of that name to `scene` once it is there.
void when_modal(const char* name, std::function<void(QDialog&)> scene) {
    QTimer::singleShot(0, qApp, [name, scene = std::move(scene)] {
        auto* window = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (window != nullptr && window->objectName() == QLatin1String(name))
            scene(*window);
        else
            when_modal(name, scene);
    });
}

// Takes the window once, when the bar is half full, inside the pass.
void take_half_way(Studio& studio, QWidget& window, QProgressBar& bar) {
    QObject::connect(&bar, &QProgressBar::valueChanged, &bar, [&, taken = false](int value) mutable {
        if (std::exchange(taken, taken || value * 2 > bar.maximum()) || !taken) return;
        studio.keep(window.grab(), "avancement");
    });
}

QPalette dark_colours() {
    QPalette colours(QColor(53, 53, 53));
    colours.setColor(QPalette::Base, QColor(35, 35, 35));
    colours.setColor(QPalette::Highlight, QColor(42, 130, 218));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        colours.setColor(QPalette::Disabled, role, QColor(140, 140, 140));
    return colours;
}

// A range being entered, and the list with it.
void take_ranges(Studio& studio, MainWindow& window) {
    press(window, "Cmd_Ajouter");
    type(window, "Txt_CpteDe", QStringLiteral("401\r"));
    QApplication::processEvents();
    auto& found = part<QComboBox>(window, "Cbo_CpteDe");
    if (found.count() > 1) {
        found.setCurrentIndex(0);
        emit found.activated(0);
    }
    type(window, "Txt_CpteA", QStringLiteral("411\r"));
    auto& last = part<QComboBox>(window, "Cbo_CpteA");
    if (last.count() > 1) {
        last.setCurrentIndex(last.count() - 1);
        emit last.activated(last.count() - 1);
    }
    studio.take(window, "tranche");
    press(window, "Cmd_OK");
    studio.take(window, "fenetre");
}

void take_menu(Studio& studio, MainWindow& window) {
    QWidget& surface = part(window, "Cdr_Option");
    const QPoint at(surface.width() / 3, surface.height() / 2);
    QMouseEvent right(QEvent::MouseButtonPress, at, surface.mapToGlobal(at), Qt::RightButton, Qt::RightButton,
                      Qt::NoModifier);
    QApplication::sendEvent(&surface, &right);
    QApplication::processEvents();
    QWidget* menu = QApplication::activePopupWidget();
    if (menu == nullptr) std::exit(4);
    QPixmap whole = window.grab();
    QPainter painter(&whole);
    painter.drawPixmap(surface.mapTo(&window, at), menu->grab());
    painter.end();
    studio.keep(whole, "menu");
    menu->close();
}

// The dialog of the drafts, the choice of the printer, the bar, and the preview that follows.
void take_edition(Studio& studio, MainWindow& window) {
    press(window, "Cac_PriseCpteBrouillard");
    take_half_way(studio, window, part<QProgressBar>(window, "Pgr_ProgressBar"));
    when_modal("Fenetre_Frm_AffectCompta", [&](QDialog& dialog) {
        auto& upper = part<QListView>(dialog, "Lst_SequencePos");
        upper.selectionModel()->select({upper.model()->index(0, 0), upper.model()->index(2, 0)},
                                       QItemSelectionModel::ClearAndSelect);
        press(dialog, "Cmd_PasseDroit");
        upper.selectionModel()->select(upper.model()->index(1, 0), QItemSelectionModel::ClearAndSelect);
        studio.take(dialog, "affectation");
        const QSize usual = dialog.size();
        dialog.resize(usual + QSize(300, 240));
        studio.take(dialog, "affectation-grande");
        dialog.resize(usual);
        when_modal("ChoixImprimante", [&](QDialog& choice) {
            part<QComboBox>(choice, "Imprimante").setCurrentIndex(1);
            part<QLineEdit>(choice, "Fichier").setText(QStringLiteral("grand-livre-2024.pdf"));
            studio.take(choice, "imprimante");
            part<QComboBox>(choice, "Imprimante").setCurrentIndex(0);
            choice.accept();
        });
        press(dialog, "Cmd_Affecter");
    });
    press(window, "Cmd_Imprimer");
    QApplication::processEvents();
    for (QWidget* shown : QApplication::topLevelWidgets()) {
        auto* preview = dynamic_cast<PreviewWindow*>(shown);
        if (preview == nullptr) continue;
        preview->resize(1100, 700);
        QApplication::processEvents();
        preview->search(QStringLiteral("total compte"));
        studio.take(*preview, "apercu");
        preview->close();
    }
}

void take_message(Studio& studio, MainWindow& window) {
    when_modal("Message", [&](QDialog& box) {
        studio.take(box, "message");
        box.accept();
    });
    part<QLineEdit>(window, "Txt_DateDeb").clear();
    type(window, "Txt_DateDeb", QStringLiteral("31022024"));
    part(window, "Txt_DateFin").setFocus(Qt::MouseFocusReason);
    QApplication::processEvents();
}

// The same window under what users do to it.
void take_looks(Studio& studio, MainWindow& window) {
    const QSize usual = window.size();
    window.resize(usual.width() * 3 / 5, usual.height() * 3 / 5);
    studio.take(window, "petite");
    window.resize(usual.width() * 3 / 2, usual.height() * 5 / 4);
    studio.take(window, "grande");
    window.resize(usual);
    const QPalette light = QApplication::palette();
    QApplication::setPalette(dark_colours());
    studio.take(window, "sombre");
    QApplication::setPalette(light);
    const QFont small = QApplication::font();
    QFont large = small;
    large.setPointSize(small.pointSize() * 3 / 2);
    QApplication::setFont(large);
    QApplication::processEvents();
    window.resize(usual * 3 / 2);
    studio.take(window, "grandes-lettres");
    QApplication::setFont(small);
    QApplication::processEvents();
    window.resize(usual);
}

void take_all(const QString& folder) {
    Studio studio(folder);
    const QTemporaryDir work;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, work.path());
    const QString base = work.filePath(QStringLiteral("exemple.base"));
    make_up_base(*open_embedded_store(field_text(base), OpenMode::create), {6000, 60, 1, 60}, {});

    MainWindow window;
    window.show();
    studio.take(window, "accueil");
    {
        const auto store = open_embedded_store(field_text(base), OpenMode::must_exist);
        ImportDialog import({QStringLiteral("ecritures-2024.txt")}, *store, &window);
        part<QLineEdit>(import, "Nom").setText(QStringLiteral("Menuiserie des Trois Rivières"));
        import.show();
        studio.take(import, "importation");
    }
    window.open_base(base);
    studio.take(window, "depart");
    take_ranges(studio, window);
    take_menu(studio, window);
    take_message(studio, window);
    window.begin_edition();
    take_looks(studio, window);
    take_edition(studio, window);

    QSettings().setValue(QStringLiteral("niveau"), 1);
    {
        MainWindow reader;
        reader.show();
        reader.open_base(base);
        studio.take(reader, "consultation");
        reader.close();
    }
    show_help_window(QStringLiteral("Corvalissement.htm"), QStringLiteral("Edition du grand livre général"));
    for (QWidget* shown : QApplication::topLevelWidgets())
        if (shown->objectName() == QLatin1String("Aide")) {
            studio.take(*shown, "aide");
            shown->close();
        }
    window.close();
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("corvalissement"));
    QApplication::setApplicationName(QStringLiteral("images"));
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion"))); // the same on every machine
    QLocale::setDefault(QLocale(QLocale::French, QLocale::France));
    if (argc != 2 || !QDir().mkpath(QString::fromLocal8Bit(argv[1]))) {
        std::fprintf(stderr, "usage : images DOSSIER\n");
        return 2;
    }
    try {
        take_all(QString::fromLocal8Bit(argv[1]));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "images : %s\n", failure.what());
        return 4;
    }
    return 0;
}
