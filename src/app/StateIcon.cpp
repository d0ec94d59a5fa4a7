#include "app/StateIcon.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace varnel {

namespace {

const QColor kListening(0x14, 0x86, 0x9a);
const QColor kPaused(0x84, 0x8a, 0x94);
const QColor kAttention(0xc8, 0x74, 0x06);
const QColor kNotCapturing(0xd2, 0x45, 0x45);

/// Lengths on a grid of 16, as whole pixels of an icon.
struct Grid {
    int size;
    [[nodiscard]] int at(double units) const { return static_cast<int>(std::lround(units * size / 16)); }
    [[nodiscard]] int width(double units) const { return std::max(1, at(units)); }
    [[nodiscard]] double exact(double units) const { return units * size / 16; }
    [[nodiscard]] QRect square(double inset) const {
        const int edge = width(inset);
        return {edge, edge, size - 2 * edge, size - 2 * edge};
    }
};

void paintCap(QPainter& painter, const Grid& grid) {
    painter.setBrush(kListening);
    painter.drawRoundedRect(grid.square(1), grid.exact(3.2), grid.exact(3.2));
    QPainterPath letter(QPointF(grid.exact(4.6), grid.exact(4.7)));
    letter.lineTo(grid.exact(8), grid.exact(11.4));
    letter.lineTo(grid.exact(11.4), grid.exact(4.7));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, grid.exact(1.9), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(letter);
}

void paintBars(QPainter& painter, const Grid& grid) {
    const int line = grid.width(1.5);
    const QRect outer = grid.square(1);
    QPainterPath frame;
    frame.addRoundedRect(outer, grid.exact(3.2), grid.exact(3.2));
    QPainterPath hole;
    hole.addRoundedRect(outer.adjusted(line, line, -line, -line), grid.exact(1.8), grid.exact(1.8));
    painter.setBrush(kPaused);
    painter.drawPath(frame - hole);
    // Both bars are equally wide and equally far from the middle, whatever the size.
    const int bar = grid.width(2);
    const int gap = std::max(1, grid.at(1));
    const int top = grid.at(4.6);
    const int height = grid.size - 2 * top;
    const int left = grid.size / 2 - gap - bar;
    painter.fillRect(left, top, bar, height, kPaused);
    painter.fillRect(grid.size - left - bar, top, bar, height, kPaused);
}

void paintTriangle(QPainter& painter, const Grid& grid) {
    const double edge = grid.exact(1.4);
    QPolygonF corners{{grid.size / 2.0, grid.exact(2.3)},
                      {grid.size - grid.exact(2.2), grid.size - grid.exact(2.6)},
                      {grid.exact(2.2), grid.size - grid.exact(2.6)}};
    painter.setBrush(kAttention);
    painter.setPen(QPen(kAttention, edge * 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolygon(corners);
    painter.setPen(Qt::NoPen);
    // As wide as leaves the same number of pixels at both sides.
    const int wanted = grid.width(2);
    const int width = (grid.size - wanted) % 2 == 0 ? wanted : wanted + 1;
    const int left = (grid.size - width) / 2;
    painter.fillRect(left, grid.at(5.6), width, grid.at(10.2) - grid.at(5.6), Qt::white);
    painter.fillRect(left, grid.at(11.3), width, grid.width(1.9), Qt::white);
}

void paintRing(QPainter& painter, const Grid& grid) {
    const double line = grid.exact(1.9);
    const double inset = grid.exact(1) + line / 2;
    const QRectF ring(inset, inset, grid.size - 2 * inset, grid.size - 2 * inset);
    painter.setPen(QPen(kNotCapturing, line, Qt::SolidLine, Qt::FlatCap));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(ring);
    const double reach = ring.width() / 2 * std::sqrt(0.5);
    const QPointF middle = ring.center();
    painter.drawLine(middle + QPointF(-reach, -reach), middle + QPointF(reach, reach));
}

class StateIconEngine final : public QIconEngine {
public:
    explicit StateIconEngine(HealthState state)
        : state_(state) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        const qreal ratio = painter->device()->devicePixelRatio();
        const int size = static_cast<int>(std::floor(std::min(rect.width(), rect.height()) * ratio));
        painter->drawPixmap(
            rect.topLeft() + QPointF((rect.width() - size / ratio) / 2, (rect.height() - size / ratio) / 2),
            drawn(size, ratio));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
        return drawn(std::min(size.width(), size.height()), 1);
    }
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        QList<QSize> sizes;
        for (const int size : kIconSizes)
            sizes.append(QSize(size, size));
        return sizes;
    }
    [[nodiscard]] QIconEngine* clone() const override { return new StateIconEngine(state_); }

private:
    [[nodiscard]] QPixmap drawn(int size, qreal ratio) const {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paintStateIcon(painter, state_, size);
        painter.end();
        pixmap.setDevicePixelRatio(ratio);
        return pixmap;
    }

    HealthState state_;
};

} // namespace

QIcon stateIcon(HealthState state) {
    return QIcon(new StateIconEngine(state));
}

void paintStateIcon(QPainter& painter, HealthState state, int size) {
    const Grid grid{size};
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    switch (state) {
    case HealthState::listening:
        paintCap(painter, grid);
        break;
    case HealthState::paused:
        paintBars(painter, grid);
        break;
    case HealthState::attention:
        paintTriangle(painter, grid);
        break;
    case HealthState::notCapturing:
        paintRing(painter, grid);
        break;
    }
    painter.restore();
}

} // namespace varnel
