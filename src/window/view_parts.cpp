#include "window/view_parts.h"

#include "window/qt_text.h"

#include <QDrag>
#include <QMimeData>
#include <QPainter>

namespace corvalissement {

int ViewWidget::RowsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant ViewWidget::RowsModel::data(const QModelIndex& index, int role) const {
    if ((role != Qt::DisplayRole && role != Qt::EditRole) || !index.isValid() || index.row() >= rowCount())
        return {};
    return shown_text(rows_[static_cast<std::size_t>(index.row())]);
}

// Rows of a list that takes drags can be dragged; the list decides whether it does.
Qt::ItemFlags ViewWidget::RowsModel::flags(const QModelIndex& index) const {
    return QAbstractListModel::flags(index) | Qt::ItemIsDragEnabled;
}

bool ViewWidget::RowsModel::take(const std::vector<std::string>& rows) {
    if (rows == rows_) return false;
    beginResetModel();
    rows_ = rows;
    endResetModel();
    return true;
}

void ViewWidget::RowsList::startDrag(Qt::DropActions) {
    auto* drag = new QDrag(this); // the platform deletes it when the drag has ended
    auto* carried = new QMimeData;
    carried->setData(QLatin1String(DRAG_FORMAT),
                     QByteArray(field_.name().data(), static_cast<qsizetype>(field_.name().size())));
    drag->setMimeData(carried);
    drag->exec(Qt::CopyAction);
}

// A list without a current row has nothing that shows the keyboard, so its frame does.
void ViewWidget::RowsList::paintEvent(QPaintEvent* event) {
    QListView::paintEvent(event);
    if (!hasFocus() || currentIndex().isValid()) return;
    QPainter painter(viewport());
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
    painter.drawRect(viewport()->rect().adjusted(1, 1, -1, -1));
}

// The border runs through the middle of the caption, as high as the inventory leaves room for above the
// first field, which the platform's own group boxes do not.
void ViewWidget::Frame::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QFontMetrics metrics(font());
    const int half = metrics.height() / 2;
    const int indent = metrics.averageCharWidth();
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRoundedRect(QRectF(0.5, half - 0.5, width() - 1.0, height() - half - 0.5), 2.0, 2.0);
    if (title().isEmpty()) return;
    const QRect caption(indent, 0, metrics.horizontalAdvance(title()) + indent, metrics.height());
    painter.fillRect(caption, palette().window());
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    painter.drawText(caption, Qt::AlignCenter, title());
}

} // namespace corvalissement
