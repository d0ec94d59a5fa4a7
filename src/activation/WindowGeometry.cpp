#include "activation/WindowGeometry.h"

#include "base/Localized.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace varnel {
namespace {

/// A part of a display in twelfths of its width and height.
struct Share {
    int x, y, width, height;
};

struct ArrangementRow {
    WindowArrangement arrangement;
    std::string_view name;
    std::optional<Share> share; ///< absent where it is no fixed part of the display
};

constexpr int kWhole = 12;
using enum WindowArrangement;
constexpr ArrangementRow kArrangements[] = {
    {leftHalf, "left-half", Share{0, 0, 6, 12}},
    {rightHalf, "right-half", Share{6, 0, 6, 12}},
    {topHalf, "top-half", Share{0, 0, 12, 6}},
    {bottomHalf, "bottom-half", Share{0, 6, 12, 6}},
    {topLeftQuarter, "top-left-quarter", Share{0, 0, 6, 6}},
    {topRightQuarter, "top-right-quarter", Share{6, 0, 6, 6}},
    {bottomLeftQuarter, "bottom-left-quarter", Share{0, 6, 6, 6}},
    {bottomRightQuarter, "bottom-right-quarter", Share{6, 6, 6, 6}},
    {leftThird, "left-third", Share{0, 0, 4, 12}},
    {centerThird, "center-third", Share{4, 0, 4, 12}},
    {rightThird, "right-third", Share{8, 0, 4, 12}},
    {leftTwoThirds, "left-two-thirds", Share{0, 0, 8, 12}},
    {rightTwoThirds, "right-two-thirds", Share{4, 0, 8, 12}},
    {center, "center", std::nullopt},
    {maximize, "maximize", std::nullopt},
    {restore, "restore", std::nullopt},
    {nextDisplay, "next-display", std::nullopt},
};

const ArrangementRow& rowOf(WindowArrangement arrangement) {
    return kArrangements[static_cast<std::size_t>(arrangement)];
}

/// Both edges are computed from the display's, so that neighbouring parts meet without a gap.
Rectangle part(const Rectangle& display, const Share& share) {
    const auto edge = [](int origin, int length, int twelfths) {
        return origin + length * twelfths / kWhole;
    };
    const int left = edge(display.x, display.width, share.x);
    const int top = edge(display.y, display.height, share.y);
    return {left, top, edge(display.x, display.width, share.x + share.width) - left,
            edge(display.y, display.height, share.y + share.height) - top};
}

long long overlap(const Rectangle& a, const Rectangle& b) {
    const long long width = std::min(a.x + a.width, b.x + b.width) - std::max(a.x, b.x);
    const long long height = std::min(a.y + a.height, b.y + b.height) - std::max(a.y, b.y);
    return width > 0 && height > 0 ? width * height : 0;
}

Rectangle centered(const Rectangle& frame, const Rectangle& display) {
    const int width = std::min(frame.width, display.width);
    const int height = std::min(frame.height, display.height);
    return {display.x + (display.width - width) / 2, display.y + (display.height - height) / 2, width,
            height};
}

/// The same place on another display; shrunk where it would not fit, never enlarged.
Rectangle carriedOver(const Rectangle& frame, const Rectangle& from, const Rectangle& to) {
    Rectangle result = frame;
    result.width = std::min(frame.width, to.width);
    result.height = std::min(frame.height, to.height);
    // The free space beside the window keeps its proportion.
    const auto place = [](int offset, int oldSpace, int newSpace) {
        return oldSpace <= 0 ? newSpace / 2
                             : static_cast<int>(static_cast<long long>(std::clamp(offset, 0, oldSpace)) *
                                                newSpace / oldSpace);
    };
    result.x = to.x + place(frame.x - from.x, from.width - frame.width, to.width - result.width);
    result.y = to.y + place(frame.y - from.y, from.height - frame.height, to.height - result.height);
    return result;
}

std::expected<ArrangementPlan, std::string> planRestore(const WindowGeometry& geometry) {
    if (geometry.remembered)
        return ArrangementPlan{.frame = geometry.remembered, .forget = true};
    if (geometry.isMaximized)
        return ArrangementPlan{};
    return std::unexpected(localized("The window has no earlier place to go back to."));
}

std::expected<ArrangementPlan, std::string> planNextDisplay(const WindowGeometry& geometry,
                                                            std::size_t display) {
    if (geometry.displays.size() < 2)
        return std::unexpected(localized("There is only one display."));
    const Rectangle& to = geometry.displays[(display + 1) % geometry.displays.size()];
    return ArrangementPlan{.frame = carriedOver(geometry.frame, geometry.displays[display], to),
                           .maximize = geometry.isMaximized};
}

} // namespace

std::size_t displayShowing(const Rectangle& frame, const std::vector<Rectangle>& displays) {
    std::size_t best = 0;
    for (std::size_t i = 1; i < displays.size(); ++i)
        if (overlap(frame, displays[i]) > overlap(frame, displays[best]))
            best = i;
    return best;
}

Rectangle usableArea(const Rectangle& display, const Rectangle& screen,
                     const std::vector<ScreenStrut>& struts) {
    int left = display.x, top = display.y, right = display.x + display.width,
        bottom = display.y + display.height;
    for (const ScreenStrut& strut : struts) {
        const bool isVertical =
            strut.edge == ScreenStrut::Edge::left || strut.edge == ScreenStrut::Edge::right;
        const int from = isVertical ? display.y : display.x;
        const int to = from + (isVertical ? display.height : display.width);
        if (strut.thickness <= 0 || strut.to < from || strut.from >= to)
            continue;
        int l = left, t = top, r = right, b = bottom;
        switch (strut.edge) {
        case ScreenStrut::Edge::left:
            l = std::max(l, screen.x + strut.thickness);
            break;
        case ScreenStrut::Edge::right:
            r = std::min(r, screen.x + screen.width - strut.thickness);
            break;
        case ScreenStrut::Edge::top:
            t = std::max(t, screen.y + strut.thickness);
            break;
        case ScreenStrut::Edge::bottom:
            b = std::min(b, screen.y + screen.height - strut.thickness);
            break;
        }
        if (l < r && t < b)
            left = l, top = t, right = r, bottom = b;
    }
    return {left, top, right - left, bottom - top};
}

std::string_view arrangementName(WindowArrangement arrangement) {
    return rowOf(arrangement).name;
}

std::optional<WindowArrangement> arrangementNamed(std::string_view name) {
    // "leftHalf", "Left half" and "left_half" are what people and older configurations write.
    const auto letters = [](std::string_view text) {
        std::string result;
        for (const char c : text)
            if (c != '-' && c != '_' && c != ' ')
                result += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        return result;
    };
    const std::string wanted = letters(name);
    for (const ArrangementRow& row : kArrangements)
        if (letters(row.name) == wanted)
            return row.arrangement;
    return std::nullopt;
}

std::expected<ArrangementPlan, std::string> planArrangement(WindowArrangement arrangement,
                                                            const WindowGeometry& geometry) {
    if (geometry.displays.empty())
        return std::unexpected(localized("There is no display."));
    if (arrangement == restore)
        return planRestore(geometry);
    const std::size_t display = displayShowing(geometry.frame, geometry.displays);
    if (arrangement == nextDisplay)
        return planNextDisplay(geometry, display);
    ArrangementPlan plan;
    if (!geometry.remembered && !geometry.isMaximized)
        plan.remember = geometry.frame;
    if (arrangement == maximize)
        plan.maximize = true;
    else if (const auto& share = rowOf(arrangement).share)
        plan.frame = part(geometry.displays[display], *share);
    else
        plan.frame = centered(geometry.frame, geometry.displays[display]);
    return plan;
}

} // namespace varnel
