#include "overlay/OverlayPicture.h"

#include "base/Localized.h"

#include <QPainter>

#include <algorithm>

namespace varnel {
namespace {

/// Widths of texts are rounded; without this, some that fit would be cut.
constexpr int kSlack = 2;
/// A longer message is cut.
constexpr int kMostMessageLines = 3;
/// The same below rows.
constexpr int kMostNoteLines = 2;

QString qText(const std::string& text) {
    return QString::fromStdString(text);
}

std::string trailingText(const SuggestionRow& row) {
    if (row.availability != HintAvailability::available)
        return availabilityText(row.availability);
    return row.isGroup ? std::to_string(row.entryCount) : std::string();
}

} // namespace

OverlayPicture::OverlayPicture(SuggestionOverlayState state, const OverlayStyle& style, OverlaySize space,
                               bool showsIcons)
    : state_(std::move(state))
    , style_(style) {
    hasIcons_ = showsIcons && std::ranges::any_of(state_.rows, [](const SuggestionRow& row) {
                    return !row.applicationPath.empty();
                });
    hasHeader_ = !state_.sequence.empty() || !state_.title.empty() || !state_.input.empty();
    const int padding = style.padding;
    const int lineHeight = style.rowHeight;
    const int chrome = padding * 2 + (hasHeader_ ? lineHeight + padding / 2 : 0) + lineHeight + padding / 2;
    std::vector<RowExtent> extents;
    for (const SuggestionRow& row : state_.rows)
        extents.push_back(extentOf(row));
    rows_ = layOutRows(extents, style.rowMetrics(), {space.width - padding * 2, space.height - chrome});
    hasFooter_ = !state_.message.empty() || rows_.pages > 1;

    const bool isAlone = state_.rows.empty();
    markWidth_ = rows_.pages > 1 ? style.smallMetrics.horizontalAdvance(pageMark()) : 0;
    const int mostWidth = space.width - padding * 2;
    const int rowsWidth = rows_.size.width;
    if (!state_.message.empty())
        message_ = wrapMessage(std::max(rowsWidth, style.em * (isAlone ? 4 : 15)), mostWidth);
    const int footerWidth =
        message_.width + (message_.width > 0 && markWidth_ > 0 ? style.em * 2 : 0) + markWidth_;
    // Long titles do not make the window wider than a readable line.
    const int wish = std::max(
        {rowsWidth, std::min(headerWidth(), style.em * 30), footerWidth, isAlone ? style.em * 10 : 0});
    const int width = std::min(wish, mostWidth);
    if (!isAlone)
        rows_.columns.back().text += width - rowsWidth; // what stands at the right edge is at the window's
    int y = padding;
    if (hasHeader_) {
        header_ = QRect(padding, y, width, lineHeight);
        y += lineHeight + (isAlone && !hasFooter_ ? 0 : padding / 2);
    }
    body_ = QRect(padding, y, width, rows_.size.height);
    y += body_.height();
    if (hasFooter_) {
        y += isAlone ? 0 : padding / 2;
        const int lines = static_cast<int>(message_.lines.size()) * footerMetrics().lineSpacing();
        footer_ = QRect(padding, y, width, std::max(style.em * 5 / 4, lines));
        y += footer_.height();
    }
    size_ = QSize(width + padding * 2, y + padding * (hasFooter_ && !isAlone ? 3 : 4) / 4);
}

std::optional<QRect> OverlayPicture::rowArea(std::size_t row) const {
    const std::size_t perPage = rows_.rowsPerPage();
    if (perPage == 0 || row / perPage != static_cast<std::size_t>(rows_.page(state_.pageTurns)))
        return std::nullopt;
    const std::size_t place = row % perPage;
    const auto perColumn = static_cast<std::size_t>(rows_.rowsPerColumn);
    const OverlayColumn& column = rows_.columns[place / perColumn];
    return QRect(body_.x() + column.x, body_.y() + static_cast<int>(place % perColumn) * style_.rowHeight,
                 column.caps + style_.gap + column.text, style_.rowHeight);
}

QRect OverlayPicture::barArea() const {
    return {style_.radius, size_.height() - style_.barHeight - 1, size_.width() - 2 * style_.radius,
            style_.barHeight};
}

// Measuring

RowExtent OverlayPicture::extentOf(const SuggestionRow& row) const {
    int text = style_.textRuns.width(row.name);
    if (hasIcons_)
        text += style_.iconSize + style_.gap;
    if (row.isRunning)
        text += style_.gap + style_.em / 3;
    if (!row.detail.empty())
        text += style_.gap + style_.smallRuns.width(row.detail);
    if (const std::string trailing = trailingText(row); !trailing.empty())
        text += style_.gap + style_.smallRuns.width(trailing) + style_.em * 3 / 4;
    return {style_.caps.width(row.caps), text + kSlack};
}

int OverlayPicture::headerWidth() const {
    int width = 0;
    for (const KeyCaps& caps : state_.sequence)
        width += style_.caps.width(caps) + style_.gap;
    if (!state_.input.empty())
        width += style_.caps.width(state_.input) + style_.gap;
    if (!state_.refused.empty())
        width += style_.caps.width(state_.refused) + style_.gap;
    return width + style_.titleMetrics.horizontalAdvance(qText(state_.title)) + kSlack;
}

/// Alone, a message is what there is to read, not a note.
const QFontMetrics& OverlayPicture::footerMetrics() const {
    return state_.rows.empty() ? style_.textMetrics : style_.smallMetrics;
}

/// Not wider than a readable line, and below rows rather two lines than a wider window.
WrappedText OverlayPicture::wrapMessage(int enoughWidth, int mostWidth) const {
    const int most = std::min(mostWidth - (markWidth_ > 0 ? markWidth_ + style_.gap : 0), style_.em * 36);
    const bool isAlone = state_.rows.empty();
    const int lines = isAlone
                          ? std::clamp(footerMetrics().horizontalAdvance(qText(state_.message)) / most + 1, 1,
                                       kMostMessageLines)
                          : kMostNoteLines;
    return wrapText(qText(state_.message), isAlone ? style_.text : style_.small, enoughWidth,
                    std::max(1, most), lines);
}

QString OverlayPicture::pageMark() const {
    return qText(localized("Page %1 of %2 · Tab turns the page",
                           {std::to_string(rows_.page(state_.pageTurns) + 1), std::to_string(rows_.pages)}));
}

// Painting

void OverlayPicture::paint(QPainter& painter, const OverlayColors& colors, const IconSource& icon,
                           double timeLeft) const {
    if (hasHeader_)
        paintHeader(painter, colors);
    const std::size_t first = rows_.rowsPerPage() * static_cast<std::size_t>(rows_.page(state_.pageTurns));
    for (std::size_t row = first; row < std::min(state_.rows.size(), first + rows_.rowsPerPage()); ++row)
        paintRow(painter, colors, icon, row);
    if (hasFooter_)
        paintFooter(painter, colors);
    paintBar(painter, colors, timeLeft);
}

void OverlayPicture::paintBar(QPainter& painter, const OverlayColors& colors, double timeLeft) const {
    if (!state_.hasTimeLimit)
        return;
    const QRectF track = barArea();
    const double radius = track.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(qColor(colors.barTrack));
    painter.drawRoundedRect(track, radius, radius);
    painter.setBrush(qColor(colors.bar));
    painter.drawRoundedRect(QRectF(track.topLeft(), QSizeF(track.width() * timeLeft, track.height())), radius,
                            radius);
}

void OverlayPicture::paintHeader(QPainter& painter, const OverlayColors& colors) const {
    int x = header_.x();
    const int middle = header_.center().y();
    for (const KeyCaps& caps : state_.sequence)
        x += style_.caps.paint(painter, x, middle, caps, CapLook::plain, colors) + style_.gap;
    if (!state_.input.empty())
        x += style_.caps.paint(painter, x, middle, state_.input, CapLook::group, colors) + style_.gap;
    if (!state_.refused.empty())
        x += style_.caps.paint(painter, x, middle, state_.refused, CapLook::refused, colors) + style_.gap;
    painter.setFont(style_.title);
    painter.setPen(qColor(colors.text));
    const QRect rest(x, header_.y(), header_.right() + 1 - x, header_.height());
    painter.drawText(rest, Qt::AlignVCenter | Qt::AlignLeft,
                     style_.titleMetrics.elidedText(qText(state_.title), Qt::ElideRight, rest.width()));
}

void OverlayPicture::paintRow(QPainter& painter, const OverlayColors& colors, const IconSource& icon,
                              std::size_t index) const {
    const SuggestionRow& row = state_.rows[index];
    const QRect area = *rowArea(index);
    const int middle = area.center().y();
    const double textMiddle = area.y() + area.height() / 2.0;
    if (row.isChosen) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(colors.chosen));
        const int margin = style_.em * 3 / 8;
        painter.drawRoundedRect(area.adjusted(-margin, 1, margin, -1), style_.em / 3.0, style_.em / 3.0);
    }
    const bool isFaint = row.isRuledOut || row.availability != HintAvailability::available;
    const std::size_t perColumn = static_cast<std::size_t>(rows_.rowsPerColumn);
    const OverlayColumn& column = rows_.columns[index % rows_.rowsPerPage() / perColumn];
    // The key stands next to the name, its modifiers before it.
    const CapLook look = isFaint ? CapLook::faint : row.isGroup ? CapLook::group : CapLook::plain;
    style_.caps.paint(painter, area.x() + column.caps - style_.caps.width(row.caps), middle, row.caps, look,
                      colors);
    QRect rest = area.adjusted(column.caps + style_.gap, 0, 0, 0);
    if (hasIcons_) {
        const QRect place(rest.x(), middle - style_.iconSize / 2, style_.iconSize, style_.iconSize);
        if (!row.applicationPath.empty())
            paintIcon(painter, colors, row, place, icon);
        rest.setLeft(rest.x() + style_.iconSize + style_.gap);
    }
    rest.setRight(rest.right() - paintTrailing(painter, colors, row, rest));

    const OverlayColor ink = row.isChosen  ? colors.chosenText
                             : isFaint     ? colors.faint
                             : row.isGroup ? colors.groupText
                                           : colors.text;
    const int dot = row.isRunning ? style_.gap + style_.em / 3 : 0;
    const int space = rest.width() - dot;
    painter.setPen(qColor(ink));
    style_.textRuns.paint(painter, rest.x(), textMiddle, row.name, space);
    int x = rest.x() + std::min(style_.textRuns.width(row.name), space);
    if (row.isRunning) {
        const double size = style_.em / 3.0;
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(row.isChosen ? colors.chosenText : colors.running));
        painter.drawEllipse(QRectF(x + style_.gap, middle - size / 2 + 1, size, size));
        x += dot;
    }
    if (!row.detail.empty() && x + style_.gap + style_.em * 2 < rest.right()) {
        rest.setLeft(x + style_.gap);
        painter.setPen(qColor(row.isChosen     ? colors.chosenText
                              : row.isRuledOut ? colors.faint
                                               : colors.secondary));
        style_.smallRuns.paint(painter, rest.x(), textMiddle, row.detail, rest.width());
    }
}

/// A group's number of entries or what is in the way, at the right edge. Returns the width that it takes.
int OverlayPicture::paintTrailing(QPainter& painter, const OverlayColors& colors, const SuggestionRow& row,
                                  const QRect& area) const {
    const std::string text = trailingText(row);
    if (text.empty())
        return 0;
    const bool isWarning = row.availability != HintAvailability::available;
    const QColor ink = qColor(row.isChosen ? colors.chosenText
                              : isWarning  ? colors.warning
                                           : colors.secondary);
    painter.setPen(ink);
    const int width = style_.smallRuns.width(text);
    int right = area.right() + 1;
    if (!isWarning) {
        // An arrow: more keys follow.
        const double size = style_.em / 5.0;
        const QPointF tip(area.right() - 1, area.center().y() + 1);
        painter.setPen(QPen(ink, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPolyline(
            QPolygonF{{tip.x() - size, tip.y() - size}, tip, {tip.x() - size, tip.y() + size}});
        right -= style_.em * 5 / 8;
    }
    style_.smallRuns.paint(painter, right - width, area.y() + area.height() / 2.0, text, width);
    return width + style_.gap + (isWarning ? 0 : style_.em * 5 / 8);
}

/// The application's icon, or the outline of a window.
void OverlayPicture::paintIcon(QPainter& painter, const OverlayColors& colors, const SuggestionRow& row,
                               const QRect& area, const IconSource& icon) const {
    const QPixmap pixmap = icon ? icon(row.applicationPath) : QPixmap();
    if (!pixmap.isNull()) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(area, pixmap);
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
        return;
    }
    const double inset = area.width() / 8.0;
    const QRectF window = QRectF(area).adjusted(inset, inset * 1.5, -inset, -inset * 1.5);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(qColor(row.isChosen ? colors.chosenText : colors.secondary), 1.3));
    painter.drawRoundedRect(window, inset, inset);
    const double bar = window.top() + window.height() * 0.3;
    painter.drawLine(QPointF(window.left(), bar), QPointF(window.right(), bar));
}

void OverlayPicture::paintFooter(QPainter& painter, const OverlayColors& colors) const {
    const bool isAlone = state_.rows.empty();
    painter.setFont(isAlone ? style_.text : style_.small);
    painter.setPen(qColor(isAlone ? colors.text : colors.secondary));
    if (markWidth_ > 0)
        painter.drawText(footer_, Qt::AlignVCenter | Qt::AlignRight, pageMark());
    const int spacing = footerMetrics().lineSpacing();
    const int height = static_cast<int>(message_.lines.size()) * spacing;
    QRect line(footer_.x(), footer_.y() + (footer_.height() - height) / 2, footer_.width(), spacing);
    for (const QString& text : message_.lines) {
        painter.drawText(line, Qt::AlignVCenter | Qt::AlignLeft, text);
        line.translate(0, spacing);
    }
}

} // namespace varnel
