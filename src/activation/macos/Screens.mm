#include "activation/macos/SystemActivation.h"

#import <AppKit/AppKit.h>

namespace varnel {

namespace {

ScreenRectangle rectangleOf(NSRect rectangle) {
    return {{rectangle.origin.x, rectangle.origin.y}, {rectangle.size.width, rectangle.size.height}};
}

} // namespace

std::vector<ScreenFrames> systemScreens() {
    @autoreleasepool {
        std::vector<ScreenFrames> screens;
        for (NSScreen* screen in NSScreen.screens)
            screens.push_back({rectangleOf(screen.frame), rectangleOf(screen.visibleFrame)});
        return screens;
    }
}

} // namespace varnel
