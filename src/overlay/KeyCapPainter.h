#pragma once

#include "overlay/OverlayColors.h"
#include "overlay/SuggestionOverlayState.h"
#include "overlay/TextRuns.h"

#include <QPixmap>

#include <map>
#include <string>
#include <tuple>

class QPainter;

namespace varnel {

/// Paints keys as they are seen from above. They are few and come again and again: their pictures are kept.
class KeyCapPainter {
public:
    enum class Look { plain, group, faint, refused };

    /// `em` is the height of a line of the text that the keys stand beside.
    KeyCapPainter(const QFont& font, int em);

    [[nodiscard]] int width(const KeyCaps& caps) const;
    /// Paints the keys from `x` to the right, around the height `middle`. Returns their width.
    int paint(QPainter& painter, int x, int middle, const KeyCaps& caps, Look look,
              const OverlayColors& colors) const;

private:
    [[nodiscard]] int width(const std::string& label) const;
    const QPixmap& picture(const std::string& label, Look look, const OverlayColors& colors,
                           double scale) const;

    TextRuns runs_;
    int height_;
    int padding_; ///< left and right of a label
    int gap_;     ///< between the caps of one key
    double radius_;
    mutable std::map<std::tuple<std::string, Look, const OverlayColors*, double>, QPixmap> pictures_;
};

} // namespace varnel
