#include "overlay/OverlayLayout.h"

#include "overlay/OverlayPreferences.h"

#include <algorithm>
#include <cmath>

namespace varnel {
namespace {

/// Width to height of the rows that looks best in the middle of a screen.
constexpr double kBestShape = 1.9;
/// How far below or beside the pointer the window stays, so that it hides nothing that is pointed at.
constexpr int kPointerDistance = 18;

int ceilDivide(int a, int b) {
    return (a + b - 1) / b;
}

/// The columns that these numbers give; every page counts, so that the window keeps its size.
std::vector<OverlayColumn> columnsFor(const std::vector<RowExtent>& rows, const RowMetrics& metrics,
                                      int columns, int rowsPerColumn) {
    std::vector<OverlayColumn> result(static_cast<std::size_t>(columns));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        OverlayColumn& column =
            result[i / static_cast<std::size_t>(rowsPerColumn) % static_cast<std::size_t>(columns)];
        column.caps = std::max(column.caps, rows[i].caps);
        column.text = std::max(column.text, std::min(rows[i].text, metrics.longestText));
    }
    int x = 0;
    for (OverlayColumn& column : result) {
        column.x = x;
        column.text = std::max(column.text, metrics.leastColumn - column.caps - metrics.capGap);
        x += column.caps + metrics.capGap + column.text + metrics.columnGap;
    }
    return result;
}

int widthOf(const std::vector<OverlayColumn>& columns, const RowMetrics& metrics) {
    const OverlayColumn& last = columns.back();
    return last.x + last.caps + metrics.capGap + last.text;
}

/// Small is good: the pages first, then the shape.
double badness(const RowLayout& layout) {
    const double shape = static_cast<double>(layout.size.width) / std::max(1, layout.size.height);
    return 1000.0 * layout.pages + std::abs(std::log(shape / kBestShape));
}

int clampInto(int wanted, int size, int from, int space) {
    return std::max(from, std::min(wanted, from + space - size));
}

} // namespace

RowLayout layOutRows(const std::vector<RowExtent>& rows, const RowMetrics& metrics, OverlaySize space) {
    RowLayout best;
    const int count = static_cast<int>(rows.size());
    if (count == 0)
        return best;
    const int mostRows = std::clamp(space.height / std::max(1, metrics.height), 1, count);
    for (int columns = 1; columns <= count; ++columns) {
        RowLayout layout;
        layout.pages = ceilDivide(count, columns * mostRows);
        layout.rowsPerColumn = ceilDivide(ceilDivide(count, layout.pages), columns);
        if (columns > 1 && (columns - 1) * layout.rowsPerColumn >= count)
            continue; // the last column would stay empty
        layout.columns = columnsFor(rows, metrics, columns, layout.rowsPerColumn);
        layout.size = {widthOf(layout.columns, metrics), layout.rowsPerColumn * metrics.height};
        if (layout.size.width > space.width) {
            if (columns > 1)
                break;
            OverlayColumn& only = layout.columns.front();
            only.text = std::max(0, only.text - (layout.size.width - space.width));
            layout.size.width = space.width;
        }
        if (best.columns.empty() || badness(layout) < badness(best))
            best = std::move(layout);
    }
    return best;
}

OverlayPoint placeOverlay(OverlaySize window, const OverlayArea& screen, OverlayPoint pointer,
                          OverlayPosition position) {
    const int margin = screen.size.height / 12;
    OverlayPoint place{screen.origin.x + (screen.size.width - window.width) / 2,
                       screen.origin.y + (screen.size.height - window.height) / 2};
    switch (position) {
    case OverlayPosition::center:
        break;
    case OverlayPosition::top:
        place.y = screen.origin.y + margin;
        break;
    case OverlayPosition::bottom:
        place.y = screen.origin.y + screen.size.height - margin - window.height;
        break;
    case OverlayPosition::pointer:
        place = {pointer.x + kPointerDistance, pointer.y + kPointerDistance};
        // Rather on the pointer's other side than pushed over it.
        if (place.x + window.width > screen.origin.x + screen.size.width)
            place.x = pointer.x - kPointerDistance - window.width;
        if (place.y + window.height > screen.origin.y + screen.size.height)
            place.y = pointer.y - kPointerDistance - window.height;
        break;
    }
    return {clampInto(place.x, window.width, screen.origin.x, screen.size.width),
            clampInto(place.y, window.height, screen.origin.y, screen.size.height)};
}

} // namespace varnel
