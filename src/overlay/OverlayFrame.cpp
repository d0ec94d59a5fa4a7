#include "overlay/OverlayFrame.h"

#include <QLinearGradient>
#include <QPainter>
#include <QRadialGradient>

namespace varnel {
namespace {

constexpr int kShadowDarkness = 70;
constexpr int kShadowStops = 8;

/// Dark as far as `radius` from where the gradient begins, then fainter and fainter towards `length`.
void fadeOut(QGradient& gradient, double radius, double length) {
    gradient.setColorAt(0, QColor(0, 0, 0, kShadowDarkness));
    for (int i = 0; i <= kShadowStops; ++i) {
        const double way = static_cast<double>(i) / kShadowStops;
        const double nearness = 1 - way;
        gradient.setColorAt((radius + way * (length - radius)) / length,
                            QColor(0, 0, 0, static_cast<int>(kShadowDarkness * nearness * nearness)));
    }
}

/// A shadow a little lower than the window, as light from above makes it: one piece for each side and each
/// corner. Its middle, which the ground covers, is left out.
class Shadow {
public:
    Shadow(QPainter& painter, const QRectF& area, const OverlayStyle& style)
        : painter_(painter)
        , radius_(style.radius)
        , length_(style.radius + style.shadow * 4 / 5)
        , middle_(area.translated(0, style.shadow / 5).adjusted(radius_, radius_, -radius_, -radius_)) {}

    void paint() const {
        side(middle_.topLeft(), middle_.topRight(), {0, -length_});
        side(middle_.bottomLeft(), middle_.bottomRight(), {0, length_});
        side(middle_.topLeft(), middle_.bottomLeft(), {-length_, 0});
        side(middle_.topRight(), middle_.bottomRight(), {length_, 0});
        corner(middle_.topLeft(), {-length_, -length_});
        corner(middle_.topRight(), {length_, -length_});
        corner(middle_.bottomLeft(), {-length_, length_});
        corner(middle_.bottomRight(), {length_, length_});
    }

private:
    void side(QPointF from, QPointF to, QPointF outwards) const {
        QLinearGradient gradient(from, from + outwards);
        fadeOut(gradient, radius_, length_);
        painter_.fillRect(QRectF(from, to + outwards).normalized(), gradient);
    }
    void corner(QPointF at, QPointF outwards) const {
        QRadialGradient gradient(at, length_);
        fadeOut(gradient, radius_, length_);
        painter_.fillRect(QRectF(at, at + outwards).normalized(), gradient);
    }

    QPainter& painter_;
    double radius_, length_;
    QRectF middle_;
};

} // namespace

void paintBlendedFrame(QPainter& painter, const QRectF& area, const OverlayStyle& style,
                       const OverlayColors& colors) {
    // Between the pieces of the shadow no seam must be seen at scales that are no whole numbers.
    painter.setRenderHint(QPainter::Antialiasing, false);
    Shadow(painter, area, style).paint();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(qColor(colors.edge), 1));
    painter.setBrush(qColor(colors.background));
    painter.drawRoundedRect(area.adjusted(0.5, 0.5, -0.5, -0.5), style.radius, style.radius);
}

void paintCutFrame(QPainter& painter, const QRectF& area, const OverlayStyle& style,
                   const OverlayColors& colors) {
    painter.fillRect(area, qColor(colors.edge));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(qColor(colors.background));
    painter.drawRoundedRect(area.adjusted(1, 1, -1, -1), style.radius - 1, style.radius - 1);
}

} // namespace varnel
