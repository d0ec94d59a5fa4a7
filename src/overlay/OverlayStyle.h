#pragma once

#include "overlay/OverlayColors.h"
#include "overlay/OverlayLayout.h"

#include <QColor>
#include <QFont>
#include <QFontMetrics>
#include <QString>

#include <string>
#include <unordered_map>

namespace varnel {

/// The widths of texts in one font. Finding one out takes longer than painting its pixels, and the same names
/// and key labels come again and again: they are kept.
class TextWidths {
public:
    explicit TextWidths(const QFont& font)
        : metrics_(font) {}
    int of(const std::string& text) const;
    /// The text, shortened where it does not fit.
    [[nodiscard]] QString fitted(const std::string& text, int space) const;

private:
    QFontMetrics metrics_;
    mutable std::unordered_map<std::string, int> widths_;
};

/// Fonts and distances, all of which follow from one text size. In pixels that do not depend on the screen's
/// scale.
struct OverlayStyle {
    /// `textSize` in points.
    explicit OverlayStyle(int textSize);

    QFont text, title, small, cap;
    QFontMetrics textMetrics, titleMetrics, smallMetrics, capMetrics;
    TextWidths textWidths, smallWidths, capWidths;
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
