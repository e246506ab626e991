#include "host/scripted_host.h"

#include "host/gestures.h"
#include "host/tracing_session.h"
#include "platform/text.h"

#include <nlohmann/json.hpp>

#include <istream>
#include <map>
#include <optional>
#include <ostream>

namespace corvalissement {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view DIALOG_PREFIX = "Frm_AffectCompta.";
constexpr int ANSWER_MESSAGE = 1;

// The script has ended inside a dialog: everything that waits is given up.
struct ScriptEnded {};

void write(std::ostream& events, const Json& object) {
    events << object.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

Json rows_of(const RowsField& field) {
    Json rows = Json::array();
    for (const std::string& row : field.rows())
        rows.push_back(row);
    return rows;
}

std::string shown_text(const Field& field) {
    if (const auto* text = dynamic_cast<const TextField*>(&field)) return text->text();
    if (const auto* combo = dynamic_cast<const ComboField*>(&field)) return combo->text();
    if (const auto* list = dynamic_cast<const ListField*>(&field))
        return std::string(list->row(list->list_index()));
    return field.caption();
}

Json describe(const Field& field, std::string_view prefix) {
    const View& view = field.view();
    Json object = {{"evt", "champ"},
                   {"nom", std::string(prefix) + std::string(field.name())},
                   {"texte", shown_text(field)},
                   {"actif", field.enabled()},
                   {"visible", field.visible()},
                   {"accessible", view.user_reaches(field)},
                   {"focus", view.focus() == &field}};
    if (const auto* rows = dynamic_cast<const RowsField*>(&field)) {
        object["rang"] = rows->list_index();
        object["lignes"] = rows_of(*rows);
    }
    if (const auto* list = dynamic_cast<const ListField*>(&field)) object["selection"] = list->selection();
    if (const auto* box = dynamic_cast<const CheckBoxField*>(&field)) object["valeur"] = box->value();
    if (const auto* option = dynamic_cast<const OptionField*>(&field))
        object["valeur"] = option->chosen() ? -1 : 0;
    if (const auto* bar = dynamic_cast<const ProgressBarField*>(&field)) {
        object["valeur"] = bar->value();
        object["max"] = bar->max();
    }
    return object;
}

[[noreturn]] void refuse(const std::string& reason) { throw StepFailure(ERR_OTHER, reason); }

// The next word of a line, and what is behind the blank that ends it.
std::string_view take_word(std::string_view& rest) {
    const std::size_t end = std::min(rest.find(' '), rest.size());
    const std::string_view word = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return word;
}

int number_in(std::string_view text, std::string_view what) {
    std::int64_t number = 0;
    if (!parse_whole(text, number) || number < INT32_MIN || number > INT32_MAX)
        refuse(std::string(what) + " : « " + std::string(text) + " » n'est pas un nombre entier");
    return static_cast<int>(number);
}

} // namespace

// The actions of a script. Each reads its own words from what is left of the line.
class ScriptedHost::Actions {
public:
    explicit Actions(ScriptedHost& host) : host_(host) {}

    void play(std::string_view line) {
        rest_ = line;
        const std::string action(take_word(rest_));
        static const std::map<std::string, void (Actions::*)(), std::less<>> ACTIONS = {
            {"saisir", &Actions::saisir},
            {"touche", &Actions::touche},
            {"effacer", &Actions::effacer},
            {"aller", &Actions::aller},
            {"tabuler", &Actions::tabuler},
            {"choisir", &Actions::choisir},
            {"cliquer", &Actions::cliquer},
            {"doubler", &Actions::doubler},
            {"selectionner", &Actions::selectionner},
            {"souris", &Actions::souris},
            {"menu", &Actions::menu},
            {"glisser", &Actions::glisser},
            {"repondre", &Actions::repondre},
            {"imprimante", &Actions::imprimante},
            {"verrouiller", &Actions::verrouiller},
            {"liberer", &Actions::liberer},
            {"fermer", &Actions::fermer},
            {"lire", &Actions::lire},
            {"etat", &Actions::etat}};
        const auto found = ACTIONS.find(action);
        if (found == ACTIONS.end()) refuse("action inconnue : « " + action + " »");
        // A menu that has popped up goes as soon as the user does anything else.
        if (action != "menu" && action != "lire" && action != "etat") host_.popped_up_ = nullptr;
        (this->*found->second)();
    }

private:
    Field& field(std::string_view name) {
        std::string_view own = name;
        View* view = host_.control();
        if (name.starts_with(DIALOG_PREFIX)) {
            own.remove_prefix(DIALOG_PREFIX.size());
            view = host_.dialog_;
        }
        Field* found = view == nullptr ? nullptr : view->find(own);
        if (found == nullptr) refuse("champ inconnu : « " + std::string(name) + " »");
        return *found;
    }

    Field& next_field() {
        name_ = std::string(take_word(rest_));
        return field(name_);
    }

    template <class Kind>
    Kind& as(Field& found, std::string_view kind) {
        auto* typed = dynamic_cast<Kind*>(&found);
        if (typed == nullptr) refuse("le champ « " + name_ + " » n'est pas " + std::string(kind));
        return *typed;
    }

    int row_number() { return number_in(trim_blanks(rest_), "rang"); }

    void check(Reached reached) {
        if (reached == Reached::no) write(host_.events_, {{"evt", "inaccessible"}, {"champ", name_}});
        if (reached == Reached::no_row)
            refuse("le champ « " + name_ + " » n'a pas de rang " + std::string(trim_blanks(rest_)));
    }

    void saisir() {
        Field& target = next_field();
        check(gestures::type(target, rest_));
    }
    void touche() {
        Field& target = next_field();
        check(gestures::press(target, number_in(trim_blanks(rest_), "touche")));
    }
    void effacer() { check(gestures::replace_text(next_field(), "")); }
    void aller() { check(gestures::go_to(next_field())); }
    void tabuler() { gestures::tab(*host_.top_view()); }
    void choisir() {
        auto& rows = as<RowsField>(next_field(), "une liste");
        check(gestures::pick(rows, row_number()));
    }
    void cliquer() {
        Field& target = next_field();
        if (auto* list = dynamic_cast<ListField*>(&target); list != nullptr && !trim_blanks(rest_).empty())
            check(gestures::click_row(*list, row_number()));
        else
            check(gestures::click(target));
    }
    void doubler() {
        Field& target = next_field();
        std::optional<int> row;
        if (dynamic_cast<RowsField*>(&target) != nullptr && !trim_blanks(rest_).empty()) row = row_number();
        check(gestures::double_click(target, row));
    }
    void selectionner() {
        auto& list = as<ListField>(next_field(), "une liste");
        std::vector<int> rows;
        std::string_view numbers = trim_blanks(rest_);
        while (!numbers.empty()) {
            const std::size_t end = std::min(numbers.find(','), numbers.size());
            rows.push_back(number_in(trim_blanks(numbers.substr(0, end)), "rang"));
            numbers.remove_prefix(std::min(end + 1, numbers.size()));
        }
        check(gestures::select_rows(list, rows));
    }
    void souris() {
        name_ = std::string(take_word(rest_));
        const int button = number_in(trim_blanks(rest_), "bouton");
        if (name_ == "vue")
            check(gestures::press_mouse(*host_.control(), button));
        else
            check(gestures::press_mouse(field(name_), button));
    }
    void menu() {
        name_ = "Mnu_Sommaire";
        Field* shown = host_.popped_up_;
        host_.popped_up_ = nullptr;
        check(shown == nullptr ? Reached::no : gestures::choose_entry(field(name_)));
    }
    void glisser() {
        Field& source = next_field();
        const std::string from = name_;
        if (!source.spec().multi) refuse("rien ne se glisse depuis le champ « " + from + " »");
        Field& target = next_field();
        if (!source.view().user_reaches(source)) name_ = from;
        check(gestures::drag(source, target));
    }
    void repondre() { host_.answers_.push_back(number_in(trim_blanks(rest_), "réponse")); }
    void imprimante() { host_.printer_answers_.push_back(number_in(trim_blanks(rest_), "rang")); }
    Store& other_user() {
        if (!host_.other_user_) host_.other_user_ = host_.open_other_user_();
        return *host_.other_user_;
    }
    void verrouiller() {
        const std::string_view file = take_word(rest_);
        if (!other_user().lock(file, rest_))
            throw StepFailure(ERR_HELD, "l'enregistrement est tenu par un autre utilisateur",
                              std::string(file) + " " + std::string(rest_));
    }
    void liberer() {
        const std::string_view file = take_word(rest_);
        other_user().unlock(file, rest_);
    }
    void fermer() {
        if (host_.dialog_ != nullptr)
            host_.unload_dialog(*host_.dialog_);
        else
            host_.unload_form_of(*host_.control());
    }
    void lire() {
        const Field& target = next_field();
        write(host_.events_, describe(target, name_.starts_with(DIALOG_PREFIX) ? DIALOG_PREFIX : ""));
    }
    void etat() {
        for (const auto& item : host_.control()->Controls())
            write(host_.events_, describe(*item, ""));
        if (host_.dialog_ == nullptr) return;
        for (const auto& item : host_.dialog_->Controls())
            write(host_.events_, describe(*item, DIALOG_PREFIX));
    }

    ScriptedHost& host_;
    std::string_view rest_;
    std::string name_;
};

ScriptedHost::ScriptedHost(HostSettings settings, std::istream& script, std::ostream& events,
                           std::function<std::unique_ptr<Store>()> open_other_user)
    : HeadlessHost(std::move(settings)), script_(script), events_(events),
      open_other_user_(std::move(open_other_user)) {}

ScriptedHost::~ScriptedHost() = default;

std::optional<StepFailure> ScriptedHost::run(std::shared_ptr<TarvexSession> session) {
    SessionEvents told;
    told.selected = [this](std::string_view query, std::string_view file, std::string_view fields,
                           std::size_t rows) {
        write(
            events_,
            {{"evt", "requete"}, {"texte", query}, {"fichier", file}, {"champs", fields}, {"lignes", rows}});
    };
    told.executed = [this](std::string_view text, bool prefixed, std::string_view line) {
        Json object = {{"evt", "commande"}, {"texte", text}};
        if (prefixed) object["ligne"] = line;
        write(events_, object);
    };
    told.read = [this](std::string_view file, std::string_view key, int error, bool locked) {
        write(events_,
              {{"evt", "lecture"}, {"fichier", file}, {"cle", key}, {"erreur", error}, {"verrou", locked}});
    };
    told.written = [this](std::string_view file, std::string_view key) {
        write(events_, {{"evt", "ecriture"}, {"fichier", file}, {"cle", key}});
    };
    try {
        start(trace_session(std::move(session), std::move(told)));
    } catch (const StepFailure& failure) {
        write(events_, {{"evt", "erreur"}, {"numero", failure.number()}, {"texte", failure.text()}});
        return failure;
    }
    try {
        std::string line;
        while (!unloaded() && std::getline(script_, line))
            play_line(line);
    } catch (const ScriptEnded&) {
        dialog_ = nullptr;
    }
    events_.flush();
    return std::nullopt;
}

void ScriptedHost::play_line(const std::string& line) {
    std::string_view text = line;
    if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
    if (trim_blanks(text).empty() || text.front() == '#') return;
    try {
        Actions(*this).play(text);
    } catch (const StepFailure& failure) {
        write(events_, {{"evt", "erreur"}, {"numero", failure.number()}, {"texte", failure.text()}});
    }
    events_.flush();
}

View* ScriptedHost::top_view() { return dialog_ != nullptr ? dialog_ : control(); }

int ScriptedHost::message_box(std::string_view text, int kind, std::string_view title) {
    int answer = kind == KIND_QUESTION ? ANSWER_NO : ANSWER_MESSAGE;
    if (!answers_.empty()) {
        answer = answers_.front();
        answers_.pop_front();
    }
    write(events_,
          {{"evt", "message"}, {"texte", text}, {"genre", kind}, {"titre", title}, {"reponse", answer}});
    return answer;
}

void ScriptedHost::beep() { write(events_, {{"evt", "bip"}}); }

void ScriptedHost::set_pointer(int pointer) { write(events_, {{"evt", "pointeur"}, {"valeur", pointer}}); }

void ScriptedHost::view_enabled_changed(View& view, bool enabled) {
    if (&view == dialog_) return;
    write(events_, {{"evt", "vue"}, {"active", enabled}});
}

void ScriptedHost::popup_menu(Field& menu) {
    popped_up_ = &menu;
    write(events_, {{"evt", "menu"}, {"nom", menu.name()}});
}

void ScriptedHost::show_help(std::string_view page, std::string_view kind, std::string_view title) {
    write(events_, {{"evt", "aide"}, {"page", page}, {"genre", kind}, {"titre", title}});
}

void ScriptedHost::show_modal(View& dialog) {
    dialog_ = &dialog;
    dialog_open_ = true;
    control()->set_covered(true);
    write(events_, {{"evt", "dialogue"}, {"nom", dialog.name()}, {"ouvert", true}});
    std::string line;
    while (dialog_open_) {
        if (!std::getline(script_, line)) throw ScriptEnded();
        play_line(line);
    }
    control()->set_covered(false);
    dialog_ = nullptr;
}

bool ScriptedHost::unload_dialog(View& dialog) {
    if (!HeadlessHost::unload_dialog(dialog)) return false;
    write(events_, {{"evt", "dialogue"}, {"nom", dialog.name()}, {"ouvert", false}});
    return true;
}

void ScriptedHost::unload_form_of(View& view) {
    if (unloaded()) return;
    HeadlessHost::unload_form_of(view);
    write(events_, {{"evt", "dechargement"}});
}

PrinterChoice ScriptedHost::choose_printer() {
    PrinterChoice choice{0, 1};
    if (!printer_answers_.empty()) {
        choice.index = printer_answers_.front();
        printer_answers_.pop_front();
    }
    return choice;
}

void ScriptedHost::document_ended(const PrintSurface& surface) {
    HeadlessHost::document_ended(surface);
    write(events_,
          {{"evt", "impression"}, {"imprimante", surface.DeviceName()}, {"pages", surface.page_count()}});
}

} // namespace corvalissement
