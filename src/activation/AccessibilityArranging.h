#pragma once

#include "activation/RunningWindows.h"
#include "activation/WindowFrameStore.h"
#include "activation/WindowGeometry.h"
#include "activation/WindowListing.h"

#include <functional>
#include <optional>
#include <vector>

namespace varnel {

/// In points; macOS counts some upwards from the bottom of the main screen, some downwards from its top.
struct ScreenPoint {
    double x = 0, y = 0;
    friend bool operator==(const ScreenPoint&, const ScreenPoint&) = default;
};
struct ScreenSize {
    double width = 0, height = 0;
    friend bool operator==(const ScreenSize&, const ScreenSize&) = default;
};
struct ScreenRectangle {
    ScreenPoint origin;
    ScreenSize size;
    friend bool operator==(const ScreenRectangle&, const ScreenRectangle&) = default;
};

/// A screen as AppKit tells of it: upwards from the bottom left corner of the main one.
struct ScreenFrames {
    ScreenRectangle frame;
    ScreenRectangle visibleFrame; ///< without the menu bar and the Dock
};
/// What the screens offer to windows, the main one first, as accessibility counts: downwards from the top
/// left corner of the main screen, which is the first of the list.
std::vector<Rectangle> displaysOf(const std::vector<ScreenFrames>& screens);

/// What macOS offers for moving another program's window. Attributes carry the system's names ("AXPosition").
struct WindowArrangingTable {
    template <typename Value>
    using Answer = std::expected<Value, AccessibilityResult>;

    std::function<bool()> isProcessTrusted;
    std::function<std::optional<ProcessIdentifier>()> frontmostProcess;
    std::function<std::vector<ScreenFrames>()> screens;
    std::function<std::vector<WindowListEntry>()> onScreenWindows; ///< front to back
    std::function<std::vector<WindowListEntry>()> allWindows;
    /// Knows more than the list does, but only where the system has the function.
    std::function<std::optional<WindowNumber>(const AccessibilityElement&)> windowNumber;

    std::function<AccessibilityElement(ProcessIdentifier)> applicationElement;
    std::function<Answer<AccessibilityElement>(const AccessibilityElement&, const char* attribute)>
        copyElement;
    std::function<Answer<bool>(const AccessibilityElement&, const char*)> copyBoolean;
    std::function<Answer<ScreenPoint>(const AccessibilityElement&, const char*)> copyPoint;
    std::function<Answer<ScreenSize>(const AccessibilityElement&, const char*)> copySize;
    std::function<AccessibilityResult(const AccessibilityElement&, const char*, bool)> setBoolean;
    std::function<AccessibilityResult(const AccessibilityElement&, const char*, ScreenPoint)> setPoint;
    std::function<AccessibilityResult(const AccessibilityElement&, const char*, ScreenSize)> setSize;

    std::function<void()> pause; ///< lets some milliseconds pass
};

/// Arranges the window that has the keyboard through the accessibility service. To maximise is to fill what
/// the menu bar and the Dock leave of the window's screen; a window in full screen leaves that first. Blocks
/// for at most a few seconds. One thread.
class AccessibilityArranging {
public:
    /// `store` must outlive it. Windows of `ownProcess` are left alone.
    AccessibilityArranging(WindowArrangingTable table, WindowFrameStore& store, ProcessIdentifier ownProcess)
        : table_(std::move(table))
        , store_(store)
        , ownProcess_(ownProcess) {}

    /// The error is a sentence for the user.
    std::expected<void, WindowError> arrange(WindowArrangement arrangement);

private:
    struct Target;
    using Done = std::expected<void, WindowError>;

    [[nodiscard]] std::expected<Target, WindowError> findTarget() const;
    [[nodiscard]] std::expected<Rectangle, WindowError> frameOf(const AccessibilityElement& window) const;
    [[nodiscard]] std::optional<WindowNumber> numberOf(const Target& target) const;
    [[nodiscard]] Done leaveFullScreen(Target& target) const;
    [[nodiscard]] Done place(const Target& target, const Rectangle& frame, const Rectangle& display) const;
    void remember(const WindowIdentity& window, const std::optional<Rectangle>& frame);

    WindowArrangingTable table_;
    WindowFrameStore& store_;
    ProcessIdentifier ownProcess_;
};

} // namespace varnel
