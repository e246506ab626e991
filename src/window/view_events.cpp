// What the user does to the widgets of a view, as gestures. Nothing here changes a field: a widget that has
// changed by itself is drawn again from its field behind the gesture.
#include "host/gestures.h"
#include "platform/text.h"
#include "window/qt_text.h"
#include "window/view_parts.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QMouseEvent>
#include <QPointer>
#include <QTimer>

#include <algorithm>

namespace corvalissement {

namespace {

constexpr int BUTTON_LEFT = 1;
constexpr int BUTTON_RIGHT = 2;
constexpr int BUTTON_MIDDLE = 4;
constexpr int ROWS_A_PAGE = 8;

int button_of(Qt::MouseButton button) {
    if (button == Qt::RightButton) return BUTTON_RIGHT;
    return button == Qt::MiddleButton ? BUTTON_MIDDLE : BUTTON_LEFT;
}

bool is_enter(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

// The field that a drop on this mouse position would reach is told by name; a drag of another program, or
// of another form, is none of ours.
bool carries_rows(const QDropEvent& drop) { return drop.mimeData()->hasFormat(QLatin1String(DRAG_FORMAT)); }

// The text that a key goes into. An editable combo has the keyboard itself and hands its keys on to the text
// inside it, so its keys are seen on the combo only.
QLineEdit* text_in(QWidget* widget) {
    if (auto* combo = qobject_cast<QComboBox*>(widget)) return combo->lineEdit();
    return qobject_cast<QLineEdit*>(widget);
}

bool is_button(const Field& field) {
    return field.kind() == FieldKind::button || field.kind() == FieldKind::check_box ||
           field.kind() == FieldKind::option;
}

// Where a key that walks through rows leads from the row `here`; -1 when it does not.
int row_after(const QKeyEvent& event, const RowsField& rows, int here) {
    const int last = rows.list_count() - 1;
    switch (event.key()) {
    case Qt::Key_Up:
        return here < 0 ? 0 : std::max(here - 1, 0);
    case Qt::Key_Down:
        return std::min(here + 1, last);
    case Qt::Key_PageUp:
        return std::max(here - ROWS_A_PAGE, 0);
    case Qt::Key_PageDown:
        return std::min(here + ROWS_A_PAGE, last);
    default:
        return -1;
    }
}

} // namespace

bool ViewWidget::eventFilter(QObject* watched, QEvent* event) {
    const auto found = watched_.find(watched);
    if (found == watched_.end()) return QWidget::eventFilter(watched, event);
    Field& field = *found->second->field;
    auto* widget = static_cast<QWidget*>(watched);
    switch (event->type()) {
    case QEvent::KeyPress:
        return key_pressed(field, widget, *static_cast<QKeyEvent*>(event));
    case QEvent::InputMethod: {
        // Accented letters that the keyboard composes arrive here, each a key of its own.
        const auto& composed = *static_cast<QInputMethodEvent*>(event);
        QLineEdit* edit = text_in(widget);
        if (edit == nullptr || composed.commitString().isEmpty()) return false;
        for (const char32_t character : composed.commitString().toUcs4())
            type_at_caret(field, *edit, static_cast<int>(character));
        return true;
    }
    case QEvent::MouseButtonPress:
        return mouse_pressed(field, widget, *static_cast<QMouseEvent*>(event));
    case QEvent::MouseMove:
        return drag_moved(field, widget, *static_cast<QMouseEvent*>(event));
    case QEvent::MouseButtonDblClick:
        return mouse_doubled(field, widget, *static_cast<QMouseEvent*>(event));
    case QEvent::Wheel:
        return wheel_turned(field, widget, *static_cast<QWheelEvent*>(event));
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        return dropped(field, *event);
    case QEvent::FocusIn:
        // The mouse or an access key has led the keyboard here. The gesture waits until the event is
        // through, since what the field left has to say may open a box.
        if (const auto reason = static_cast<QFocusEvent*>(event)->reason();
            (reason == Qt::MouseFocusReason || reason == Qt::ShortcutFocusReason) && !is_button(field))
            follow_keyboard(field, widget);
        return false;
    case QEvent::MouseButtonRelease:
        // A button that is held down must not be disturbed by what the field left has to say: its click goes
        // to it first anyhow. Only a press that ended elsewhere leaves the going to be done.
        if (is_button(field)) follow_keyboard(field, widget);
        return false;
    case QEvent::ContextMenu:
        // The menu key stands for a right click on the background; the mouse's own has been seen already.
        if (static_cast<QContextMenuEvent*>(event)->reason() == QContextMenuEvent::Keyboard)
            act([&] { gestures::press_mouse(view_, BUTTON_RIGHT); });
        return true;
    default:
        return false;
    }
}

// The view's focus goes where the keyboard is, once the event at hand is through.
void ViewWidget::follow_keyboard(Field& field, QWidget* widget) {
    if (!field.takes_focus()) return;
    QTimer::singleShot(0, this, [this, &field, held = QPointer(widget)] {
        // Not inside a gesture that has a box open: it says itself where the keyboard goes.
        if (depth_ == 0 && held && held->hasFocus() && view_.focus() != &field)
            act([&] { gestures::go_to(field); });
    });
}

void ViewWidget::mousePressEvent(QMouseEvent* event) {
    act([&] { gestures::press_mouse(view_, button_of(event->button())); });
}

void ViewWidget::contextMenuEvent(QContextMenuEvent* event) { event->accept(); }

bool ViewWidget::key_pressed(Field& field, QWidget* widget, const QKeyEvent& event) {
    if (event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab) {
        if ((event.modifiers() & Qt::ControlModifier) != 0) return false;
        act([&] { gestures::tab(view_, event.key() == Qt::Key_Backtab); });
        return true;
    }
    if (QLineEdit* edit = text_in(widget); edit != nullptr && key_in_text(field, *edit, event)) return true;
    if (field.kind() == FieldKind::combo) {
        const bool opens = event.key() == Qt::Key_F4 || ((event.modifiers() & Qt::AltModifier) != 0);
        return !opens && key_in_rows(field, event);
    }
    if (field.kind() == FieldKind::list && !field.spec().multi) return key_in_rows(field, event);
    if (field.kind() == FieldKind::option && key_on_option(field, event)) return true;
    const bool presses = is_enter(event) || event.key() == Qt::Key_Space;
    if (!is_button(field) || !presses) return false;
    if (!event.isAutoRepeat()) act([&] { gestures::press(field, is_enter(event) ? KEY_ENTER : KEY_SPACE); });
    return true;
}

bool ViewWidget::key_in_text(Field& field, QLineEdit& edit, const QKeyEvent& event) {
    if (is_enter(event)) {
        type_at_caret(field, edit, KEY_ENTER); // a date takes it for a separator
        return true;
    }
    const auto held = event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (event.key() == Qt::Key_Backspace && held == Qt::NoModifier) {
        type_at_caret(field, edit, KEY_BACKSPACE);
        return true;
    }
    // Alt Gr is Ctrl and Alt together on some systems, and then leaves a character to type.
    const bool command = held != Qt::NoModifier && held != (Qt::ControlModifier | Qt::AltModifier);
    const QList<uint> characters = event.text().toUcs4();
    // The letter of a caption that is closed at the moment reaches nothing, least of all the text.
    if (held == Qt::AltModifier && !characters.isEmpty() &&
        characters.front() >= static_cast<uint>(KEY_SPACE))
        return true;
    if (command || characters.isEmpty() || characters.front() < static_cast<uint>(KEY_SPACE) ||
        characters.front() == 0x7F)
        return false;
    for (const uint character : characters)
        type_at_caret(field, edit, static_cast<int>(character));
    return true;
}

// The caret counts in the widget's own units; the field's are characters. Behind the key it stands where the
// rest of the text begins, or at the end when a routine has put another text into the field.
void ViewWidget::type_at_caret(Field& field, QLineEdit& edit, int key) {
    const QString before = edit.text();
    const qsizetype start = edit.hasSelectedText() ? edit.selectionStart() : edit.cursorPosition();
    const QString selected = edit.selectedText();
    const QString rest = before.mid(start + selected.size());
    const gestures::Caret caret{char_count(field_text(before.left(start))), char_count(field_text(selected))};
    act([&] { gestures::press(field, key, caret); });
    const QString after = edit.text();
    // A letter typed over itself changes no text, but takes the selection's place like any other; and so does
    // whatever a date turns into its separator, typed over one.
    const char32_t typed = static_cast<char32_t>(key);
    const auto was = [&](const QString& character) {
        return before == before.left(start) + character + rest;
    };
    const bool over_itself =
        key != KEY_BACKSPACE && (was(QString::fromUcs4(&typed, 1)) || was(QStringLiteral("/")));
    if ((after != before || over_itself) && after.endsWith(rest))
        edit.setCursorPosition(static_cast<int>(after.size() - rest.size()));
}

bool ViewWidget::key_in_rows(Field& field, const QKeyEvent& event) {
    auto& rows = static_cast<RowsField&>(field);
    int row = row_after(event, rows, row_at_hand(rows));
    if (field.kind() == FieldKind::list && event.key() == Qt::Key_Home) row = 0;
    if (field.kind() == FieldKind::list && event.key() == Qt::Key_End) row = rows.list_count() - 1;
    if (field.kind() == FieldKind::list && is_enter(event)) {
        // A list has no double click on the keyboard: Enter on its row stands for one.
        act([&] { gestures::double_click(field, std::nullopt); });
        return true;
    }
    if (row < 0 || row >= rows.list_count()) return event.key() == Qt::Key_Up || event.key() == Qt::Key_Down;
    if (row != rows.list_index()) pick(rows, row);
    return true;
}

void ViewWidget::pick(RowsField& rows, int row) {
    Part& part = *part_of_.at(&rows);
    part.last_picked = row;
    act([&] { gestures::pick(rows, row); });
    refresh(part); // a combo shows the row that was chosen in it, also when the choice did not happen
}

// The row from which keys and wheel go on. A routine that writes the text of the row picked into its combo
// makes it one of no row; the row that the user has picked is still the one he walks from.
int ViewWidget::row_at_hand(const RowsField& rows) const {
    if (rows.list_index() >= 0 || rows.kind() != FieldKind::combo) return rows.list_index();
    const int last = part_of_.at(&rows)->last_picked;
    return last >= 0 && rows.row(last) == static_cast<const ComboField&>(rows).text() ? last : -1;
}

// The arrows choose among the options of one frame, in tab order.
bool ViewWidget::key_on_option(Field& field, const QKeyEvent& event) {
    const bool forward = event.key() == Qt::Key_Right || event.key() == Qt::Key_Down;
    if (!forward && event.key() != Qt::Key_Left && event.key() != Qt::Key_Up) return false;
    std::vector<Field*> options;
    for (const auto& other : view_.Controls())
        if (other->kind() == FieldKind::option && other->container() == field.container() &&
            view_.user_reaches(*other))
            options.push_back(other.get());
    std::sort(options.begin(), options.end(),
              [](const Field* a, const Field* b) { return a->spec().tab < b->spec().tab; });
    const auto here = std::find(options.begin(), options.end(), &field);
    if (here == options.end() || options.size() < 2) return true;
    const std::size_t step = forward ? 1 : options.size() - 1;
    Field* next = options[(static_cast<std::size_t>(here - options.begin()) + step) % options.size()];
    act([&] { gestures::click(*next); });
    return true;
}

// A disabled widget would hand the press on to what lies under it, and a right press would then open the
// menu of a surface that the user did not press.
bool ViewWidget::mouse_pressed(Field& field, QWidget* widget, const QMouseEvent& event) {
    if (!widget->isEnabled()) return true;
    drag_from_.reset();
    if (field.kind() == FieldKind::list && event.button() != Qt::LeftButton)
        drag_from_ = event.position().toPoint();
    const bool left = event.button() == Qt::LeftButton;
    // The list of a combo opens with the press, so what the field left has to say comes before.
    if (left && field.kind() == FieldKind::combo && view_.focus() != &field) {
        act([&] { gestures::go_to(field); });
        return view_.focus() != &field;
    }
    if (field.kind() == FieldKind::frame || field.kind() == FieldKind::label || !left) {
        act([&] { gestures::press_mouse(field, button_of(event.button())); });
        return true;
    }
    if (field.kind() != FieldKind::list) return false;
    if (field.spec().multi) return pressed_on_blank(field, widget, event);
    auto* list = qobject_cast<QListView*>(widget->parentWidget());
    if (list == nullptr) return false;
    list->setFocus(Qt::OtherFocusReason);
    const QModelIndex pressed = list->indexAt(event.position().toPoint());
    if (pressed.isValid())
        act([&] { gestures::click_row(static_cast<ListField&>(field), pressed.row()); });
    else
        act([&] { gestures::go_to(field); });
    return true;
}

// A press beside the rows begins a drag of the rows selected; it must not unselect them.
bool ViewWidget::pressed_on_blank(Field& field, QWidget* widget, const QMouseEvent& event) {
    auto* list = qobject_cast<QListView*>(widget->parentWidget());
    if (list == nullptr || list->indexAt(event.position().toPoint()).isValid()) return false;
    drag_from_ = event.position().toPoint();
    list->setFocus(Qt::OtherFocusReason);
    act([&] { gestures::go_to(field); });
    return true;
}

// Drags that the list does not begin by itself: those from beside its rows and those of the other buttons.
bool ViewWidget::drag_moved(Field& field, QWidget* widget, const QMouseEvent& event) {
    if (field.kind() != FieldKind::list || !field.spec().multi || !drag_from_) return false;
    auto* list = static_cast<RowsList*>(part_of_.at(&field)->widget);
    if (widget != list->viewport()) return false;
    const QPoint way = event.position().toPoint() - *drag_from_;
    if (event.buttons() != Qt::NoButton && way.manhattanLength() >= QApplication::startDragDistance()) {
        drag_from_.reset();
        list->begin_drag();
    }
    return true;
}

bool ViewWidget::mouse_doubled(Field& field, QWidget* widget, const QMouseEvent& event) {
    if (!widget->isEnabled()) return true;
    if (field.kind() == FieldKind::frame || field.kind() == FieldKind::label)
        return mouse_pressed(field, widget, event);
    auto* list = qobject_cast<QListView*>(widget->parentWidget());
    if (field.kind() != FieldKind::list || list == nullptr || event.button() != Qt::LeftButton) return false;
    const QModelIndex pressed = list->indexAt(event.position().toPoint());
    act([&] {
        gestures::double_click(field, pressed.isValid() ? std::optional<int>(pressed.row()) : std::nullopt);
    });
    return true;
}

// The wheel walks through the rows of the combo that has the keyboard; over any other it is the form's.
bool ViewWidget::wheel_turned(Field& field, QWidget*, QWheelEvent& event) {
    if (field.kind() != FieldKind::combo) return false;
    auto& rows = static_cast<RowsField&>(field);
    if (view_.focus() != &field || event.angleDelta().y() == 0) {
        event.ignore();
        return true;
    }
    const int row = row_at_hand(rows) + (event.angleDelta().y() < 0 ? 1 : -1);
    if (row >= 0 && row < rows.list_count()) pick(rows, row);
    event.accept();
    return true;
}

bool ViewWidget::dropped(Field& field, QEvent& event) {
    auto& drop = static_cast<QDropEvent&>(event);
    if (field.kind() != FieldKind::list || !field.spec().multi || !carries_rows(drop)) return false;
    drop.setDropAction(Qt::CopyAction);
    drop.accept();
    if (event.type() != QEvent::Drop) return true;
    const QByteArray name = drop.mimeData()->data(QLatin1String(DRAG_FORMAT));
    Field* source = view_.find(std::string_view(name.constData(), static_cast<std::size_t>(name.size())));
    if (source != nullptr) act([&] { gestures::drag(*source, field); });
    return true;
}

void ViewWidget::selection_made(ListField& list) {
    if (refreshing_) return;
    const auto* widget = static_cast<const QListView*>(widget_of(list));
    std::vector<int> rows;
    for (const QModelIndex& index : widget->selectionModel()->selectedRows())
        rows.push_back(index.row());
    std::sort(rows.begin(), rows.end());
    act([&] { gestures::select_rows(list, rows); });
}

} // namespace corvalissement
