#include "overlay/KeyCapPainter.h"

#include "overlay/OverlayStyle.h"

#include <QPaintDevice>
#include <QPainter>

#include <algorithm>

namespace varnel {
namespace {

/// All keys of a keyboard in a few looks; tokens that name no key could bring new labels for ever.
constexpr std::size_t kMostPictures = 400;

struct CapColors {
    OverlayColor face, edge, ink;
};

CapColors capColors(KeyCapPainter::Look look, const OverlayColors& colors) {
    using enum KeyCapPainter::Look;
    switch (look) {
    case plain:
        break;
    case group:
        return {colors.cap, colors.capEdge, colors.groupText};
    case faint:
        return {colors.background, colors.capEdge, colors.faint};
    case refused:
        return {colors.refused, colors.refused, colors.refusedText};
    }
    return {colors.cap, colors.capEdge, colors.capText};
}

} // namespace

KeyCapPainter::KeyCapPainter(const QFont& font, int em)
    : runs_(font)
    , height_(em * 11 / 8)
    , padding_(em * 3 / 8)
    , gap_(em / 5)
    , radius_(em / 4.0) {}

int KeyCapPainter::width(const std::string& label) const {
    return std::max(height_, runs_.width(label) + 2 * padding_);
}

int KeyCapPainter::width(const KeyCaps& caps) const {
    int total = 0;
    for (const std::string& label : caps)
        total += (total > 0 ? gap_ : 0) + width(label);
    return total;
}

int KeyCapPainter::paint(QPainter& painter, int x, int middle, const KeyCaps& caps, Look look,
                         const OverlayColors& colors) const {
    const int begin = x;
    const double scale = painter.device()->devicePixelRatioF();
    for (const std::string& label : caps) {
        x += x > begin ? gap_ : 0;
        painter.drawPixmap(x, middle - height_ / 2, picture(label, look, colors, scale));
        x += width(label);
    }
    return x - begin;
}

const QPixmap& KeyCapPainter::picture(const std::string& label, Look look, const OverlayColors& colors,
                                      double scale) const {
    if (pictures_.size() >= kMostPictures)
        pictures_.clear();
    QPixmap& pixmap = pictures_[{label, look, &colors, scale}];
    if (!pixmap.isNull())
        return pixmap;
    const QSize size(width(label), height_);
    pixmap = QPixmap((QSizeF(size) * scale).toSize());
    pixmap.setDevicePixelRatio(scale);
    pixmap.fill(Qt::transparent);
    const CapColors its = capColors(look, colors);
    const QRectF area(QPointF(), size);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(qColor(its.edge));
    painter.drawRoundedRect(area, radius_, radius_);
    // The lower edge is a little thicker: there the light comes from above.
    painter.setBrush(qColor(its.face));
    painter.drawRoundedRect(area.adjusted(1, 1, -1, -2), radius_ - 1, radius_ - 1);
    painter.setPen(qColor(its.ink));
    const int textWidth = runs_.width(label);
    runs_.paint(painter, (size.width() - textWidth) / 2.0, (size.height() - 1) / 2.0, label, textWidth);
    return pixmap;
}

} // namespace varnel
