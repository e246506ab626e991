#include "host/edition_host.h"

#include "data/keys.h"
#include "drafts/frm_affect_compta.h"
#include "host/gestures.h"
#include "platform/text.h"

#include <algorithm>

namespace corvalissement {

namespace {

constexpr std::string_view FILE_MADE_BEGIN = "Le fichier ";
constexpr std::string_view FILE_MADE_END = " a été généré dans le répertoire LIENCOMPTA";

// The list shows two years only: any code but that of year N stands for the year behind it.
std::string as_shown(std::string_view key) {
    SequenceKey shown = SequenceKey::of(key);
    if (shown.year != exercice::CODE_N0) shown.year = exercice::CODE_N1;
    shown.order = chars_from(key, 8);
    return shown.text();
}

} // namespace

EditionHost::EditionHost(HostSettings settings, EditionOptions options)
    : HeadlessHost(std::move(settings)), options_(std::move(options)) {}

int EditionHost::message_box(std::string_view text, int kind, std::string_view) {
    if (text.starts_with(FILE_MADE_BEGIN) && text.ends_with(FILE_MADE_END)) {
        const std::string_view rest = text.substr(FILE_MADE_BEGIN.size());
        if (!withheld_) file_made_ = std::string(rest.substr(0, rest.size() - FILE_MADE_END.size()));
        handed_out_ = !file_made_.empty();
    } else if (text == SEQUENCES_HELD) {
        notice_ = text;
    } else {
        messages_.emplace_back(text);
    }
    return kind == KIND_QUESTION ? ANSWER_NO : 1;
}

void EditionHost::skipped(std::string_view routine, const StepFailure& failure) {
    HeadlessHost::skipped(routine, failure);
    spoilt_ = spoilt_ || spoils_edition(routine, failure);
}

bool EditionHost::refuse(std::string text) {
    messages_.push_back(std::move(text));
    return false;
}

void EditionHost::field_changed(Field& changed) {
    const auto* bar = dynamic_cast<const ProgressBarField*>(&changed);
    if (bar != nullptr && progress && bar->max() > 0)
        progress(static_cast<double>(bar->value()) / static_cast<double>(bar->max()));
}

bool EditionHost::choose_entity() {
    auto& code = field<TextField>("Txt_Entite");
    if (code.text() == options_.entity) return true;
    // What the control said of an entity that it chose by itself is not this edition's business.
    messages_.clear();
    if (char_count(options_.entity) > 3)
        return refuse("Le code d'entité « " + options_.entity + " » a plus de 3 caractères.");
    gestures::replace_text(code, "");
    gestures::type(code, options_.entity);
    if (messages_.empty() && char_count(code.text()) < 3) gestures::press(code, KEY_ENTER);
    if (!messages_.empty()) return false;
    if (field<ComboField>("Cbo_Exer").enabled()) return true;
    return refuse("Le code d'entité « " + options_.entity + " » n'est pas accepté.");
}

bool EditionHost::choose_year() {
    if (!messages_.empty()) return false;
    auto& year = field<ComboField>("Cbo_Exer");
    const auto found = std::find(year.rows().begin(), year.rows().end(), options_.exercice);
    if (found == year.rows().end()) return refuse("L'exercice « " + options_.exercice + " » n'existe pas.");
    gestures::pick(year, static_cast<int>(found - year.rows().begin()));
    return messages_.empty();
}

bool EditionHost::enter_dates() {
    for (const auto& [name, date] :
         {std::pair("Txt_DateDeb", options_.start_date), std::pair("Txt_DateFin", options_.end_date)}) {
        if (!date) continue;
        auto& target = field<TextField>(name);
        gestures::replace_text(target, "");
        gestures::type(target, *date);
        gestures::go_to(field<ComboField>("Cbo_Exer"));
        if (!messages_.empty()) return false;
    }
    return true;
}

bool EditionHost::enter_account(const char* number_field, const char* label_field,
                                const std::string& number) {
    auto& target = field<TextField>(number_field);
    const auto& label = field<ComboField>(label_field);
    gestures::type(target, number);
    if (messages_.empty()) gestures::press(target, KEY_ENTER);
    if (!messages_.empty()) return false;
    // A number that the field has emptied is told by the check of the line, unless it led to a choice.
    if (!target.text().empty() || label.list_count() == 0) return true;
    return refuse("Plusieurs comptes commencent par « " + number + " » : donnez le numéro entier.");
}

bool EditionHost::enter_range(const std::string& from, const std::string& to) {
    Field& add = field<Field>("Cmd_Ajouter");
    if (gestures::click(add) == Reached::no)
        return refuse("Cet utilisateur ne peut pas ajouter de tranche de comptes.");
    if (!enter_account("Txt_CpteDe", "Cbo_CpteDe", from) || !enter_account("Txt_CpteA", "Cbo_CpteA", to))
        return false;
    gestures::click(field<Field>("Cmd_OK"));
    return messages_.empty();
}

bool EditionHost::check(std::string_view box, std::string_view option) {
    auto& target = field<CheckBoxField>(box);
    if (gestures::click(target) == Reached::yes && target.value() == 1) return true;
    return refuse("L'option " + std::string(option) + " n'est pas accessible pour cette sélection.");
}

bool EditionHost::set_options() {
    if (options_.account_class != 0)
        gestures::pick(field<ComboField>("Cbo_EditCpte"), options_.account_class);
    if (options_.graphic) gestures::click(field<OptionField>("Opt_FichierGraphique"));
    const bool drafts = options_.all_drafts || !options_.drafts.empty();
    return (!options_.only_unsettled || check("Cac_HorsCpteSolde", "--hors-comptes-soldes")) &&
           (!options_.only_unlettered || check("Cac_EcrNonLettre", "--non-lettrees")) &&
           (!options_.with_earlier || check("Cac_CumulAnt", "--cumuls")) &&
           (!options_.page_per_account || check("Cac_RupturePage", "--rupture")) &&
           (!drafts || check("Cac_PriseCpteBrouillard", "--brouillard"));
}

bool EditionHost::assign_drafts(View& dialog) {
    auto& upper = dialog.field<ListField>("Lst_SequencePos");
    // All of them cannot be had while another user holds one.
    if (options_.all_drafts && !notice_.empty()) return refuse(notice_);
    if (options_.all_drafts) {
        gestures::click(dialog.field<Field>("Cmd_Tous"));
        return true;
    }
    for (const std::string& key : options_.drafts) {
        const auto row = std::find_if(upper.rows().begin(), upper.rows().end(), [&](const std::string& text) {
            return sequence_key(options_.entity, text) == as_shown(key);
        });
        if (row == upper.rows().end() && !notice_.empty()) refuse(notice_);
        if (row == upper.rows().end())
            return refuse("La séquence « " + key + " » n'est pas parmi les séquences de saisie soldées.");
        gestures::select_rows(upper, {static_cast<int>(row - upper.rows().begin())});
        gestures::click(dialog.field<Field>("Cmd_PasseDroit"));
    }
    return true;
}

void EditionHost::show_modal(View& dialog) {
    dialog_open_ = true;
    control()->set_covered(true);
    Field& assign = dialog.field<Field>("Cmd_Affecter");
    if (!assign_drafts(dialog) || gestures::click(assign) == Reached::no)
        gestures::click(dialog.field<Field>("Cmd_Sortir"));
    control()->set_covered(false);
}

// The click that prints. A step that fails behind the edition leaves it complete and handed out.
bool EditionHost::print() {
    try {
        return gestures::click(field<Field>("Cmd_Imprimer")) == Reached::yes;
    } catch (const StepFailure& failure) {
        if (!handed_out_) throw;
        skipped("Cmd_Imprimer_Click", failure);
        return true;
    }
}

EditionEnd EditionHost::run(std::shared_ptr<TarvexSession> session) {
    start(withhold_commands(std::move(session), [this] { return withholds(); }));
    if (!choose_entity() || !choose_year() || !enter_dates()) return EditionEnd::refused;
    options_.entity = field<TextField>("Txt_Entite").text();
    for (const auto& [from, to] : options_.ranges)
        if (!enter_range(from, to)) return EditionEnd::refused;
    if (!set_options()) return EditionEnd::refused;
    if (!print()) {
        refuse("Cet utilisateur ne peut pas lancer l'édition.");
        return EditionEnd::refused;
    }
    return (unloaded() || handed_out_) && messages_.empty() ? EditionEnd::done : EditionEnd::refused;
}

} // namespace corvalissement
