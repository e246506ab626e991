// The rules of the user's hands, on a small form of their own.
#include "host/gestures.h"
#include "support/test_host.h"

#include <gtest/gtest.h>

namespace corvalissement::testing_support {
namespace {

// clang-format off
constexpr FieldSpec FORM[] = {
    {.name = "Un", .kind = FieldKind::text, .caption = "", .container = "", .place = {}, .tab = 1, .max_length = 3},
    {.name = "Deux", .kind = FieldKind::text, .caption = "", .container = "", .place = {}, .tab = 0},
    {.name = "Cadre", .kind = FieldKind::frame, .caption = "", .container = "", .place = {}, .tab = 2},
    {.name = "Bouton", .kind = FieldKind::button, .caption = "", .container = "Cadre", .place = {}, .tab = 3},
    {.name = "Choix", .kind = FieldKind::combo, .caption = "", .container = "", .place = {}, .tab = 4, .rows = {"A", "B", "C"}},
    {.name = "Liste", .kind = FieldKind::list, .caption = "", .container = "", .place = {}, .tab = 5, .multi = true},
    {.name = "Case", .kind = FieldKind::check_box, .caption = "", .container = "Cadre", .place = {}, .tab = 6},
};
// clang-format on

struct Form {
    TestHost host;
    View view{host, "Form", "", 100, 100, FORM};
    TextField& un = view.field<TextField>("Un");
    TextField& deux = view.field<TextField>("Deux");
    Field& cadre = view.field<Field>("Cadre");
    Field& bouton = view.field<Field>("Bouton");
    ComboField& choix = view.field<ComboField>("Choix");
    ListField& liste = view.field<ListField>("Liste");
    CheckBoxField& box = view.field<CheckBoxField>("Case");
    std::string log;

    Form() {
        for (const char* row : {"r0", "r1", "r2"})
            liste.add_row(row);
        bouton.Click = [this] { log += "clic "; };
        choix.Click = [this] { log += "choix" + choix.text() + " "; };
        choix.Change = [this] { log += "change" + choix.text() + " "; };
        un.LostFocus = [this] { log += "quitte "; };
    }
};

TEST(Gestures, reach_needs_the_field_its_containers_and_the_view) {
    Form form;
    const auto reached = [&] { return gestures::click(form.bouton) == Reached::yes; };
    EXPECT_TRUE(reached());
    form.cadre.set_enabled(false);
    EXPECT_FALSE(reached());
    form.cadre.set_enabled(true);
    form.bouton.set_visible(false);
    EXPECT_FALSE(reached());
    form.bouton.set_visible(true);
    form.view.set_covered(true);
    EXPECT_FALSE(reached());
    form.view.set_covered(false);
    form.view.set_enabled(false);
    EXPECT_FALSE(reached());
    EXPECT_EQ(form.log, "clic ");
    // A routine's own order passes the disabled view, but no dialog.
    form.view.set_focus(form.un);
    EXPECT_EQ(form.view.focus(), &form.un);
}

TEST(Gestures, order_given_inside_LostFocus_wins_and_the_click_does_not_happen) {
    Form form;
    form.un.LostFocus = [&] { form.view.set_focus(form.un); };
    gestures::go_to(form.un);
    EXPECT_EQ(gestures::click(form.bouton), Reached::yes);
    EXPECT_EQ(form.view.focus(), &form.un);
    EXPECT_EQ(form.log, "");
    // The field left closes the one to which the user goes: no click either, and the focus stays.
    form.un.LostFocus = [&] { form.cadre.set_enabled(false); };
    EXPECT_EQ(gestures::click(form.box), Reached::yes);
    EXPECT_EQ(form.box.value(), 0);
    EXPECT_EQ(form.view.focus(), &form.un);
}

TEST(Gestures, row_is_looked_for_when_the_field_has_the_focus) {
    Form form;
    gestures::go_to(form.un);
    form.un.LostFocus = [&] { form.choix.add_row("D"); };
    EXPECT_EQ(gestures::pick(form.choix, 3), Reached::yes); // the field left brought the row
    EXPECT_EQ(form.choix.text(), "D");
    gestures::go_to(form.un);
    form.un.LostFocus = [&] { form.choix.clear(); };
    form.log.clear();
    EXPECT_EQ(gestures::pick(form.choix, 2), Reached::no_row); // and here it took them away
    EXPECT_EQ(form.choix.list_index(), -1);
    EXPECT_EQ(form.log, "");
    EXPECT_EQ(gestures::click_row(form.liste, 3), Reached::no_row);
    EXPECT_EQ(gestures::double_click(form.liste, -1), Reached::no_row);
    EXPECT_EQ(gestures::select_rows(form.liste, {0, 7}), Reached::no_row);
    EXPECT_TRUE(form.liste.selection().empty());
    form.liste.set_enabled(false);
    EXPECT_EQ(gestures::click_row(form.liste, 7), Reached::no); // out of reach comes first
}

TEST(Gestures, LostFocus_comes_before_the_new_field_has_the_focus) {
    Form form;
    gestures::go_to(form.un);
    form.un.LostFocus = [&] { form.log += form.view.focus() == nullptr ? "entre-deux " : "trop tôt "; };
    gestures::go_to(form.deux);
    EXPECT_EQ(form.log, "entre-deux ");
}

TEST(Gestures, typing_raises_KeyPress_then_Change_and_stops_where_the_focus_goes) {
    Form form;
    form.un.KeyPress = [&](int& key) {
        form.log += "k";
        if (key == 'x') key = 0;
    };
    form.un.Change = [&] { form.log += "c" + form.un.text() + " "; };
    gestures::type(form.un, "axéb4");
    EXPECT_EQ(form.un.text(), "aéb") << "at most three characters";
    EXPECT_EQ(form.log, "kca kkcaé kcaéb k");
    gestures::press(form.un, 8);
    gestures::press(form.un, 13);
    EXPECT_EQ(form.un.text(), "aé");
    form.deux.Change = [&] { form.view.set_focus(form.bouton); };
    gestures::type(form.deux, "12");
    EXPECT_EQ(form.deux.text(), "1");
}

TEST(Gestures, combo_text_and_index_go_apart) {
    Form form;
    gestures::pick(form.choix, 1);
    gestures::pick(form.choix, 1);
    EXPECT_EQ(form.log, "choixB choixB ") << "picked by hand: Click always, Change never";
    form.log.clear();
    form.choix.set_list_index(1);
    EXPECT_EQ(form.log, "");
    gestures::type(form.choix, "x");
    EXPECT_EQ(form.choix.list_index(), -1);
    form.choix.set_list_index(1);
    form.choix.set_text("B");
    form.choix.set_list_index(1);
    form.choix.set_list_index(7);
    EXPECT_EQ(form.log, "changeBx choixB choixB choix ");
    form.log.clear();
    form.choix.clear();
    EXPECT_EQ(form.log, "") << "clearing raises nothing";
}

TEST(Gestures, list_keeps_current_row_and_selection) {
    Form form;
    int doubled = 0;
    form.liste.DblClick = [&] { ++doubled; };
    gestures::double_click(form.liste, std::nullopt);
    EXPECT_EQ(doubled, 0) << "no row is current";
    gestures::select_rows(form.liste, {0, 2});
    gestures::double_click(form.liste, 2);
    EXPECT_EQ(doubled, 1);
    EXPECT_EQ(form.liste.selection(), (std::vector{0, 2})) << "a double click leaves a selected row selected";
    gestures::click_row(form.liste, 0);
    EXPECT_EQ(form.liste.selection(), std::vector{2});
    int clicks = 0;
    form.liste.Click = [&] { ++clicks; };
    form.liste.remove_row(0);
    EXPECT_EQ(form.liste.list_index(), -1);
    EXPECT_EQ(form.liste.selection(), std::vector{1});
    int dropped = 0;
    form.liste.DragDrop = [&] { ++dropped; };
    for (Field* source : {static_cast<Field*>(&form.un), static_cast<Field*>(&form.liste)})
        EXPECT_EQ(gestures::drag(*source, form.liste), Reached::yes);
    EXPECT_EQ(dropped, 1) << "a drag begins in a list of several";
    form.liste.insert_row(0, "neuf");
    EXPECT_EQ(form.liste.selection(), std::vector{2});
    EXPECT_EQ(clicks, 0);
}

TEST(Gestures, tab_goes_in_tab_order_over_what_can_be_reached) {
    Form form;
    form.deux.set_enabled(false);
    std::string order;
    for (int i = 0; i < 6; ++i) {
        gestures::tab(form.view);
        order += std::string(form.view.focus()->name()) + " ";
    }
    EXPECT_EQ(order, "Un Bouton Choix Liste Case Un ");
    gestures::tab(form.view, true);
    EXPECT_EQ(form.view.focus(), &form.box);
}

} // namespace
} // namespace corvalissement::testing_support
