#pragma once

#include "overlay/OverlayStyle.h"

#include <QRectF>

class QPainter;

namespace varnel {

/// Paints what a state is painted on: the ground with round corners, its edge, and a shadow all around `area`
/// that reaches as far as the style says. For windows that are blended with what lies behind them.
void paintBlendedFrame(QPainter& painter, const QRectF& area, const OverlayStyle& style,
                       const OverlayColors& colors);
/// The same without shadow, for windows whose corners are cut off: leaves no pixel of `area` as it was.
void paintCutFrame(QPainter& painter, const QRectF& area, const OverlayStyle& style,
                   const OverlayColors& colors);

} // namespace varnel
