// Draws a view, any view, from its fields, and turns what the user does into gestures. One class serves the
// control and its dialog: it knows kinds of fields and places, and nothing of what they are for.
//
// Places follow the font: the inventory's units become pixels by a factor large enough for every caption, so
// that no text is cut whatever the user's font. That is the widget's least size, and whoever holds it gives
// it a scroll area when the window may be smaller. In a larger window the lists grow, and the fields widen
// unless a list's columns stand under captions. Captions have access keys, chosen from their own letters.
//
// What the fields become is drawn behind the routine that changed them, once, however often they changed;
// only the progress bar is painted at once, while a pass runs. Each gesture that fails is told to
// `report`, so that no failure leaves an event handler of the window.
#pragma once

#include "platform/view.h"
#include "window/captions.h"

#include <QPoint>
#include <QWidget>

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

class QLabel;
class QLineEdit;
class QKeyEvent;
class QMouseEvent;
class QProgressBar;

namespace corvalissement {

class ViewWidget final : public QWidget {
public:
    // The view must outlive the widget. The fields are drawn as they are. `taken_keys` are the letters that
    // the window around the view needs as access keys of its own.
    explicit ViewWidget(View& view, const QString& taken_keys = {}, QWidget* parent = nullptr);
    ~ViewWidget() override;

    [[nodiscard]] View& view() const noexcept { return view_; }
    // The widget of a field, null for those that have none (menus).
    [[nodiscard]] QWidget* widget_of(const Field& field) const;

    // Receives a failure that a gesture let through.
    std::function<void(const std::exception&)> report;

    // Told by the host when a field, the focus or the whole view has changed.
    void field_changed(Field& field);
    void focus_changed();
    void enabled_changed(bool enabled);

    // Draws what has changed now, before a box or a dialog shows over the view.
    void flush();

    // A gesture is being carried out, and routines of the view may be on the way.
    [[nodiscard]] bool busy() const noexcept { return depth_ > 0 || !view_.enabled(); }

    // Runs something that belongs to the view as a gesture is run: failures reported, then drawn.
    template <class Action>
    void act(Action&& action) {
        begin_gesture();
        try {
            action();
        } catch (const std::exception& failure) {
            tell(failure);
        }
        end_gesture();
    }

    // Pixels of a length of the inventory at the least size.
    [[nodiscard]] int pixels(int units) const;
    [[nodiscard]] QSize sizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    class RowsModel;
    class RowsList;
    class Frame;

    struct Part {
        Field* field = nullptr;
        QWidget* widget = nullptr;
        RowsModel* rows = nullptr; // of combos and lists
        int last_picked = -1;      // by the user, in a combo
    };

    void make_parts();
    void make_part(Field& field, QWidget* parent);
    [[nodiscard]] QWidget* make_text(Part& part, QWidget* parent);
    [[nodiscard]] QWidget* make_combo(Part& part, QWidget* parent);
    [[nodiscard]] QWidget* make_list(Part& part, QWidget* parent);
    [[nodiscard]] QWidget* make_button(Field& field, QWidget* parent);
    [[nodiscard]] QString spoken_name(const Field& field) const;
    void watch(QWidget* widget, Field& field);
    void lay_out();
    void place_all();
    void place_fields(const Field* container, double widening, int spare_height, int left);
    [[nodiscard]] bool grows(const Field& field) const;
    [[nodiscard]] int height_of_label(const Field& label) const;
    [[nodiscard]] double needed_scale() const;
    void lead_labels();

    void refresh(Part& part);
    void refresh_rows(Part& part);
    void refresh_choice(const Field& field);
    void refresh_progress(const Part& part, bool at_once);
    void refresh_focus();

    // Each gives true when the event is done with.
    void follow_keyboard(Field& field, QWidget* widget);
    bool key_pressed(Field& field, QWidget* widget, const QKeyEvent& event);
    bool key_in_text(Field& field, QLineEdit& edit, const QKeyEvent& event);
    bool key_in_rows(Field& field, const QKeyEvent& event);
    bool key_on_option(Field& field, const QKeyEvent& event);
    bool mouse_pressed(Field& field, QWidget* widget, const QMouseEvent& event);
    bool pressed_on_blank(Field& field, QWidget* widget, const QMouseEvent& event);
    bool drag_moved(Field& field, QWidget* widget, const QMouseEvent& event);
    bool mouse_doubled(Field& field, QWidget* widget, const QMouseEvent& event);
    bool wheel_turned(Field& field, QWidget* widget, QWheelEvent& event);
    bool dropped(Field& field, QEvent& event);
    void type_at_caret(Field& field, QLineEdit& edit, int key);
    void selection_made(ListField& list);
    void pick(RowsField& rows, int row);
    [[nodiscard]] int row_at_hand(const RowsField& rows) const;

    void begin_gesture();
    void end_gesture();
    void tell(const std::exception& failure);
    void draw_later();

    View& view_;
    AccessKeys keys_;
    double scale_ = 0.0;         // pixels a unit
    bool keeps_columns_ = false; // a list has columns under captions, which widening would part
    std::vector<std::unique_ptr<Part>> parts_;
    std::unordered_map<const Field*, Part*> part_of_;
    std::vector<std::pair<QLabel*, std::vector<Field*>>> named_by_; // labels and the fields they lead to
    std::unordered_map<const QObject*, Part*> watched_;
    std::unordered_set<Part*> changed_;
    bool drawing_later_ = false;
    bool refreshing_ = false; // the widgets follow the fields; what they tell is no gesture
    bool focus_moved_ = false;
    const Field* shown_focus_ = nullptr; // the field to which the keyboard was led last
    bool keyboard_was_here_ = false;     // and went because a widget was disabled, not because the user left
    std::optional<QPoint> drag_from_;    // where a drag was pressed that a list does not begin by itself
    int depth_ = 0;
    int bar_pixel_ = -1; // how far the bar was painted
};

} // namespace corvalissement
