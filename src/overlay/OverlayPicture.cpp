#include "overlay/OverlayPicture.h"

#include "base/Localized.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace varnel {
namespace {

/// Widths of texts are rounded; without this, some that fit would be cut.
constexpr int kSlack = 2;
/// A longer message is cut.
constexpr int kMostMessageLines = 3;

QString qText(const std::string& text) {
    return QString::fromStdString(text);
}

std::string trailingText(const SuggestionRow& row) {
    if (row.availability != HintAvailability::available)
        return availabilityText(row.availability);
    return row.isGroup ? std::to_string(row.entryCount) : std::string();
}

/// A cap with a lower edge that is a little thicker, as keys are seen from above.
void paintKey(QPainter& painter, const QRectF& area, double radius, const QColor& face, const QColor& edge) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(edge);
    painter.drawRoundedRect(area, radius, radius);
    painter.setBrush(face);
    painter.drawRoundedRect(area.adjusted(1, 1, -1, -2), radius - 1, radius - 1);
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

    const int markWidth = rows_.pages > 1 ? style.smallMetrics.horizontalAdvance(pageMark()) : 0;
    // Alone, a message is what there is to read, not a note.
    const QFontMetrics& footerMetrics = state_.rows.empty() ? style.textMetrics : style.smallMetrics;
    const int messageWidth =
        state_.message.empty() ? 0 : footerMetrics.horizontalAdvance(qText(state_.message)) + kSlack;
    const int footerWidth = messageWidth + (messageWidth > 0 && markWidth > 0 ? style.em * 2 : 0) + markWidth;
    const int rowsWidth = rows_.size.width;
    // Long titles and messages do not make the window wider than a readable line.
    const int wish =
        std::max({rowsWidth, std::min(headerWidth(), style.em * 30), std::min(footerWidth, style.em * 36),
                  state_.rows.empty() ? 0 : style.em * 10});
    const int width = std::min(wish, space.width - padding * 2);
    int y = padding;
    if (hasHeader_) {
        header_ = QRect(padding, y, width, lineHeight);
        y += lineHeight + (state_.rows.empty() && !hasFooter_ ? 0 : padding / 2);
    }
    body_ = QRect(padding, y, width, rows_.size.height);
    y += rows_.size.height;
    if (hasFooter_) {
        y += state_.rows.empty() ? 0 : padding / 2;
        const int markSpace = markWidth > 0 ? markWidth + style.gap : 0;
        const QRect lines = footerMetrics.boundingRect(
            QRect(0, 0, std::max(1, width - markSpace), footerMetrics.lineSpacing() * kMostMessageLines),
            Qt::TextWordWrap, qText(state_.message));
        const int height = std::min(lines.height(), footerMetrics.lineSpacing() * kMostMessageLines);
        footer_ = QRect(padding, y, width, std::max(style.em * 5 / 4, height));
        y += footer_.height();
    }
    size_ = QSize(width + padding * 2, y + padding * (hasFooter_ && !state_.rows.empty() ? 3 : 4) / 4);
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

int OverlayPicture::capWidth(const std::string& label) const {
    return std::max(style_.capHeight, style_.capWidths.of(label) + 2 * style_.capPadding);
}

int OverlayPicture::capsWidth(const KeyCaps& caps) const {
    int width = 0;
    for (const std::string& label : caps)
        width += (width > 0 ? style_.capGap : 0) + capWidth(label);
    return width;
}

RowExtent OverlayPicture::extentOf(const SuggestionRow& row) const {
    int text = style_.textWidths.of(row.name);
    if (hasIcons_)
        text += style_.iconSize + style_.gap;
    if (row.isRunning)
        text += style_.gap + style_.em / 3;
    if (!row.detail.empty())
        text += style_.gap + style_.smallWidths.of(row.detail);
    if (const std::string trailing = trailingText(row); !trailing.empty())
        text += style_.gap + style_.smallWidths.of(trailing) + style_.em * 3 / 4;
    return {capsWidth(row.caps), text + kSlack};
}

int OverlayPicture::headerWidth() const {
    int width = 0;
    for (const KeyCaps& caps : state_.sequence)
        width += capsWidth(caps) + style_.gap;
    if (!state_.input.empty())
        width += capsWidth(state_.input) + style_.gap;
    if (!state_.refused.empty())
        width += capsWidth(state_.refused) + style_.gap;
    return width + style_.titleMetrics.horizontalAdvance(qText(state_.title)) + kSlack;
}

QString OverlayPicture::pageMark() const {
    return qText(localized("Page %1 of %2 · Tab turns the page",
                           {std::to_string(rows_.page(state_.pageTurns) + 1), std::to_string(rows_.pages)}));
}

// Painting

void OverlayPicture::paint(QPainter& painter, const OverlayColors& colors, const IconSource& icon,
                           double timeLeft) const {
    painter.setRenderHint(QPainter::Antialiasing);
    if (hasHeader_)
        paintHeader(painter, colors);
    const std::size_t first = rows_.rowsPerPage() * static_cast<std::size_t>(rows_.page(state_.pageTurns));
    for (std::size_t row = first; row < std::min(state_.rows.size(), first + rows_.rowsPerPage()); ++row)
        paintRow(painter, colors, icon, row);
    if (hasFooter_)
        paintFooter(painter, colors);
    if (state_.hasTimeLimit) {
        const QRectF track = barArea();
        const double radius = track.height() / 2;
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(colors.barTrack));
        painter.drawRoundedRect(track, radius, radius);
        painter.setBrush(qColor(colors.bar));
        painter.drawRoundedRect(QRectF(track.topLeft(), QSizeF(track.width() * timeLeft, track.height())),
                                radius, radius);
    }
}

int OverlayPicture::paintCap(QPainter& painter, const OverlayColors& colors, int x, int middle,
                             const std::string& label, CapLook look) const {
    const QRect area(x, middle - style_.capHeight / 2, capWidth(label), style_.capHeight);
    OverlayColor face = colors.cap, edge = colors.capEdge, ink = colors.capText;
    if (look == CapLook::group)
        ink = colors.groupText;
    if (look == CapLook::faint)
        face = colors.background, ink = colors.faint;
    if (look == CapLook::refused)
        face = edge = colors.refused, ink = colors.refusedText;
    paintKey(painter, area, style_.em / 4.0, qColor(face), qColor(edge));
    painter.setFont(style_.cap);
    painter.setPen(qColor(ink));
    painter.drawText(area.adjusted(0, 0, 0, -1), Qt::AlignCenter, qText(label));
    return area.width();
}

int OverlayPicture::paintCaps(QPainter& painter, const OverlayColors& colors, int x, int middle,
                              const KeyCaps& caps, CapLook look) const {
    const int begin = x;
    for (const std::string& label : caps) {
        x += x > begin ? style_.capGap : 0;
        x += paintCap(painter, colors, x, middle, label, look);
    }
    return x - begin;
}

void OverlayPicture::paintHeader(QPainter& painter, const OverlayColors& colors) const {
    int x = header_.x();
    const int middle = header_.center().y();
    for (const KeyCaps& caps : state_.sequence)
        x += paintCaps(painter, colors, x, middle, caps, CapLook::plain) + style_.gap;
    if (!state_.input.empty())
        x += paintCaps(painter, colors, x, middle, state_.input, CapLook::group) + style_.gap;
    if (!state_.refused.empty())
        x += paintCaps(painter, colors, x, middle, state_.refused, CapLook::refused) + style_.gap;
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
    paintCaps(painter, colors, area.x() + column.caps - capsWidth(row.caps), middle, row.caps,
              isFaint       ? CapLook::faint
              : row.isGroup ? CapLook::group
                            : CapLook::plain);
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
    painter.setFont(style_.text);
    painter.setPen(qColor(ink));
    painter.drawText(rest, Qt::AlignVCenter | Qt::AlignLeft, style_.textWidths.fitted(row.name, space));
    int x = rest.x() + std::min(style_.textWidths.of(row.name), space);
    if (row.isRunning) {
        const double size = style_.em / 3.0;
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(row.isChosen ? colors.chosenText : colors.running));
        painter.drawEllipse(QRectF(x + style_.gap, middle - size / 2 + 1, size, size));
        x += dot;
    }
    if (!row.detail.empty() && x + style_.gap + style_.em * 2 < rest.right()) {
        rest.setLeft(x + style_.gap);
        painter.setFont(style_.small);
        painter.setPen(qColor(row.isChosen     ? colors.chosenText
                              : row.isRuledOut ? colors.faint
                                               : colors.secondary));
        painter.drawText(rest, Qt::AlignVCenter | Qt::AlignLeft,
                         style_.smallWidths.fitted(row.detail, rest.width()));
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
    painter.setFont(style_.small);
    painter.setPen(ink);
    QRect place = area;
    if (!isWarning) {
        // An arrow: more keys follow.
        const double size = style_.em / 5.0;
        const QPointF tip(area.right() - 1, area.center().y() + 1);
        painter.setPen(QPen(ink, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPolyline(
            QPolygonF{{tip.x() - size, tip.y() - size}, tip, {tip.x() - size, tip.y() + size}});
        place.setRight(area.right() - style_.em * 5 / 8);
    }
    painter.drawText(place, Qt::AlignVCenter | Qt::AlignRight, qText(text));
    return style_.smallWidths.of(text) + style_.gap + (isWarning ? 0 : style_.em * 5 / 8);
}

/// The application's icon, or the outline of a window.
void OverlayPicture::paintIcon(QPainter& painter, const OverlayColors& colors, const SuggestionRow& row,
                               const QRect& area, const IconSource& icon) const {
    const QPixmap pixmap = icon ? icon(row.applicationPath) : QPixmap();
    if (!pixmap.isNull()) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(area, pixmap);
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
    QRect place = footer_;
    if (rows_.pages > 1) {
        painter.drawText(place, Qt::AlignVCenter | Qt::AlignRight, pageMark());
        place.setRight(place.right() - style_.smallMetrics.horizontalAdvance(pageMark()) - style_.gap);
    }
    painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextWordWrap, qText(state_.message));
}

} // namespace varnel
