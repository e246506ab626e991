// Making the widgets of a view, and drawing what its fields have become. What the user does stands in
// view_events.cpp.
#include "window/view_widget.h"

#include "host/gestures.h"
#include "platform/text.h"
#include "window/qt_text.h"
#include "window/view_parts.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QStyle>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace corvalissement {

namespace {

// A fixed-pitch character of the lists, in units: the rows of the dialog stand under their column captions.
constexpr double LIST_CHARACTER = 105.0;
// A label may run this far past its place; the next field is always further away.
constexpr int LABEL_EXCESS = 120;
constexpr double MOST_WIDENING = 1.6; // of the fields in a wide window; beyond it they stand in its middle
// The height of a line of text in the inventory: a label's.
constexpr double LINE_HEIGHT = 195.0;
constexpr int BAR_STEPS = 10000; // the bar's own scale, whatever the maximum of the field

// What a widget of that kind needs beside its caption, in pixels.
int room_beside_caption(FieldKind kind, const QWidget& widget) {
    const QStyle& style = *widget.style();
    switch (kind) {
    case FieldKind::button:
        return 12;
    case FieldKind::check_box:
        return style.pixelMetric(QStyle::PM_IndicatorWidth) +
               style.pixelMetric(QStyle::PM_CheckBoxLabelSpacing) + 4;
    case FieldKind::option:
        return style.pixelMetric(QStyle::PM_ExclusiveIndicatorWidth) +
               style.pixelMetric(QStyle::PM_RadioButtonLabelSpacing) + 4;
    default:
        return 0;
    }
}

bool holds_keyboard(const QWidget& widget) {
    const QWidget* holder = QApplication::focusWidget();
    return holder == &widget || widget.isAncestorOf(holder);
}

// What is pasted may hold the ends of lines; a field holds one.
std::string one_line(const QString& text) {
    QString line = text;
    for (QChar& c : line)
        if (c == QLatin1Char('\n') || c == QLatin1Char('\r') || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            c = QLatin1Char(' ');
    return field_text(line);
}

bool has_caption(FieldKind kind) {
    return kind == FieldKind::label || kind == FieldKind::button || kind == FieldKind::check_box ||
           kind == FieldKind::option;
}

} // namespace

ViewWidget::ViewWidget(View& view, const QString& taken_keys, QWidget* parent)
    : QWidget(parent), view_(view), keys_(view, taken_keys) {
    setObjectName(shown_text(view.name()));
    setAccessibleName(shown_text(view.caption()));
    make_parts();
    for (const auto& field : view_.Controls())
        if (auto* label = qobject_cast<QLabel*>(widget_of(*field)); label != nullptr)
            if (auto named = fields_named_by(view_, *field); !named.empty())
                named_by_.emplace_back(label, std::move(named));
    lay_out();
    setEnabled(view_.enabled());
    for (const auto& part : parts_)
        refresh(*part);
    lead_labels();
}

ViewWidget::~ViewWidget() = default;

QWidget* ViewWidget::widget_of(const Field& field) const {
    const auto found = part_of_.find(&field);
    return found == part_of_.end() ? nullptr : found->second->widget;
}

int ViewWidget::pixels(int units) const { return static_cast<int>(std::lround(units * scale_)); }

// The inventory may name a container behind what it contains, so containers come first.
void ViewWidget::make_parts() {
    for (const auto& field : view_.Controls())
        if (field->kind() == FieldKind::frame) make_part(*field, this);
    for (const auto& field : view_.Controls()) {
        if (field->kind() == FieldKind::frame || field->kind() == FieldKind::menu ||
            field->kind() == FieldKind::menu_entry)
            continue;
        make_part(*field, field->container() == nullptr ? this : widget_of(*field->container()));
    }
}

void ViewWidget::make_part(Field& field, QWidget* parent) {
    auto part = std::make_unique<Part>();
    part->field = &field;
    part_of_[&field] = part.get(); // inner widgets are watched while the part is being made
    switch (field.kind()) {
    case FieldKind::text:
        part->widget = make_text(*part, parent);
        break;
    case FieldKind::combo:
        part->widget = make_combo(*part, parent);
        break;
    case FieldKind::list:
        part->widget = make_list(*part, parent);
        break;
    case FieldKind::frame:
        part->widget = new Frame(parent);
        break;
    case FieldKind::progress_bar: {
        auto* bar = new QProgressBar(parent);
        bar->setRange(0, BAR_STEPS);
        bar->setTextVisible(false);
        bar->setAccessibleName(tr("Avancement"));
        part->widget = bar;
        break;
    }
    case FieldKind::label: {
        auto* label = new QLabel(parent);
        label->setTextFormat(Qt::PlainText);
        part->widget = label;
        break;
    }
    default:
        part->widget = make_button(field, parent);
        break;
    }
    part->widget->setObjectName(shown_text(field.name()));
    if (!has_caption(field.kind()) && field.kind() != FieldKind::progress_bar)
        part->widget->setAccessibleName(spoken_name(field));
    parts_.push_back(std::move(part));
    watch(parts_.back()->widget, field);
}

QWidget* ViewWidget::make_text(Part& part, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setContextMenuPolicy(Qt::PreventContextMenu);
    // What goes in by any other way than a key: pasted, cut, dropped, undone.
    connect(edit, &QLineEdit::textEdited, this, [this, &field = *part.field](const QString& text) {
        if (!refreshing_) act([&] { gestures::replace_text(field, one_line(text)); });
    });
    return edit;
}

QWidget* ViewWidget::make_combo(Part& part, QWidget* parent) {
    auto* combo = new QComboBox(parent);
    part.rows = new RowsModel(combo);
    combo->setEditable(true);
    combo->setInsertPolicy(QComboBox::NoInsert);
    combo->setCompleter(nullptr);
    // The width is the inventory's; measuring every row for a wider one would take its time.
    combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    combo->setModel(part.rows);
    if (auto* rows = qobject_cast<QListView*>(combo->view())) rows->setUniformItemSizes(true);
    combo->lineEdit()->setContextMenuPolicy(Qt::PreventContextMenu);
    combo->lineEdit()->setAccessibleName(spoken_name(*part.field));
    // The combo would take a text that is left for the first row of that text, and tell of a choice that
    // nobody has made.
    disconnect(combo->lineEdit(), &QLineEdit::editingFinished, combo, nullptr);
    disconnect(combo->lineEdit(), &QLineEdit::returnPressed, combo, nullptr);
    combo->setFocusPolicy(Qt::StrongFocus); // not by the wheel
    connect(combo, &QComboBox::activated, this, [this, &part](int row) {
        if (!refreshing_) pick(static_cast<RowsField&>(*part.field), row);
    });
    connect(combo->lineEdit(), &QLineEdit::textEdited, this,
            [this, &field = *part.field](const QString& text) {
                if (!refreshing_) act([&] { gestures::replace_text(field, one_line(text)); });
            });
    watch(combo->lineEdit(), *part.field);
    return combo;
}

QWidget* ViewWidget::make_list(Part& part, QWidget* parent) {
    auto* list = new RowsList(parent, *part.field);
    part.rows = new RowsModel(list);
    list->setUniformItemSizes(true);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list->setModel(part.rows);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    list->setTabKeyNavigation(false);
    if (part.field->spec().multi) {
        list->setSelectionMode(QAbstractItemView::ExtendedSelection);
        list->setDragEnabled(true);
        list->viewport()->setAcceptDrops(true);
        connect(list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                [this, &field = *part.field] { selection_made(static_cast<ListField&>(field)); });
    } else {
        list->setSelectionMode(QAbstractItemView::SingleSelection);
    }
    watch(list->viewport(), *part.field);
    return list;
}

QWidget* ViewWidget::make_button(Field& field, QWidget* parent) {
    QAbstractButton* button = nullptr;
    if (field.kind() == FieldKind::check_box) {
        button = new QCheckBox(parent);
    } else if (field.kind() == FieldKind::option) {
        button = new QRadioButton(parent);
    } else {
        auto* push = new QPushButton(parent);
        push->setAutoDefault(false);
        button = push;
    }
    if (field.caption() == "↓") button->setAccessibleName(tr("Descendre les lignes choisies"));
    if (field.caption() == "↑") button->setAccessibleName(tr("Retirer les lignes choisies"));
    // The widget has turned itself over already; whether the field does is for the gesture to say.
    connect(button, &QAbstractButton::clicked, this, [this, &field] {
        refresh_choice(field);
        act([&] { gestures::click(field); });
    });
    return button;
}

void ViewWidget::watch(QWidget* widget, Field& field) {
    watched_[widget] = part_of_.at(&field);
    widget->installEventFilter(this);
}

// What a screen reader says of a field without a caption of its own: its label, behind the caption of its
// frame.
QString ViewWidget::spoken_name(const Field& field) const {
    if (field.kind() == FieldKind::frame) return shown_text(field.spec().caption);
    QString name;
    if (field.container() != nullptr) name = shown_text(field.container()->spec().caption);
    const Field* label = label_of(view_, field);
    if (label == nullptr) return name;
    name = (name + QLatin1Char(' ') + shown_text(label->spec().caption)).trimmed();
    if (fields_named_by(view_, *label).size() < 2) return name;
    switch (field.kind()) {
    case FieldKind::list:
        return tr("%1 (liste)").arg(name);
    case FieldKind::combo:
        return tr("%1 (libellé)").arg(name);
    default:
        return tr("%1 (code)").arg(name);
    }
}

// Pixels a unit: a line of text is as high as a label, and every caption fits into its place.
double ViewWidget::needed_scale() const {
    const QFontMetricsF metrics(font());
    double scale = metrics.height() / LINE_HEIGHT;
    for (const auto& part : parts_) {
        const FieldSpec& spec = part->field->spec();
        if (!has_caption(spec.kind)) continue;
        const int room = spec.place.width + (spec.kind == FieldKind::label ? LABEL_EXCESS : 0);
        const double needed =
            metrics.horizontalAdvance(shown_text(spec.caption)) + room_beside_caption(spec.kind, *this);
        scale = std::max(scale, needed / room);
    }
    return scale;
}

void ViewWidget::lay_out() {
    scale_ = needed_scale();
    QFont fixed(QStringLiteral("Courier New"));
    fixed.setStyleHint(QFont::Monospace);
    fixed.setFixedPitch(true);
    // A fixed-pitch character is three fifths of its size wide.
    fixed.setPixelSize(std::max(6, static_cast<int>(LIST_CHARACTER * scale_ / 0.6)));
    for (const auto& part : parts_)
        if (part->field->kind() == FieldKind::list) {
            part->widget->setFont(fixed);
            keeps_columns_ = keeps_columns_ || label_of(view_, *part->field) == nullptr;
        }
    setMinimumSize(pixels(view_.width()), pixels(view_.height()));
    updateGeometry();
    place_all();
}

QSize ViewWidget::sizeHint() const { return {pixels(view_.width()), pixels(view_.height())}; }

void ViewWidget::place_all() {
    const int least = pixels(view_.width());
    const double widening =
        keeps_columns_ ? 1.0 : std::clamp(static_cast<double>(width()) / least, 1.0, MOST_WIDENING);
    const int left = std::max(0, static_cast<int>((width() - least * widening) / 2.0));
    place_fields(nullptr, widening, std::max(0, height() - pixels(view_.height())), left);
}

// What shows more when it is higher.
bool ViewWidget::grows(const Field& field) const {
    if (field.kind() == FieldKind::list) return true;
    return field.kind() == FieldKind::frame &&
           std::any_of(view_.Controls().begin(), view_.Controls().end(), [&](const auto& inner) {
               return inner->container() == &field && inner->kind() == FieldKind::list;
           });
}

// As high as the field that it names in its line, so that the two texts stand on one level.
int ViewWidget::height_of_label(const Field& label) const {
    const Place& own = label.spec().place;
    for (const Field* named : fields_named_by(view_, label))
        if (named->spec().place.top == own.top) return std::max(own.height, named->spec().place.height);
    return own.height;
}

// The fields of one container, null for the view itself. The height to spare is shared among what grows,
// lists side by side having one share between them, and what lies below moves down.
void ViewWidget::place_fields(const Field* container, double widening, int spare_height, int left) {
    std::vector<int> bottoms; // of the rows of what grows, in units
    for (const auto& part : parts_) {
        const Field& field = *part->field;
        const int bottom = field.spec().place.top + field.spec().place.height;
        if (field.container() == container && grows(field) &&
            std::find(bottoms.begin(), bottoms.end(), bottom) == bottoms.end())
            bottoms.push_back(bottom);
    }
    const int share = bottoms.empty() ? 0 : spare_height / static_cast<int>(bottoms.size());
    const int line_height = QFontMetrics(font()).height();
    const auto across = [&](int units) { return static_cast<int>(std::lround(units * scale_ * widening)); };
    for (const auto& part : parts_) {
        const Field& field = *part->field;
        if (field.container() != container) continue;
        Place place = field.spec().place;
        if (field.kind() == FieldKind::label) {
            place.width += LABEL_EXCESS;
            place.height = height_of_label(field);
        }
        const auto above =
            std::count_if(bottoms.begin(), bottoms.end(), [&](int bottom) { return bottom <= place.top; });
        const int grown = grows(field) ? share : 0;
        part->widget->setGeometry(left + across(place.left),
                                  pixels(place.top) + share * static_cast<int>(above),
                                  across(place.left + place.width) - across(place.left),
                                  std::max(pixels(place.height), line_height) + grown);
        if (field.kind() == FieldKind::frame) place_fields(&field, widening, grown, 0);
    }
}

void ViewWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    place_all();
}

// A label's key leads to the first of its fields that the user can reach.
void ViewWidget::lead_labels() {
    for (const auto& [label, fields] : named_by_) {
        const auto first = std::find_if(fields.begin(), fields.end(), [&](const Field* field) {
            return field->enabled() && field->visible();
        });
        QWidget* target = widget_of(first == fields.end() ? *fields.front() : **first);
        if (label->buddy() != target) label->setBuddy(target);
    }
}

void ViewWidget::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if ((event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) && !parts_.empty())
        lay_out();
}

void ViewWidget::field_changed(Field& field) {
    const auto found = part_of_.find(&field);
    if (found == part_of_.end()) return;
    if (field.kind() == FieldKind::progress_bar && field.visible()) {
        refresh_progress(*found->second, true);
        return;
    }
    changed_.insert(found->second);
    draw_later();
}

void ViewWidget::focus_changed() {
    focus_moved_ = true;
    draw_later();
}

// A widget that goes dead gives the keyboard away; it comes back with the view.
void ViewWidget::enabled_changed(bool enabled) {
    if (!enabled && holds_keyboard(*this)) keyboard_was_here_ = true;
    setEnabled(enabled);
    if (enabled) focus_changed();
}

void ViewWidget::draw_later() {
    if (drawing_later_ || depth_ > 0) return;
    drawing_later_ = true;
    QTimer::singleShot(0, this, [this] { flush(); });
}

void ViewWidget::flush() {
    drawing_later_ = false;
    const auto changed = std::move(changed_);
    changed_.clear();
    for (Part* part : changed)
        refresh(*part);
    if (!changed.empty()) lead_labels();
    if (std::exchange(focus_moved_, false)) refresh_focus();
}

void ViewWidget::refresh(Part& part) {
    refreshing_ = true;
    Field& field = *part.field;
    if (!field.enabled() && holds_keyboard(*part.widget)) keyboard_was_here_ = true;
    part.widget->setEnabled(field.enabled());
    part.widget->setVisible(field.visible());
    if (auto* label = qobject_cast<QLabel*>(part.widget))
        label->setText(keys_.of(field).isNull() ? shown_text(field.caption()) : keys_.marked(field));
    if (auto* frame = qobject_cast<QGroupBox*>(part.widget)) frame->setTitle(shown_text(field.caption()));
    if (auto* button = qobject_cast<QAbstractButton*>(part.widget)) button->setText(keys_.marked(field));
    if (const auto* text = dynamic_cast<const TextField*>(&field)) {
        auto* edit = static_cast<QLineEdit*>(part.widget);
        if (const QString shown = shown_text(text->text()); edit->text() != shown) edit->setText(shown);
    }
    if (const auto* box = dynamic_cast<const CheckBoxField*>(&field))
        static_cast<QCheckBox*>(part.widget)->setChecked(box->value() == 1);
    // Of the options in one frame at most one is chosen, in the fields as among the widgets.
    if (const auto* option = dynamic_cast<const OptionField*>(&field); option != nullptr && option->chosen())
        static_cast<QRadioButton*>(part.widget)->setChecked(true);
    if (part.rows != nullptr) refresh_rows(part);
    if (field.kind() == FieldKind::progress_bar) refresh_progress(part, false);
    refreshing_ = false;
}

// A box or an option as its field has it. An option cannot be taken back by itself: the one that is chosen in
// its frame is.
void ViewWidget::refresh_choice(const Field& field) {
    for (const auto& part : parts_) {
        const bool same = part->field == &field ||
                          (part->field->kind() == FieldKind::option && part->field->kind() == field.kind());
        if (same && field.kind() != FieldKind::button) refresh(*part);
    }
}

void ViewWidget::refresh_rows(Part& part) {
    const auto& rows = static_cast<const RowsField&>(*part.field);
    if (part.rows->take(rows.rows())) part.last_picked = -1;
    if (auto* combo = qobject_cast<QComboBox*>(part.widget)) {
        const QString shown = shown_text(static_cast<const ComboField&>(rows).text());
        if (const int row = row_at_hand(rows); combo->currentIndex() != row) combo->setCurrentIndex(row);
        if (combo->lineEdit()->text() != shown) combo->lineEdit()->setText(shown);
        return;
    }
    auto* list = static_cast<QListView*>(part.widget);
    QItemSelection selection;
    for (const int row : static_cast<const ListField&>(rows).selection())
        selection.select(part.rows->index(row), part.rows->index(row));
    list->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    const QModelIndex current = part.rows->index(rows.list_index());
    if (current.isValid() && list->currentIndex() != current) {
        list->selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
        list->scrollTo(current);
    }
}

// A pass sets the bar at each of its steps, and most steps move it by less than a pixel: those cost nothing.
// The others are painted at once, since no event is let through during a pass.
void ViewWidget::refresh_progress(const Part& part, bool at_once) {
    const auto& field = static_cast<const ProgressBarField&>(*part.field);
    auto* bar = static_cast<QProgressBar*>(part.widget);
    if (bar->isEnabledTo(this) != field.enabled()) bar->setEnabled(field.enabled());
    const double done = static_cast<double>(field.value()) / static_cast<double>(field.max());
    const int pixel = static_cast<int>(done * bar->width());
    const bool shown = bar->isVisibleTo(this) == field.visible();
    if (shown && pixel == bar_pixel_) return;
    bar_pixel_ = pixel;
    bar->setVisible(field.visible());
    bar->setValue(static_cast<int>(done * BAR_STEPS));
    if (at_once) bar->repaint();
}

// The keyboard follows the view's focus, unless the user is elsewhere: in another window, in a menu, in
// another widget of the form.
void ViewWidget::refresh_focus() {
    const Field* field = view_.focus();
    QWidget* widget = field == nullptr ? nullptr : widget_of(*field);
    if (widget == nullptr || !widget->isEnabled()) return;
    QWidget* holder = QApplication::focusWidget();
    const bool lost = std::exchange(keyboard_was_here_, false);
    const bool elsewhere = !lost && holder != nullptr && holder->isVisible() &&
                           holder->window() == window() && !holder->isAncestorOf(this) &&
                           !holds_keyboard(*this);
    // A field to which the keyboard only comes back, from a box or a search, keeps its caret.
    const bool moved = std::exchange(shown_focus_, field) != field;
    if (elsewhere || widget->hasFocus()) return;
    if (!moved) {
        widget->setFocus(Qt::OtherFocusReason);
        return;
    }
    widget->setFocus(Qt::TabFocusReason); // so that styles show where the keyboard is
    // In a window smaller than the view, what has the keyboard comes into sight.
    for (QWidget* around = parentWidget(); around != nullptr; around = around->parentWidget())
        if (auto* area = qobject_cast<QScrollArea*>(around)) area->ensureWidgetVisible(widget);
    if (auto* edit = qobject_cast<QLineEdit*>(widget)) edit->selectAll();
    if (auto* combo = qobject_cast<QComboBox*>(widget)) combo->lineEdit()->selectAll();
}

void ViewWidget::begin_gesture() {
    flush();
    ++depth_;
}

void ViewWidget::end_gesture() {
    --depth_;
    focus_moved_ = true;
    flush();
}

void ViewWidget::tell(const std::exception& failure) {
    if (report) report(failure);
}

} // namespace corvalissement
