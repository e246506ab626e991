// The desktop window as an accountant begins with it: a base is made, a file imported, a ledger looked at.
#include "fec/entity_records.h"
#include "fec/fec_importer.h"
#include "main_window.h"
#include "trial.h"
#include "window/preview_window.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QSettings>

namespace corvalissement {

namespace {

class BureauTest : public ::testing::Test {
protected:
    void SetUp() override { QSettings().clear(); }

    static void key(QWidget& window, Qt::Key pressed) {
        QApplication::setActiveWindow(&window);
        QTest::keyClick(&window, pressed, Qt::ControlModifier);
        QApplication::processEvents();
    }
    static void expect_file(QFileDialog::FileMode mode, const QString& path) {
        expect_window<QFileDialog>("QFileDialog", [mode, path](QFileDialog& dialog) {
            if (dialog.fileMode() != mode) {
                expect_file(mode, path); // another one's turn
                return;
            }
            dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
            static_cast<QDialog&>(dialog).accept();
        });
    }
    static PreviewWindow* shown_preview() {
        for (QWidget* window : QApplication::topLevelWidgets())
            if (auto* preview = dynamic_cast<PreviewWindow*>(window)) return preview;
        return nullptr;
    }

    QTemporaryDir folder_;
};

TEST_F(BureauTest, base_is_made_a_file_imported_and_its_ledger_saved) {
    const QString base = folder_.filePath(QStringLiteral("neuve.base"));
    const QString fec = QStringLiteral(DATA_DIR "/fec/mini-2025-tab-foreign-currency.txt");
    std::string summary;
    {
        MainWindow window;
        window.show();
        expect_file(QFileDialog::AnyFile, base);
        expect_file(QFileDialog::ExistingFiles, fec);
        expect_window("Importation", [&](QDialog& import) {
            auto* accept = import.findChild<QDialogButtonBox*>()->buttons().first();
            auto* entity = import.findChild<QLineEdit*>(QStringLiteral("Entite"));
            entity->setText(QStringLiteral("7"));
            EXPECT_FALSE(accept->isEnabled());
            entity->setText(QStringLiteral("007"));
            import.findChild<QLineEdit*>(QStringLiteral("Nom"))->setText(QStringLiteral("ESSAI"));
            EXPECT_TRUE(accept->isEnabled());
            expect_message(&summary);
            accept->click();
        });
        key(window, Qt::Key_N);
        EXPECT_NE(summary.find("lignes lues"), std::string::npos) << summary;

        // The one entity of the base is chosen already; the preview gets the edition.
        expect_printer(0);
        window.findChild<QPushButton*>(QStringLiteral("Cmd_Imprimer"))->click();
        QApplication::processEvents();
        PreviewWindow* preview = shown_preview();
        ASSERT_NE(preview, nullptr);
        EXPECT_TRUE(preview->search(QStringLiteral("entité juridique : essai")));
        const QString pdf = folder_.filePath(QStringLiteral("livre.pdf"));
        preview->save_pdf(pdf);
        EXPECT_EQ(bytes_of(pdf).substr(0, 5), "%PDF-");
        preview->close();
        // Another edition, and the keyboard is in its fields at once.
        key(window, Qt::Key_E);
        ASSERT_NE(QApplication::focusWidget(), nullptr);
        EXPECT_EQ(QApplication::focusWidget()->objectName(), QStringLiteral("Cbo_Exer"));
        window.close();
    }
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(QSettings().value(QStringLiteral("base")).toString(), base);
    EXPECT_FALSE(QSettings().value(QStringLiteral("fenetre")).toByteArray().isEmpty());

    // A second window of the same process opens the same base, and a wrong one leaves it open.
    MainWindow again;
    again.show();
    EXPECT_TRUE(again.open_base(base));
    std::string told;
    expect_message(&told);
    EXPECT_FALSE(again.open_base(fec));
    EXPECT_NE(told.find("mini-2025"), std::string::npos) << told;
    EXPECT_NE(again.findChild<QWidget*>(QStringLiteral("Txt_Entite")), nullptr);
}

TEST_F(BureauTest, refused_import_changes_nothing_and_says_where) {
    const QString base = folder_.filePath(QStringLiteral("pleine.base"));
    make_up_base(*open_embedded_store(field_text(base), OpenMode::create), {200, 10, 1, 0}, {});
    const std::string before = bytes_of(base);
    MainWindow window;
    window.show();
    ASSERT_TRUE(window.open_base(base));
    expect_file(QFileDialog::ExistingFiles, QStringLiteral(DATA_DIR "/fec/bad-truncated-line.txt"));
    expect_window("Importation", [&](QDialog& import) {
        import.findChild<QLineEdit*>(QStringLiteral("Entite"))->setText(QStringLiteral("002"));
        import.accept();
    });
    std::string told;
    expect_message(&told);
    key(window, Qt::Key_I);
    EXPECT_NE(told.find("bad-truncated-line.txt"), std::string::npos) << told;
    EXPECT_NE(told.find("ligne"), std::string::npos) << told;
    EXPECT_EQ(bytes_of(base), before);
    // The window is ready for an edition all the same.
    EXPECT_EQ(window.findChild<QLineEdit*>(QStringLiteral("Txt_Entite"))->text(), QStringLiteral("001"));
    EXPECT_TRUE(window.findChild<QPushButton*>(QStringLiteral("Cmd_Imprimer"))->isVisible());
}

TEST_F(BureauTest, files_of_two_companies_are_not_mixed) {
    const QString base = folder_.filePath(QStringLiteral("pleine.base"));
    const auto file = [&](const char* source, const char* name) {
        const QString path = folder_.filePath(QLatin1String(name));
        EXPECT_TRUE(QFile::copy(QStringLiteral(DATA_DIR "/fec/") + QLatin1String(source), path));
        return path;
    };
    FecOptions options;
    options.paths = {field_text(file("minimal-2026-tab-valid.txt", "123456789FEC20261231.txt"))};
    options.entity = "001";
    options.name = "MAISON UNE";
    static_cast<void>(import_fec(*open_embedded_store(field_text(base), OpenMode::create), options, {}));
    const QString second = file("bad-unbalanced-entries.txt", "987654321FEC20261231.txt");
    MainWindow window;
    window.show();
    ASSERT_TRUE(window.open_base(base));
    const auto ask = [&](bool add, const std::function<void()>& then) {
        expect_file(QFileDialog::ExistingFiles, second);
        expect_window("Importation", [&, add](QDialog& import) {
            auto* entity = import.findChild<QLineEdit*>(QStringLiteral("Entite"));
            auto* accept = import.findChild<QDialogButtonBox*>()->buttons().first();
            EXPECT_EQ(entity->text(), QStringLiteral("002"));
            QTest::keyClicks(entity, QStringLiteral("001")); // in place of the code proposed
            EXPECT_EQ(entity->text(), QStringLiteral("001"));
            EXPECT_FALSE(accept->isEnabled());
            const std::string told =
                field_text(import.findChild<QLabel*>(QStringLiteral("Existante"))->text());
            EXPECT_NE(told.find("MAISON UNE"), std::string::npos) << told;
            EXPECT_NE(told.find("du 01/01/2026 au 31/12/2026 : "), std::string::npos) << told;
            EXPECT_EQ(import.findChild<QLineEdit*>(QStringLiteral("Nom"))->text(),
                      QStringLiteral("MAISON UNE"));
            if (add)
                import.findChild<QCheckBox*>(QStringLiteral("Ajouter"))->setChecked(true);
            else
                import.findChild<QPushButton*>(QStringLiteral("Nouvelle"))->click();
            EXPECT_TRUE(accept->isEnabled());
            then();
            accept->click();
        });
        key(window, Qt::Key_I);
    };
    const std::string before = bytes_of(base);
    ask(true, [] {
        expect_window<QMessageBox>("QMessageBox", [](QMessageBox& box) {
            EXPECT_NE(box.text().indexOf(QStringLiteral("987654321")), -1);
            box.defaultButton()->click();
        });
    });
    EXPECT_EQ(bytes_of(base), before);
    std::string summary;
    ask(true, [&] {
        expect_window<QMessageBox>("QMessageBox", [&](QMessageBox& box) {
            expect_message(&summary);
            box.buttons().first()->click();
        });
    });
    EXPECT_NE(summary.find("source : base"), std::string::npos) << summary;
    ask(false, [&] { expect_message(&summary); });
    const auto store = open_embedded_store(field_text(base), OpenMode::must_exist);
    EXPECT_EQ(entity_facts(*store, "001")->name, "MAISON UNE");
    EXPECT_EQ(entity_facts(*store, "001")->totals[1].lines, 16U);
    EXPECT_EQ(entity_facts(*store, "002")->totals[1].lines, 8U);
}

} // namespace

} // namespace corvalissement
