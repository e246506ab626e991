// The control in a window, driven as its user drives it: keys, clicks, wheel, drag and drop, boxes.
#include "output/surfaces.h"
#include "trial.h"
#include "window/control_widget.h"
#include "window/preview_window.h"

#include <QAbstractItemView>
#include <QDropEvent>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QMimeData>
#include <QPrinter>
#include <QPushButton>
#include <QScreen>

#include <set>

namespace corvalissement {

namespace {

// A form with the control on a made-up base, and answers for the boxes that the test expects.
class WindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        base_ = field_text(folder_.filePath(QStringLiteral("essai.base")));
        make_up_base(*open_embedded_store(base_, OpenMode::create), {400, 12, 1, 40}, {});
        form_.finished = [this] { ++finished_; };
        form_.preview = [this](std::shared_ptr<RecordedDocument> document) {
            document_ = std::move(document);
        };
        settings_.today = [] { return CivilDate{2024, 6, 30}; };
        settings_.output_folder = folder_.path();
        begin();
    }

    void begin() {
        form_.open(settings_, base_);
        form_.show();
        QApplication::setActiveWindow(&form_);
        QApplication::processEvents();
    }

    template <class Widget = QWidget>
    Widget* widget(const char* name) {
        auto* found = form_.findChild<Widget*>(QLatin1String(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    std::string text(const char* name) { return form_.control()->field<TextField>(name).text(); }
    void click(const char* name) {
        QTest::mouseClick(widget(name), Qt::LeftButton);
        QApplication::processEvents();
    }
    // What has the keyboard; a modal box takes it along, and no window manager gives it back here.
    QWidget* keyboard() {
        QApplication::setActiveWindow(&form_);
        QApplication::processEvents();
        return QApplication::focusWidget();
    }
    void type(const char* name, const char* keys) {
        QTest::keyClicks(widget(name), QString::fromUtf8(keys));
        QApplication::processEvents();
    }

    QTemporaryDir folder_;
    std::string base_;
    ControlSettings settings_;
    ControlWidget form_;
    int finished_ = 0;
    std::shared_ptr<RecordedDocument> document_;
};

TEST_F(WindowTest, edition_ends_in_a_pdf_and_the_form_may_begin_again) {
    const QString pdf = folder_.filePath(QStringLiteral("livre.pdf"));
    expect_printer(1, pdf);
    click("Cmd_Imprimer");
    EXPECT_EQ(bytes_of(pdf).substr(0, 5), "%PDF-");
    EXPECT_EQ(finished_, 1);
    EXPECT_EQ(form_.control(), nullptr);
    EXPECT_TRUE(form_.skipped_steps().empty());

    // The pages of the preview, printed once more, are the same document.
    begin();
    expect_printer(0);
    click("Cmd_Imprimer");
    ASSERT_NE(document_, nullptr);
    const QString again = folder_.filePath(QStringLiteral("encore.pdf"));
    document_->replay(*make_pdf_surface(field_text(again)));
    EXPECT_EQ(bytes_of(again), bytes_of(pdf));
}

TEST_F(WindowTest, preview_finds_texts_and_accounts_on_their_pages) {
    expect_printer(0);
    click("Cmd_Imprimer");
    ASSERT_NE(document_, nullptr);
    ASSERT_GT(document_->page_count(), 2);
    const RecordedAccount last = document_->accounts().back();
    const auto found = document_->find(last.number, std::nullopt);
    ASSERT_TRUE(found);
    EXPECT_LE(found->page, last.page);
    // The totals stand on the last page; behind it the search begins again at the first.
    const auto total = document_->find("total des mouvements édités", std::nullopt);
    ASSERT_TRUE(total);
    EXPECT_EQ(total->page, document_->page_count() - 1);
    EXPECT_EQ(document_->find("total des mouvements édités", total)->page, total->page);
    EXPECT_FALSE(document_->find("introuvable", std::nullopt));
    // Texts printed one behind the other read as one line, and each place is found once.
    const auto head = document_->find("EXERCICE         : n", std::nullopt);
    ASSERT_TRUE(head);
    EXPECT_EQ(head->page, 0);
    EXPECT_EQ(head->x, 0.0);
    EXPECT_EQ(head->width, 20 * 120.0);
    EXPECT_EQ(document_->find("exercice         : n", head)->page, 1);

    auto* window = new PreviewWindow(document_);
    window->show();
    window->go_to_page(document_->page_count() + 1);
    EXPECT_EQ(window->current_page(), 1);
    EXPECT_TRUE(window->search(shown_text(last.label)));
    EXPECT_FALSE(window->search(QStringLiteral("introuvable")));
    window->close();
}

TEST_F(WindowTest, keys_at_the_caret_raise_the_rules_of_the_field) {
    auto* code = widget<QLineEdit>("Txt_Entite");
    auto* year = widget<QComboBox>("Cbo_Exer");
    code->selectAll();
    QTest::keyClick(code, Qt::Key_Backspace);
    EXPECT_EQ(text("Txt_Entite"), "");
    EXPECT_EQ(year->currentText(), QString()); // the control has emptied what hangs on the entity
    QTest::keyClicks(code, QStringLiteral("19"));
    code->setCursorPosition(1);
    QTest::keyClick(code, Qt::Key_Backspace);
    EXPECT_EQ(text("Txt_Entite"), "9");
    QTest::keyClick(code, Qt::Key_Backspace); // nothing stands before the caret
    EXPECT_EQ(text("Txt_Entite"), "9");
    QTest::keyClick(code, Qt::Key_Delete);
    QTest::keyClick(code, Qt::Key_1);
    QTest::keyClick(code, Qt::Key_Return); // completes to 001 and opens the rest
    QApplication::processEvents();
    EXPECT_EQ(text("Txt_Entite"), "001");
    EXPECT_EQ(year->currentText(), QStringLiteral("N"));
    EXPECT_EQ(form_.control()->focus()->name(), "Cbo_Exer");
    EXPECT_TRUE(year->hasFocus());
}

TEST_F(WindowTest, tab_follows_the_inventory_and_a_refused_date_is_told_once) {
    auto* start = widget<QLineEdit>("Txt_DateDeb");
    QTest::mouseClick(start, Qt::LeftButton);
    QApplication::processEvents();
    start->selectAll();
    type("Txt_DateDeb", "310224");
    std::string told;
    expect_message(&told);
    QTest::keyClick(start, Qt::Key_Tab);
    QApplication::processEvents();
    EXPECT_EQ(told, "La date saisie n'est pas valide.");
    EXPECT_EQ(text("Txt_DateDeb"), "310224");
    start->setFocus();
    start->selectAll();
    type("Txt_DateDeb", "01403");
    for (int i = 0; i < 2; ++i) { // over a digit, and over the separator that has taken its place
        start->setSelection(2, 1);
        QTest::keyClick(start, Qt::Key_Return);
        ASSERT_EQ(text("Txt_DateDeb"),
                  "01/03"); // anything else is refused further down, by a box that nobody expects
        EXPECT_FALSE(start->hasSelectedText());
        EXPECT_EQ(start->cursorPosition(), 3);
    }
    QTest::keyClick(start, Qt::Key_Tab);
    EXPECT_EQ(text("Txt_DateDeb"), "01/03/2024");
    EXPECT_EQ(form_.control()->focus()->name(), "Txt_DateFin");
    QTest::keyClick(widget("Txt_DateFin"), Qt::Key_Backtab);
    EXPECT_EQ(form_.control()->focus()->name(), "Txt_DateDeb");
    EXPECT_EQ(form_.focusWidget(), start);
}

TEST_F(WindowTest, range_is_added_shown_and_removed) {
    click("Cmd_Ajouter");
    EXPECT_FALSE(widget("Cmd_Imprimer")->isEnabled() || widget("Pgr_ProgressBar")->isEnabled());
    type("Txt_CpteDe", "1");
    QTest::keyClick(widget("Txt_CpteDe"), Qt::Key_Return);
    type("Txt_CpteA", "1"); // one account begins so, and Enter takes it
    QTest::keyClick(widget("Txt_CpteA"), Qt::Key_Return);
    click("Cmd_OK");
    EXPECT_TRUE(widget("Cmd_Imprimer")->isEnabled());
    auto* list = widget<QListView>("Lst_De");
    ASSERT_EQ(list->model()->rowCount(), 1);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {},
                       list->visualRect(list->model()->index(0, 0)).center());
    QApplication::processEvents();
    EXPECT_EQ(text("Txt_CpteDe"), "1010000000");
    EXPECT_EQ(text("Txt_CpteA"), "1010000000"); // the other list follows
    expect_window("Message", [](QDialog& question) { press_button(question, QStringLiteral("&Oui")); });
    click("Cmd_Supprimer");
    EXPECT_EQ(list->model()->rowCount(), 0);
}

TEST_F(WindowTest, wheel_on_the_combo_with_the_keyboard_picks_and_elsewhere_does_not) {
    auto* combo = widget<QComboBox>("Cbo_EditCpte");
    const auto turn = [&](QWidget* over) {
        QWheelEvent wheel(QPointF(3, 3), QPointF(3, 3), {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(over, &wheel);
    };
    turn(combo);
    EXPECT_EQ(combo->currentIndex(), 0);
    QTest::mouseClick(combo->lineEdit(), Qt::LeftButton);
    QApplication::processEvents();
    turn(combo);
    EXPECT_EQ(form_.control()->field<ComboField>("Cbo_EditCpte").list_index(), 1);
    EXPECT_EQ(combo->currentText(), QStringLiteral("Fournisseurs"));
}

// An editable combo has the keyboard itself: its keys must meet the rules of its field all the same.
TEST_F(WindowTest, keys_in_a_combo_search_and_are_refused_and_what_is_left_is_no_choice) {
    click("Cmd_Ajouter");
    auto* label = widget<QComboBox>("Cbo_CpteDe");
    const auto& field = form_.control()->field<ComboField>("Cbo_CpteDe");
    QTest::mouseClick(label->lineEdit(), Qt::LeftButton);
    QApplication::processEvents();
    std::string told;
    expect_message(&told);
    QTest::keyClicks(keyboard(), QStringLiteral("{"));
    EXPECT_EQ(told, "La saisie de minuscule accentuée est interdite sur cette zone.");
    EXPECT_EQ(field.text(), "");
    QTest::keyClick(keyboard(), Qt::Key_Return); // all accounts of the entity, by label
    ASSERT_GT(label->count(), 3);
    // Two rows with one text: the one picked stays the one picked, by the mouse and walking on by keys.
    std::vector<std::string> numbers;
    for (int step = 0; step < 3; ++step) {
        QTest::keyClick(keyboard(), Qt::Key_Down);
        numbers.push_back(text("Txt_CpteDe"));
    }
    EXPECT_NE(numbers[0], numbers[1]);
    EXPECT_NE(numbers[1], numbers[2]);
    emit label->activated(2);
    const std::string picked = text("Txt_CpteDe");
    QTest::keyClick(keyboard(), Qt::Key_Tab);
    QApplication::processEvents();
    EXPECT_EQ(text("Txt_CpteDe"), picked);
    EXPECT_EQ(form_.control()->focus()->name(), "Txt_CpteA");
    // A text typed into the year runs no routine, whatever row it equals.
    click("Cmd_Annuler");
    auto* year = widget<QComboBox>("Cbo_Exer");
    const std::string before = text("Txt_DateDeb");
    year->setFocus(Qt::MouseFocusReason);
    QApplication::processEvents();
    year->lineEdit()->selectAll();
    QTest::keyClicks(keyboard(), QStringLiteral("N + 1"));
    QTest::keyClick(keyboard(), Qt::Key_Tab);
    QApplication::processEvents();
    EXPECT_EQ(form_.control()->field<ComboField>("Cbo_Exer").text(), "N + 1");
    EXPECT_EQ(text("Txt_DateDeb"), before);
    EXPECT_EQ(form_.control()->focus()->name(), "Txt_DateDeb");
}

// The search that leaving a number starts disables the view for a moment, with the button held down.
TEST_F(WindowTest, click_behind_a_typed_number_is_not_lost) {
    click("Cmd_Ajouter");
    type("Txt_CpteDe", "1010000000");
    QTest::mouseClick(widget("Txt_CpteA"), Qt::LeftButton);
    QApplication::processEvents();
    type("Txt_CpteA", "1010000000");
    QWidget* ok = widget("Cmd_OK");
    QTest::mousePress(ok, Qt::LeftButton);
    QApplication::processEvents();
    QTest::mouseRelease(ok, Qt::LeftButton);
    QApplication::processEvents();
    EXPECT_EQ(form_.control()->field<ListField>("Lst_De").list_count(), 1);
    // A press that ends beside the button is no click, but the user has gone there.
    QWidget* add = widget("Cmd_Ajouter");
    QTest::mousePress(add, Qt::LeftButton);
    QTest::mouseRelease(add, Qt::LeftButton, {}, QPoint(-40, -40));
    QApplication::processEvents();
    EXPECT_TRUE(add->isEnabled());
    EXPECT_EQ(form_.control()->focus()->name(), "Cmd_Ajouter");
}

// A refused date keeps the user where he is: what he pressed shows no change, and his text keeps its caret.
TEST_F(WindowTest, refused_date_leaves_everything_else_as_it_was) {
    auto* date = widget<QLineEdit>("Txt_DateDeb");
    const auto refuse = [&](auto&& gesture) {
        QTest::mouseClick(date, Qt::LeftButton);
        QApplication::processEvents();
        date->selectAll();
        type("Txt_DateDeb", "310224");
        std::string told;
        expect_message(&told);
        gesture();
        QApplication::processEvents();
        EXPECT_EQ(told, "La date saisie n'est pas valide.");
        EXPECT_EQ(form_.control()->focus()->name(), "Txt_DateDeb");
        static_cast<void>(keyboard());
        EXPECT_FALSE(date->hasSelectedText());
    };
    refuse([&] { QTest::mouseClick(widget("Cac_HorsCpteSolde"), Qt::LeftButton, {}, QPoint(6, 8)); });
    EXPECT_FALSE(widget<QAbstractButton>("Cac_HorsCpteSolde")->isChecked());
    refuse([&] { QTest::mouseClick(widget("Opt_FichierGraphique"), Qt::LeftButton, {}, QPoint(6, 12)); });
    EXPECT_FALSE(widget<QAbstractButton>("Opt_FichierGraphique")->isChecked());
    EXPECT_TRUE(widget<QAbstractButton>("Opt_Liste")->isChecked());
    auto* year = widget<QComboBox>("Cbo_Exer");
    refuse([&] { QTest::mouseClick(year, Qt::LeftButton, {}, QPoint(year->width() - 6, 8)); });
    EXPECT_FALSE(year->view()->isVisible());
    refuse([&] { emit year->activated(2); });
    EXPECT_EQ(year->currentText(), QStringLiteral("N"));
    EXPECT_EQ(form_.control()->field<ComboField>("Cbo_Exer").list_index(), 1);
}

TEST_F(WindowTest, letter_of_a_closed_caption_is_not_typed) {
    auto* date = widget<QLineEdit>("Txt_DateDeb");
    date->setFocus(Qt::MouseFocusReason);
    QApplication::processEvents();
    QKeyEvent key(QEvent::KeyPress, Qt::Key_K, Qt::AltModifier, QStringLiteral("k"));
    QApplication::sendEvent(date, &key);
    EXPECT_EQ(text("Txt_DateDeb"), "01/01/2024");
    EXPECT_EQ(date->text(), QStringLiteral("01/01/2024"));
}

TEST_F(WindowTest, right_click_shows_the_help_menu_on_the_three_surfaces_only) {
    const auto menus = [&] {
        int shown = 0;
        for (QMenu* menu : form_.findChildren<QMenu*>()) {
            shown += menu->isVisible() ? 1 : 0;
            delete menu;
        }
        return shown;
    };
    for (const auto& [name, expected] : {std::pair("Ctr_Corvalissement", 1),
                                         {"Cdr_Option", 1},
                                         {"Cdr_Select", 1},
                                         {"Cdr_EditionForme", 0},
                                         {"Txt_DateDeb", 0},
                                         {"Etq_De", 0},
                                         {"Txt_CpteDe", 0}}) {
        QTest::mouseClick(widget(name), Qt::RightButton, {}, QPoint(2, 2));
        EXPECT_EQ(menus(), expected) << name;
    }
}

TEST_F(WindowTest, no_caption_is_cut_and_every_field_has_a_name_for_the_ear) {
    for (const int points : {8, 11, 18}) {
        QFont font = form_.font();
        font.setPointSize(points);
        form_.setFont(font);
        QApplication::processEvents();
        for (const auto& field : form_.control()->Controls()) {
            QWidget* shown = form_.view()->widget_of(*field);
            if (shown == nullptr) continue;
            const QFontMetrics metrics(shown->font());
            EXPECT_GE(shown->width() + 1, metrics.horizontalAdvance(shown_text(field->caption())))
                << field->name() << " " << points;
            const bool button =
                qobject_cast<QAbstractButton*>(shown) != nullptr || field->kind() == FieldKind::label;
            EXPECT_TRUE(button || !shown->accessibleName().isEmpty()) << field->name();
        }
    }
    EXPECT_EQ(widget("Lst_A")->accessibleName(), QStringLiteral("Sélection à (liste)"));
    EXPECT_EQ(widget("Txt_DateFin")->accessibleName(), QStringLiteral("Date fin"));
}

TEST_F(WindowTest, dialog_refuses_to_close_takes_dragged_rows_and_gives_up) {
    click("Cac_PriseCpteBrouillard");
    expect_window("Fenetre_Frm_AffectCompta", [](QDialog& window) {
        auto* upper = window.findChild<QListView*>(QStringLiteral("Lst_SequencePos"));
        auto* lower = window.findChild<QListView*>(QStringLiteral("Lst_SequenceSel"));
        const QPoint middle = window.screen()->availableGeometry().center();
        EXPECT_LE((window.geometry().center() - middle).manhattanLength(), 1);
        EXPECT_TRUE(upper->dragEnabled());
        EXPECT_TRUE((upper->model()->flags(upper->model()->index(0, 0)) & Qt::ItemIsDragEnabled) != 0);
        window.close();
        EXPECT_TRUE(window.isVisible());
        ASSERT_GT(upper->model()->rowCount(), 1);
        upper->setFocus();
        const auto at = [&](int row) { return upper->visualRect(upper->model()->index(row, 0)).center(); };
        QTest::mouseClick(upper->viewport(), Qt::LeftButton, {}, at(0));
        QTest::mouseClick(upper->viewport(), Qt::LeftButton, Qt::ShiftModifier, at(1));
        QMimeData rows;
        rows.setData(QStringLiteral("application/x-corvalissement-lignes"), "Lst_SequencePos");
        QDragEnterEvent enter(QPoint(2, 2), Qt::CopyAction, &rows, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(lower->viewport(), &enter);
        QDropEvent drop(QPointF(2, 2), Qt::CopyAction, &rows, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(lower->viewport(), &drop);
        EXPECT_EQ(lower->model()->rowCount(), 2);
        EXPECT_TRUE(window.findChild<QPushButton*>(QStringLiteral("Cmd_Affecter"))->isEnabled());
        QTest::mouseClick(window.findChild<QPushButton*>(QStringLiteral("Cmd_Sortir")), Qt::LeftButton);
    });
    click("Cmd_Imprimer");
    EXPECT_EQ(finished_, 0);
    EXPECT_TRUE(form_.may_close());
    EXPECT_TRUE(widget("Cmd_Imprimer")->isEnabled());
}

// From the code of the entity to the paper with nothing but keys.
TEST_F(WindowTest, keyboard_alone_leads_to_a_pdf_with_drafts) {
    const auto key = [&](Qt::Key pressed, Qt::KeyboardModifiers held = Qt::NoModifier) {
        QTest::keyClick(QApplication::focusWidget(), pressed, held);
        QApplication::processEvents();
    };
    auto* code = widget<QLineEdit>("Txt_Entite");
    code->setFocus(Qt::MouseFocusReason);
    QApplication::processEvents();
    key(Qt::Key_Backspace); // the label goes with the first character, and the code with the label
    EXPECT_EQ(text("Txt_Entite"), "");
    for (const Qt::Key digit : {Qt::Key_0, Qt::Key_0, Qt::Key_1})
        key(digit);
    EXPECT_EQ(form_.control()->focus()->name(), "Cbo_Exer");
    key(Qt::Key_Tab);
    widget<QLineEdit>("Txt_DateDeb")->selectAll();
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("010224"));
    key(Qt::Key_Tab);
    EXPECT_EQ(text("Txt_DateDeb"), "01/02/2024");
    widget("Cac_PriseCpteBrouillard")->setFocus(Qt::TabFocusReason);
    key(Qt::Key_Space);
    EXPECT_EQ(form_.control()->field<CheckBoxField>("Cac_PriseCpteBrouillard").value(), 1);

    const QString pdf = folder_.filePath(QStringLiteral("clavier.pdf"));
    expect_window("Fenetre_Frm_AffectCompta", [&](QDialog& window) {
        auto* upper = window.findChild<QListView*>(QStringLiteral("Lst_SequencePos"));
        auto* lower = window.findChild<QListView*>(QStringLiteral("Lst_SequenceSel"));
        const int all = upper->model()->rowCount();
        ASSERT_GT(all, 2);
        QApplication::setActiveWindow(&window);
        QTest::keyClick(&window, Qt::Key_T, Qt::AltModifier); // Tous
        EXPECT_TRUE(QTest::qWaitFor([&] { return lower->model()->rowCount() == all; }));
        // The last row goes back out of the lower list.
        lower->setFocus(Qt::TabFocusReason);
        QTest::keyClick(lower, Qt::Key_End);
        auto* out = window.findChild<QPushButton*>(QStringLiteral("Cmd_PasseGauche"));
        out->setFocus(Qt::TabFocusReason);
        QTest::keyClick(out, Qt::Key_Return);
        EXPECT_EQ(lower->model()->rowCount(), all - 1);
        expect_printer(1, pdf);
        QTest::keyClick(window.findChild<QPushButton*>(QStringLiteral("Cmd_Affecter")), Qt::Key_Space);
    });
    auto* print = widget("Cmd_Imprimer");
    print->setFocus(Qt::TabFocusReason);
    key(Qt::Key_Return);
    EXPECT_EQ(bytes_of(pdf).substr(0, 5), "%PDF-");
    EXPECT_EQ(finished_, 1);
    EXPECT_TRUE(form_.skipped_steps().empty());
}

TEST_F(WindowTest, access_keys_are_each_one_caption_s_and_lead_to_its_field) {
    settings_.taken_keys = QStringLiteral("FEUA");
    begin();
    std::set<QChar> seen;
    const AccessKeys keys(*form_.control(), settings_.taken_keys);
    int without = 0;
    for (const auto& field : form_.control()->Controls()) {
        const QChar letter = keys.of(*field);
        if (letter.isNull()) {
            without += field->kind() == FieldKind::button || field->kind() == FieldKind::check_box ? 1 : 0;
            continue;
        }
        EXPECT_TRUE(seen.insert(letter).second) << field->name();
        EXPECT_FALSE(settings_.taken_keys.contains(letter)) << field->name();
        QString plain = keys.marked(*field);
        EXPECT_EQ(field_text(plain.remove(QLatin1Char('&'))), field->caption());
        // A label shows its mark only when it leads somewhere.
        const auto* label = qobject_cast<QLabel*>(form_.view()->widget_of(*field));
        EXPECT_TRUE(label == nullptr || label->buddy() != nullptr) << field->name();
    }
    EXPECT_EQ(without, 0);
    // The label over the lists leads to the list, and to the number while a range is entered.
    const auto* over = widget<QLabel>("Etq_De");
    EXPECT_EQ(over->buddy(), widget("Lst_De"));
    click("Cmd_Ajouter");
    EXPECT_EQ(over->buddy(), widget("Txt_CpteDe"));
    click("Cmd_Annuler");
    const auto year = keys.of(*form_.control()->find("Etq_DateDeb"));
    QTest::keyClick(form_.window(), static_cast<Qt::Key>(year.unicode()), Qt::AltModifier);
    QApplication::processEvents();
    EXPECT_EQ(form_.control()->focus()->name(), "Txt_DateDeb");
}

// A larger window shows more rows, a smaller one can be scrolled to every field.
TEST_F(WindowTest, window_of_any_size_keeps_every_field_in_reach) {
    const QSize usual = form_.sizeHint();
    form_.resize(usual);
    QApplication::processEvents();
    const int rows = widget("Lst_De")->height();
    EXPECT_EQ(form_.view()->size(), usual);
    form_.resize(usual + QSize(400, 300));
    QApplication::processEvents();
    EXPECT_EQ(widget("Lst_De")->height(), rows + 300);
    EXPECT_GT(widget("Lst_De")->width() * 10, form_.width() * 4);
    for (const auto& field : form_.control()->Controls()) {
        const QWidget* shown = form_.view()->widget_of(*field);
        if (shown == nullptr) continue;
        EXPECT_TRUE(shown->parentWidget()->rect().contains(shown->geometry())) << field->name();
        for (const auto& other : form_.control()->Controls()) {
            const QWidget* beside = form_.view()->widget_of(*other);
            if (beside == nullptr || beside == shown || beside->parentWidget() != shown->parentWidget() ||
                field->kind() == FieldKind::label || other->kind() == FieldKind::label)
                continue;
            EXPECT_FALSE(shown->geometry().intersects(beside->geometry())) << field->name() << other->name();
        }
    }
    form_.resize(usual / 2);
    QApplication::processEvents();
    EXPECT_EQ(form_.view()->size(), usual);
    widget("Cmd_Sortir")->setFocus(Qt::TabFocusReason);
    QTest::keyClick(widget("Txt_Entite"), Qt::Key_Backtab);
    EXPECT_FALSE(form_.focusWidget()->visibleRegion().isEmpty());
}

TEST_F(WindowTest, printer_of_the_system_gets_the_chosen_pages) {
    expect_printer(0);
    click("Cmd_Imprimer");
    ASSERT_NE(document_, nullptr);
    QPrinter printer(QPrinter::HighResolution);
    const QString path = folder_.filePath(QStringLiteral("imprimante.pdf"));
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(path);
    printer.setFromTo(2, 3);
    print_document(*document_, printer);
    const std::string bytes = bytes_of(path);
    EXPECT_EQ(bytes.substr(0, 5), "%PDF-");
    EXPECT_NE(bytes.find("/Count 2"), std::string::npos);
    printer.setOutputFileName(folder_.filePath(QStringLiteral("nulle/part.pdf")));
    EXPECT_THROW(print_document(*document_, printer), StepFailure);
}

TEST_F(WindowTest, existing_pdf_is_replaced_only_when_the_user_agrees) {
    const QString pdf = folder_.filePath(QStringLiteral("livre.pdf"));
    std::ofstream(field_text(pdf)) << "mine";
    expect_window("ChoixImprimante", [&](QDialog& choice) {
        choice.findChild<QComboBox*>(QStringLiteral("Imprimante"))->setCurrentIndex(1);
        auto* file = choice.findChild<QLineEdit*>(QStringLiteral("Fichier"));
        // What cannot be written is told while it can still be changed.
        file->setText(folder_.filePath(QStringLiteral("absent/livre.pdf")));
        std::string told;
        expect_message(&told);
        choice.accept();
        EXPECT_TRUE(choice.isVisible());
        EXPECT_NE(told.find("ne peut pas être écrit"), std::string::npos);
        file->setText(pdf);
        expect_window("QMessageBox",
                      [](QDialog& question) { press_button(question, QStringLiteral("&Annuler")); });
        choice.accept();
        EXPECT_TRUE(choice.isVisible());
        EXPECT_EQ(bytes_of(pdf), "mine");
        expect_window("QMessageBox",
                      [](QDialog& question) { press_button(question, QStringLiteral("&Remplacer")); });
        choice.accept();
    });
    click("Cmd_Imprimer");
    EXPECT_EQ(bytes_of(pdf).substr(0, 5), "%PDF-");
}

TEST_F(WindowTest, level_of_consultation_hides_what_it_may_not_do) {
    settings_.level = 1;
    begin();
    EXPECT_FALSE(widget("Cmd_Imprimer")->isVisible());
    EXPECT_TRUE(widget("Cmd_Sortir")->isVisible());
    click("Cmd_Sortir");
    EXPECT_EQ(finished_, 1);
}

} // namespace

} // namespace corvalissement
