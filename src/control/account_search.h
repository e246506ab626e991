// The search for one end of an account range: a number field and a label combo that fill each other. The
// two sides of the control are two of these, alike in everything but their fields.
#pragma once

#include "data/dyn_array.h"
#include "data/variable.h"
#include "platform/view.h"

#include <string>
#include <string_view>

namespace corvalissement {

class AccountSearch {
public:
    // The fields of the side, and those it shares with the other: entity, year, class, and the flag that a
    // refused number sets to suspend the class rule until the next Enter on a non-empty number field.
    struct Fields {
        TextField& number; // Txt_CpteDe, Txt_CpteA
        ComboField& label; // Cbo_CpteDe, Cbo_CpteA
        const TextField& entity;
        const ComboField& year;
        const ComboField& account_class;
        bool& W_SansControleClasse;
    };

    AccountSearch(View& view, Variable& variable, Fields fields, std::string_view search_name);

    // Binds the events of the side's two fields.
    void bind();
    void release() { found_ = DynArray(); }

private:
    void number_key_press(int& key);
    void number_lost_focus();
    void number_change();
    void search_by_number();
    void label_key_press(int& key);
    void search_by_label();
    void label_click();
    void label_change();

    void read_chart(std::string_view account);
    void add_label_row();
    void take_account(std::size_t i);
    [[nodiscard]] bool class_allows(std::string_view number);
    void refuse_number(std::string_view text, int kind);
    void select(const std::string& query);

    View& view_;
    Variable& variable_;
    Fields fields_;
    std::string_view search_name_; // the search's name in a report
    DynArray found_;               // W_ListeCpteDe, W_ListeCpteA: value 1 of attribute i is a balance key
};

// The two key rules of combos that are searched by label: Enter searches, and what lies above the letter z
// is refused. True when the key was dropped.
[[nodiscard]] bool drop_accented_key(Dialogue& host, int& key);

} // namespace corvalissement
