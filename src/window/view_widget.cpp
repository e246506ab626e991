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

bool has_caption(FieldKind kind) {
    return kind == FieldKind::label || kind == FieldKind::button || kind == FieldKind::check_box ||
           kind == FieldKind::option;
}

} // namespace

ViewWidget::ViewWidget(View& view, QWidget* parent) : QWidget(parent), view_(view) {
    setObjectName(shown_text(view.name()));
    setAccessibleName(shown_text(view.caption()));
    make_parts();
    lay_out();
    setEnabled(view_.enabled());
    for (const auto& part : parts_)
        refresh(*part);
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
        if (!refreshing_) act([&] { gestures::replace_text(field, field_text(text)); });
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
    connect(combo, &QComboBox::activated, this, [this, &part](int row) {
        if (refreshing_) return;
        act([&] { gestures::pick(static_cast<RowsField&>(*part.field), row); });
    });
    connect(combo->lineEdit(), &QLineEdit::textEdited, this,
            [this, &field = *part.field](const QString& text) {
                if (!refreshing_) act([&] { gestures::replace_text(field, field_text(text)); });
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
        button->setAutoExclusive(false); // which one is chosen is the fields' business
    } else {
        auto* push = new QPushButton(parent);
        push->setAutoDefault(false);
        button = push;
    }
    connect(button, &QAbstractButton::clicked, this,
            [this, &field] { act([&] { gestures::click(field); }); });
    return button;
}

void ViewWidget::watch(QWidget* widget, Field& field) {
    watched_[widget] = part_of_.at(&field);
    widget->installEventFilter(this);
}

// What a screen reader says of a field without a caption of its own: the label in its line to the left,
// else the label whose middle is nearest, behind the caption of its frame.
QString ViewWidget::spoken_name(const Field& field) const {
    const Place& own = field.spec().place;
    const Field* nearest = nullptr;
    long least = 0;
    for (const auto& other : view_.Controls()) {
        if (other->kind() != FieldKind::label || other->container() != field.container()) continue;
        const Place& place = other->spec().place;
        const bool same_line = std::abs(place.top - own.top) < LINE_HEIGHT && place.left < own.left;
        const long distance = same_line ? own.left - place.left - 1'000'000L
                                        : std::labs(2L * (place.left - own.left) + place.width - own.width);
        if (nearest == nullptr || distance < least) {
            nearest = other.get();
            least = distance;
        }
    }
    QString name = field.container() != nullptr
                       ? shown_text(field.container()->spec().caption) + QLatin1Char(' ')
                       : QString();
    if (field.kind() == FieldKind::frame) return shown_text(field.spec().caption);
    if (nearest != nullptr) name += shown_text(nearest->spec().caption);
    return name.trimmed();
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
    setFixedSize(pixels(view_.width()), pixels(view_.height()));
    QFont fixed(QStringLiteral("Courier New"));
    fixed.setStyleHint(QFont::Monospace);
    fixed.setFixedPitch(true);
    // A fixed-pitch character is three fifths of its size wide.
    fixed.setPixelSize(std::max(6, static_cast<int>(LIST_CHARACTER * scale_ / 0.6)));
    const int line_height = QFontMetrics(font()).height();
    for (const auto& part : parts_) {
        Place place = part->field->spec().place;
        if (part->field->kind() == FieldKind::label) place.width += LABEL_EXCESS;
        part->widget->setGeometry(pixels(place.left), pixels(place.top), pixels(place.width),
                                  std::max(pixels(place.height), line_height));
        if (part->field->kind() == FieldKind::list) part->widget->setFont(fixed);
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
    if (std::exchange(focus_moved_, false)) refresh_focus();
}

void ViewWidget::refresh(Part& part) {
    refreshing_ = true;
    Field& field = *part.field;
    if (!field.enabled() && holds_keyboard(*part.widget)) keyboard_was_here_ = true;
    part.widget->setEnabled(field.enabled());
    part.widget->setVisible(field.visible());
    if (auto* label = qobject_cast<QLabel*>(part.widget)) label->setText(shown_text(field.caption()));
    if (auto* frame = qobject_cast<QGroupBox*>(part.widget)) frame->setTitle(shown_text(field.caption()));
    if (auto* button = qobject_cast<QAbstractButton*>(part.widget))
        button->setText(caption_text(field.caption()));
    if (const auto* text = dynamic_cast<const TextField*>(&field)) {
        auto* edit = static_cast<QLineEdit*>(part.widget);
        if (const QString shown = shown_text(text->text()); edit->text() != shown) edit->setText(shown);
    }
    if (const auto* box = dynamic_cast<const CheckBoxField*>(&field))
        static_cast<QCheckBox*>(part.widget)->setChecked(box->value() == 1);
    if (const auto* option = dynamic_cast<const OptionField*>(&field))
        static_cast<QRadioButton*>(part.widget)->setChecked(option->chosen());
    if (part.rows != nullptr) refresh_rows(part);
    if (field.kind() == FieldKind::progress_bar) refresh_progress(part, false);
    refreshing_ = false;
}

void ViewWidget::refresh_rows(Part& part) {
    const auto& rows = static_cast<const RowsField&>(*part.field);
    part.rows->take(rows.rows());
    if (auto* combo = qobject_cast<QComboBox*>(part.widget)) {
        const QString shown = shown_text(static_cast<const ComboField&>(rows).text());
        if (combo->currentIndex() != rows.list_index()) combo->setCurrentIndex(rows.list_index());
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
    const bool elsewhere =
        !lost && holder != nullptr && holder->window() == window() && !holds_keyboard(*this);
    if (elsewhere || widget->hasFocus()) return;
    widget->setFocus(Qt::OtherFocusReason);
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
