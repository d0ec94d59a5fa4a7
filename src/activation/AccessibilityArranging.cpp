#include "activation/AccessibilityArranging.h"

#include "base/Localized.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace varnel {
namespace {

constexpr const char* kPosition = "AXPosition";
constexpr const char* kSize = "AXSize";
constexpr const char* kFullScreen = "AXFullScreen";
constexpr const char* kAnimatesChanges = "AXEnhancedUserInterface";

/// Leaving full screen is an animation of most of a second.
constexpr int kFullScreenLooks = 100;
constexpr int kStillLooks = 5;
/// Programs round what they are given, terminals to whole characters.
constexpr int kTolerance = 2;

int rounded(double value) {
    return static_cast<int>(std::lround(value));
}

bool isNear(const Rectangle& a, const Rectangle& b) {
    const auto near = [](int x, int y) { return std::abs(x - y) <= kTolerance; };
    return near(a.x, b.x) && near(a.y, b.y) && near(a.width, b.width) && near(a.height, b.height);
}

ScreenPoint originOf(const Rectangle& frame) {
    return {static_cast<double>(frame.x), static_cast<double>(frame.y)};
}
ScreenSize sizeOf(const Rectangle& frame) {
    return {static_cast<double>(frame.width), static_cast<double>(frame.height)};
}

WindowError nothingInFront() {
    return {localized("There is no window in front to arrange.")};
}

WindowError noAnswer(AccessibilityResult result) {
    if (result == AccessibilityResult::cannotComplete)
        return {localized("The application in front does not answer.")};
    return nothingInFront();
}

/// Some programs keep a window larger than asked: it is moved so far that the display still shows it.
Rectangle movedInto(Rectangle frame, const Rectangle& asked, const Rectangle& display) {
    if (frame.width <= asked.width && frame.height <= asked.height)
        return frame;
    frame.x = std::max(display.x, std::min(frame.x, display.x + display.width - frame.width));
    frame.y = std::max(display.y, std::min(frame.y, display.y + display.height - frame.height));
    return frame;
}

} // namespace

std::vector<Rectangle> displaysOf(const std::vector<ScreenFrames>& screens) {
    std::vector<Rectangle> displays;
    if (screens.empty())
        return displays;
    const ScreenRectangle& main = screens.front().frame;
    const double top = main.origin.y + main.size.height;
    for (const ScreenFrames& screen : screens) {
        const auto& [origin, size] = screen.visibleFrame;
        displays.push_back({rounded(origin.x), rounded(top - origin.y - size.height), rounded(size.width),
                            rounded(size.height)});
    }
    return displays;
}

/// The window to arrange.
struct AccessibilityArranging::Target {
    ProcessIdentifier process = 0;
    AccessibilityElement application;
    AccessibilityElement window;
    Rectangle frame = {};
};

std::expected<void, WindowError> AccessibilityArranging::arrange(WindowArrangement arrangement) {
    if (!table_.isProcessTrusted())
        return std::unexpected(WindowError{localized("Windows cannot be arranged. Allow Varnel under Privacy "
                                                     "& Security, Accessibility in the system's "
                                                     "settings.")});
    auto target = findTarget();
    if (!target)
        return std::unexpected(target.error());
    if (const auto left = leaveFullScreen(*target); !left)
        return left;

    const std::optional<WindowNumber> number = numberOf(*target);
    const WindowIdentity identity{target->process, number.value_or(0)};
    WindowGeometry geometry{.frame = target->frame, .displays = displaysOf(table_.screens())};
    if (number)
        geometry.remembered = store_.frame(identity);
    // There is no such state here: a window counts as maximised when it fills its screen because of us.
    geometry.isMaximized =
        geometry.remembered && !geometry.displays.empty() &&
        isNear(geometry.frame, geometry.displays[displayShowing(geometry.frame, geometry.displays)]);
    const auto plan = planArrangement(arrangement, geometry);
    if (!plan)
        return std::unexpected(WindowError{plan.error()});

    Rectangle frame = plan->frame.value_or(geometry.frame);
    const Rectangle& display = geometry.displays[displayShowing(frame, geometry.displays)];
    if (plan->maximize)
        frame = display;
    if (plan->remember && number)
        remember(identity, plan->remember);
    const auto done = place(*target, frame, display);
    if (done && plan->forget && number)
        remember(identity, std::nullopt);
    return done;
}

std::expected<AccessibilityArranging::Target, WindowError> AccessibilityArranging::findTarget() const {
    const auto process = table_.frontmostProcess();
    if (!process || *process == ownProcess_)
        return std::unexpected(nothingInFront());
    const AccessibilityElement application = table_.applicationElement(*process);
    auto window = table_.copyElement(application, "AXFocusedWindow");
    if (!window && window.error() != AccessibilityResult::cannotComplete)
        window = table_.copyElement(application, "AXMainWindow");
    if (!window)
        return std::unexpected(noAnswer(window.error()));
    if (table_.copyBoolean(*window, "AXMinimized").value_or(false))
        return std::unexpected(nothingInFront());
    const auto frame = frameOf(*window);
    if (!frame)
        return std::unexpected(frame.error());
    return Target{*process, application, *window, *frame};
}

std::expected<Rectangle, WindowError>
AccessibilityArranging::frameOf(const AccessibilityElement& window) const {
    const auto origin = table_.copyPoint(window, kPosition);
    const auto size = origin ? table_.copySize(window, kSize) : std::unexpected(origin.error());
    if (!size)
        return std::unexpected(noAnswer(size.error()));
    return Rectangle{rounded(origin->x), rounded(origin->y), rounded(size->width), rounded(size->height)};
}

/// Without the function that knows it, the number of the process' front window at exactly this place.
std::optional<WindowNumber> AccessibilityArranging::numberOf(const Target& target) const {
    if (const auto number = table_.windowNumber(target.window))
        return number;
    for (const WindowListEntry& entry : table_.onScreenWindows())
        if (entry.layer == 0 && entry.process == target.process && entry.bounds == target.frame)
            return entry.number;
    return std::nullopt;
}

AccessibilityArranging::Done AccessibilityArranging::leaveFullScreen(Target& target) const {
    const auto isFullScreen = [&] { return table_.copyBoolean(target.window, kFullScreen).value_or(false); };
    if (!isFullScreen())
        return {};
    (void)table_.setBoolean(target.window, kFullScreen, false);
    // The window has left once it says so and keeps still.
    int still = 0;
    for (int look = 0; look < kFullScreenLooks; ++look) {
        table_.pause();
        if (isFullScreen())
            continue;
        const auto frame = frameOf(target.window);
        if (!frame)
            return std::unexpected(frame.error());
        still = target.frame == *frame ? still + 1 : 0;
        target.frame = *frame;
        if (still == kStillLooks)
            return {};
    }
    return std::unexpected(WindowError{localized("The window did not leave full screen.")});
}

AccessibilityArranging::Done AccessibilityArranging::place(const Target& target, const Rectangle& frame,
                                                           const Rectangle& display) const {
    // Programs that assistive software is at work with animate each change, and stop the one before half-way.
    const bool animates = table_.copyBoolean(target.application, kAnimatesChanges).value_or(false);
    if (animates)
        (void)table_.setBoolean(target.application, kAnimatesChanges, false);
    // The system shrinks what would stick out of the screen where the window still is, hence twice.
    (void)table_.setSize(target.window, kSize, sizeOf(frame));
    const AccessibilityResult moved = table_.setPoint(target.window, kPosition, originOf(frame));
    if (moved == AccessibilityResult::success) {
        (void)table_.setSize(target.window, kSize, sizeOf(frame));
        if (const auto actual = frameOf(target.window))
            if (const Rectangle inside = movedInto(*actual, frame, display); inside != *actual)
                (void)table_.setPoint(target.window, kPosition, originOf(inside));
    }
    if (animates)
        (void)table_.setBoolean(target.application, kAnimatesChanges, true);
    if (moved == AccessibilityResult::success)
        return {};
    if (moved == AccessibilityResult::cannotComplete)
        return std::unexpected(noAnswer(moved));
    return std::unexpected(WindowError{localized("The window in front cannot be moved.")});
}

void AccessibilityArranging::remember(const WindowIdentity& window, const std::optional<Rectangle>& frame) {
    std::set<WindowIdentity> alive;
    for (const WindowListEntry& entry : table_.allWindows())
        alive.insert({entry.process, entry.number});
    // A place that cannot be kept is no reason not to arrange the window.
    (void)store_.keep(window, frame, [&](const WindowIdentity& each) { return alive.contains(each); });
}

} // namespace varnel
