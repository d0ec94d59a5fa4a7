#pragma once

#include "overlay/KeyCapPainter.h"
#include "overlay/OverlayColors.h"
#include "overlay/OverlayLayout.h"
#include "overlay/TextRuns.h"

#include <QColor>
#include <QFont>
#include <QFontMetrics>

namespace varnel {

/// Fonts and distances, all of which follow from one text size. In pixels that do not depend on the screen's
/// scale.
struct OverlayStyle {
    /// `textSize` in points.
    explicit OverlayStyle(int textSize);

    QFont text, title, small;
    QFontMetrics textMetrics, titleMetrics, smallMetrics;
    TextRuns textRuns, smallRuns;
    int em; ///< height of a line of text; the other distances are parts of it
    int padding;
    int radius;
    int rowHeight;
    int gap; ///< between the parts of a row
    int iconSize;
    int barHeight;
    int shadow; ///< how far the shadow reaches, where there is one
    KeyCapPainter caps;

    [[nodiscard]] RowMetrics rowMetrics() const;
};

inline QColor qColor(OverlayColor color) {
    return {color.red, color.green, color.blue};
}

} // namespace varnel
