#include "overlay/PanelSurroundings.h"
#include "overlay/macos/KeyTranslation.h"

#import <AppKit/AppKit.h>

namespace varnel {
namespace {

NSWindow* windowOf(PanelTable::View view) {
    return ((__bridge NSView*)reinterpret_cast<void*>(view)).window;
}

PanelTable systemPanel() {
    using View = PanelTable::View;
    return {
        .styleMask = [](View view) { return static_cast<std::uint64_t>(windowOf(view).styleMask); },
        .setStyleMask = [](View view, std::uint64_t mask) { windowOf(view).styleMask = mask; },
        .setLevel = [](View view, std::int64_t level) { windowOf(view).level = level; },
        .setCollectionBehavior = [](View view,
                                    std::uint64_t behavior) { windowOf(view).collectionBehavior = behavior; },
        .setHidesOnDeactivate = [](View view, bool hides) { windowOf(view).hidesOnDeactivate = hides; },
        .setIgnoresMouseEvents = [](View view, bool ignores) { windowOf(view).ignoresMouseEvents = ignores; },
        .setAnimationBehavior = [](View view,
                                   std::int64_t behavior) { windowOf(view).animationBehavior = behavior; },
        .accessibilityDisplayShouldReduceMotion =
            [] {
                @autoreleasepool {
                    return static_cast<bool>(
                        NSWorkspace.sharedWorkspace.accessibilityDisplayShouldReduceMotion);
                }
            },
        .mainScreenCenter =
            [] {
                @autoreleasepool {
                    // The platform counts from the lower left corner of the first screen, which is at 0, 0.
                    const NSRect main = NSScreen.mainScreen.frame;
                    NSRect first = main;
                    for (NSScreen* screen in NSScreen.screens)
                        if (screen.frame.origin.x == 0 && screen.frame.origin.y == 0)
                            first = screen.frame;
                    return std::pair<double, double>(main.origin.x + main.size.width / 2,
                                                     first.size.height - main.origin.y -
                                                         main.size.height / 2);
                }
            },
        .translateKey = translateKey};
}

} // namespace

std::unique_ptr<OverlaySurroundings> makeOverlaySurroundings(EventLoop&) {
    return std::make_unique<PanelSurroundings>(systemPanel());
}

} // namespace varnel
