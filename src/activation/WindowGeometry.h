#pragma once

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// In pixels from the top left of all displays.
struct Rectangle {
    int x = 0, y = 0, width = 0, height = 0;
    friend bool operator==(const Rectangle&, const Rectangle&) = default;
};

/// A strip along an edge of the whole screen that a panel keeps for itself: its thickness, counted from the
/// screen's edge, and the stretch along that edge.
struct ScreenStrut {
    enum class Edge { left, right, top, bottom } edge = Edge::top;
    int thickness = 0;
    int from = 0, to = 0; ///< inclusive
};
/// What panels leave of a display. A strut that would leave nothing is passed over.
Rectangle usableArea(const Rectangle& display, const Rectangle& screen,
                     const std::vector<ScreenStrut>& struts);

/// Where a window is and may go.
struct WindowGeometry {
    Rectangle frame = {}; ///< with its decorations
    bool isMaximized = false;
    /// What each display offers to windows (without panels), the main one first.
    std::vector<Rectangle> displays = {};
    std::optional<Rectangle> remembered = std::nullopt; ///< the frame before the first arrangement
};

/// Which of the displays (there is one at least) shows most of the frame; the first when none shows any.
std::size_t displayShowing(const Rectangle& frame, const std::vector<Rectangle>& displays);

/// The ways to arrange a window, in the order in which they are offered.
enum class WindowArrangement {
    leftHalf,
    rightHalf,
    topHalf,
    bottomHalf,
    topLeftQuarter,
    topRightQuarter,
    bottomLeftQuarter,
    bottomRightQuarter,
    leftThird,
    centerThird,
    rightThird,
    leftTwoThirds,
    rightTwoThirds,
    center,
    maximize,
    restore,
    nextDisplay,
};
/// The word used in configurations: "left-half", "maximize", …
std::string_view arrangementName(WindowArrangement arrangement);
/// Ignores case and how the words are joined.
std::optional<WindowArrangement> arrangementNamed(std::string_view name);

/// What to do to the window.
struct ArrangementPlan {
    std::optional<Rectangle> frame = std::nullopt; ///< the new frame; absent when only maximisation changes
    bool maximize = false;
    std::optional<Rectangle> remember = std::nullopt; ///< to be kept for a later restore
    bool forget = false;                              ///< the kept one has served
    friend bool operator==(const ArrangementPlan&, const ArrangementPlan&) = default;
};
/// The error is a sentence for the user, for example when there is only one display.
std::expected<ArrangementPlan, std::string> planArrangement(WindowArrangement arrangement,
                                                            const WindowGeometry& geometry);

} // namespace varnel
