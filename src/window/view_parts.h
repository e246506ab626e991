// The widgets that a view is drawn with where Qt's own do not do: rows of a field as a model, a list whose
// rows can be dragged to another list, a frame with its caption in the border. Internal to ViewWidget.
#pragma once

#include "window/view_widget.h"

#include <QAbstractListModel>
#include <QGroupBox>
#include <QListView>

#include <string>

namespace corvalissement {

// What is dragged between the lists of a view. It carries no rows: the view's own drop routine knows them.
inline constexpr const char* DRAG_FORMAT = "application/x-corvalissement-lignes";

// The rows of a combo or list as they were at the last `take`. A copy, since a routine may change the rows
// while the widget is being drawn.
class ViewWidget::RowsModel final : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

    // True when the rows are other ones than before; whoever shows them has then lost its selection.
    bool take(const std::vector<std::string>& rows);

private:
    std::vector<std::string> rows_;
};

class ViewWidget::RowsList final : public QListView {
public:
    RowsList(QWidget* parent, Field& field) : QListView(parent), field_(field) {}
    void begin_drag() { startDrag(Qt::CopyAction); }

protected:
    void startDrag(Qt::DropActions actions) override;
    void paintEvent(QPaintEvent* event) override;

private:
    Field& field_;
};

class ViewWidget::Frame final : public QGroupBox {
public:
    using QGroupBox::QGroupBox;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace corvalissement
