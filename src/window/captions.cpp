#include "window/captions.h"

#include "window/qt_text.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <set>

namespace corvalissement {

namespace {

// Units: what lies closer than the height of a line of text stands in the same line.
constexpr int LINE_HEIGHT = 195;

bool has_own_caption(FieldKind kind) {
    return kind == FieldKind::button || kind == FieldKind::check_box || kind == FieldKind::option;
}

bool wants_label(FieldKind kind) {
    return kind == FieldKind::text || kind == FieldKind::combo || kind == FieldKind::list;
}

bool directly_above(const Place& label, const Place& field) {
    return label.top < field.top && field.top - (label.top + label.height) < LINE_HEIGHT &&
           label.left >= field.left && label.left + label.width <= field.left + field.width;
}

// The letters of a caption that a keyboard has on any layout, the first of each word before the others.
std::vector<QChar> letters_of(const QString& caption) {
    std::vector<QChar> firsts;
    std::vector<QChar> others;
    bool in_word = false;
    for (const QChar c : caption.toUpper()) {
        if (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) (in_word ? others : firsts).push_back(c);
        in_word = c.isLetterOrNumber();
    }
    firsts.insert(firsts.end(), others.begin(), others.end());
    return firsts;
}

} // namespace

const Field* label_of(const View& view, const Field& field) {
    if (!wants_label(field.kind())) return nullptr;
    const Place& own = field.spec().place;
    const Field* nearest = nullptr;
    long least = 0;
    int columns = 0;
    for (const auto& other : view.Controls()) {
        if (other->kind() != FieldKind::label || other->container() != field.container()) continue;
        const Place& place = other->spec().place;
        columns += directly_above(place, own) ? 1 : 0;
        const bool same_line = std::abs(place.top - own.top) < LINE_HEIGHT && place.left < own.left;
        const long distance = same_line ? own.left - place.left - 1'000'000L
                                        : std::labs(2L * (place.left - own.left) + place.width - own.width);
        if (nearest == nullptr || distance < least) {
            nearest = other.get();
            least = distance;
        }
    }
    return columns > 1 ? nullptr : nearest;
}

std::vector<Field*> fields_named_by(const View& view, const Field& label) {
    std::vector<Field*> named;
    for (const auto& field : view.Controls())
        if (label_of(view, *field) == &label) named.push_back(field.get());
    std::sort(named.begin(), named.end(),
              [](const Field* a, const Field* b) { return a->spec().tab < b->spec().tab; });
    return named;
}

// Each caption takes the first of its letters that is free; one that finds none free asks an earlier one to
// move to another of its own.
AccessKeys::AccessKeys(const View& view, const QString& taken) {
    std::vector<const Field*> captions;
    for (const auto& field : view.Controls())
        if (has_own_caption(field->kind()) ||
            (field->kind() == FieldKind::label && !fields_named_by(view, *field).empty()))
            captions.push_back(field.get());
    // Buttons are pressed most, so they choose first.
    std::stable_partition(captions.begin(), captions.end(),
                          [](const Field* field) { return field->kind() == FieldKind::button; });

    std::map<QChar, const Field*> owner;
    // Who may be asked to move: nobody, then the other captions, then the buttons too.
    enum Movable { NOBODY, CAPTIONS, BUTTONS };
    const auto moves = [&](const Field* held, Movable who) {
        return who == BUTTONS || (who == CAPTIONS && held->kind() != FieldKind::button);
    };
    const std::function<bool(const Field*, Movable, std::set<QChar>&)> place =
        [&](const Field* field, Movable who, std::set<QChar>& asked) {
            for (const QChar letter : letters_of(shown_text(field->caption()))) {
                if (taken.contains(letter, Qt::CaseInsensitive)) continue;
                const auto held = owner.find(letter);
                if (held != owner.end() &&
                    (!moves(held->second, who) || !asked.insert(letter).second ||
                     (!place(held->second, NOBODY, asked) && !place(held->second, who, asked))))
                    continue;
                owner[letter] = field;
                return true;
            }
            return false;
        };
    for (const Field* field : captions)
        for (const Movable who : {NOBODY, CAPTIONS, BUTTONS}) {
            std::set<QChar> asked;
            if (place(field, who, asked)) break;
        }
    for (const auto& [letter, field] : owner)
        letters_[field] = letter;
}

QChar AccessKeys::of(const Field& field) const {
    const auto found = letters_.find(&field);
    return found == letters_.end() ? QChar() : found->second;
}

QString AccessKeys::marked(const Field& field) const {
    const QString plain = shown_text(field.caption());
    const QChar letter = of(field);
    qsizetype at = -1;
    // The letter where a word begins with it, else where it comes first.
    for (qsizetype i = 0; i < plain.size() && !letter.isNull(); ++i) {
        if (plain[i].toUpper() != letter) continue;
        const bool begins = i == 0 || !plain[i - 1].isLetterOrNumber();
        if (at < 0 || begins) at = i;
        if (begins) break;
    }
    if (at < 0) return caption_text(field.caption());
    return plain.left(at).replace(QLatin1Char('&'), QLatin1String("&&")) + QLatin1Char('&') +
           plain.mid(at).replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace corvalissement
