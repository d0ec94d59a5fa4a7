#include "app/settings/CapabilityTable.h"

#include "app/QtText.h"
#include "base/Localized.h"

#include <QApplication>
#include <QIcon>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

#include <algorithm>

namespace varnel {

namespace {

enum Column { nameColumn, versionColumn, sourceColumn, statusColumn, columnCount_ };

constexpr int kMarkSize = 14;
constexpr int kMarkDetail = 4; ///< pixels for each, so that it is sharp on every screen

/// Told apart by shape: a disc, a ring, a triangle.
QPixmap markPicture(CapabilityRow::Mark mark, bool isSelected) {
    QPixmap picture(kMarkSize * kMarkDetail, kMarkSize * kMarkDetail);
    picture.setDevicePixelRatio(kMarkDetail);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette palette = QApplication::palette();
    switch (mark) {
    case CapabilityRow::Mark::on:
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette.color(isSelected ? QPalette::HighlightedText : QPalette::Highlight));
        painter.drawEllipse(QRectF(3, 3, 8, 8));
        break;
    case CapabilityRow::Mark::off:
        painter.setPen(
            QPen(palette.color(isSelected ? QPalette::HighlightedText : QPalette::PlaceholderText), 1.5));
        painter.drawEllipse(QRectF(3.5, 3.5, 7, 7));
        break;
    case CapabilityRow::Mark::attention:
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0xd9, 0x8a, 0x1f));
        painter.drawPolygon(QPolygonF({{7, 1.5}, {13, 12.5}, {1, 12.5}}));
        break;
    }
    return picture;
}

QIcon markIcon(CapabilityRow::Mark mark) {
    QIcon icon(markPicture(mark, false));
    icon.addPixmap(markPicture(mark, true), QIcon::Selected);
    return icon;
}

} // namespace

void CapabilityTable::setRows(std::vector<CapabilityRow> rows) {
    const bool isSameList =
        std::ranges::equal(rows, rows_, {}, &CapabilityRow::url, &CapabilityRow::url) && !rows.empty();
    if (!isSameList)
        beginResetModel();
    rows_ = std::move(rows);
    if (!isSameList)
        endResetModel();
    else
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount_ - 1));
}

const CapabilityRow* CapabilityTable::row(const QModelIndex& index) const {
    return index.isValid() && index.row() < rowCount() ? &rows_[static_cast<std::size_t>(index.row())]
                                                       : nullptr;
}

QModelIndex CapabilityTable::find(const std::string& url) const {
    const auto found = std::ranges::find(rows_, url, &CapabilityRow::url);
    return found == rows_.end() ? QModelIndex() : index(static_cast<int>(found - rows_.begin()), 0);
}

QModelIndex CapabilityTable::firstOfInterest() const {
    const auto found = std::ranges::find(rows_, CapabilityRow::Mark::attention, &CapabilityRow::mark);
    return index(found == rows_.end() ? 0 : static_cast<int>(found - rows_.begin()), 0);
}

int CapabilityTable::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int CapabilityTable::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnCount_;
}

QVariant CapabilityTable::data(const QModelIndex& index, int role) const {
    const CapabilityRow* found = row(index);
    if (!found)
        return {};
    if (role == Qt::DecorationRole && index.column() == nameColumn)
        return markIcon(found->mark);
    // Those who hear the list do not see the mark, nor the other columns at once.
    if (role == Qt::AccessibleTextRole && index.column() == nameColumn)
        return qtText(localized("%1: %2", {found->name, found->status}));
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case nameColumn:
        return qtText(found->name);
    case versionColumn:
        return qtText(found->version);
    case sourceColumn:
        return qtText(found->source);
    default:
        return qtText(found->status);
    }
}

QVariant CapabilityTable::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case nameColumn:
        return qtText(localized("Capability"));
    case versionColumn:
        return qtText(localized("Version"));
    case sourceColumn:
        return qtText(localized("Source"));
    default:
        return qtText(localized("Status"));
    }
}

} // namespace varnel
