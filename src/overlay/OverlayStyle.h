#pragma once

#include "overlay/OverlayColors.h"
#include "overlay/OverlayLayout.h"

#include <QColor>
#include <QFont>
#include <QFontMetrics>

namespace varnel {

/// Fonts and distances, all of which follow from one text size. In pixels that do not depend on the screen's
/// scale.
struct OverlayStyle {
    /// `textSize` in points.
    explicit OverlayStyle(int textSize);

    QFont text, title, small, cap;
    QFontMetrics textMetrics, titleMetrics, smallMetrics, capMetrics;
    int em; ///< height of a line of text; the other distances are parts of it
    int padding;
    int radius;
    int rowHeight;
    int capHeight;
    int capPadding;
    int capGap; ///< between the caps of one key
    int gap;    ///< between the parts of a row
    int iconSize;
    int barHeight;
    int shadow; ///< how far the shadow reaches, where there is one

    [[nodiscard]] RowMetrics rowMetrics() const;
};

inline QColor qColor(OverlayColor color) {
    return {color.red, color.green, color.blue};
}

} // namespace varnel
