#pragma once

#include <cstddef>
#include <vector>

namespace varnel {

/// Where things go in the hint window, in whole pixels that do not depend on the screen's scale. Pure: widths
/// of texts are handed in.

struct OverlaySize {
    int width = 0;
    int height = 0;
    friend bool operator==(const OverlaySize&, const OverlaySize&) = default;
};
struct OverlayPoint {
    int x = 0;
    int y = 0;
    friend bool operator==(const OverlayPoint&, const OverlayPoint&) = default;
};
struct OverlayArea {
    OverlayPoint origin;
    OverlaySize size;
    friend bool operator==(const OverlayArea&, const OverlayArea&) = default;
};

/// The widths that a row would like to have.
struct RowExtent {
    int caps = 0;
    int text = 0; ///< everything right of the caps
};

struct RowMetrics {
    int height = 0;      ///< of a row
    int capGap = 0;      ///< between caps and text
    int columnGap = 0;   ///< between columns
    int longestText = 0; ///< texts are shortened to this
    int leastColumn = 0; ///< a column is never narrower
};

struct OverlayColumn {
    int x = 0;    ///< from the left edge of the rows
    int caps = 0; ///< width of the caps, the widest of the column
    int text = 0;
};

/// Rows fill the first column from top to bottom, then the next. Every page has the same columns.
struct RowLayout {
    std::vector<OverlayColumn> columns;
    int rowsPerColumn = 0;
    int pages = 1;
    OverlaySize size; ///< of all columns

    [[nodiscard]] std::size_t rowsPerPage() const {
        return columns.size() * static_cast<std::size_t>(rowsPerColumn);
    }
    /// The page reached by turning `turns` pages from the first; the last is followed by the first.
    [[nodiscard]] int page(int turns) const { return ((turns % pages) + pages) % pages; }
};

/// As few pages as `space` allows and, among those, the number of columns whose shape is nearest to a
/// screen's.
RowLayout layOutRows(const std::vector<RowExtent>& rows, const RowMetrics& metrics, OverlaySize space);

enum class OverlayPosition : int;
/// The window's place on a screen's usable area. A window that would not fit lies at the area's origin.
OverlayPoint placeOverlay(OverlaySize window, const OverlayArea& screen, OverlayPoint pointer,
                          OverlayPosition position);

} // namespace varnel
