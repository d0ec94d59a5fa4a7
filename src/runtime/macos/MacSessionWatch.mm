#include "runtime/macos/MacSessionWatch.h"

#import <AppKit/AppKit.h>

#include <utility>
#include <vector>

namespace varnel {

struct MacSessionWatch::Native {
    struct Registration {
        NSNotificationCenter* center;
        id<NSObject> token;
    };
    std::vector<Registration> registrations;
    std::shared_ptr<std::function<void(SessionEvent)>> call;

    /// The block may run on any thread; what it posts is dropped once the watch is gone.
    void watch(NSNotificationCenter* center, NSString* name, SessionEvent event, EventLoop* posts) {
        std::weak_ptr<std::function<void(SessionEvent)>> weak = call;
        id<NSObject> token = [center addObserverForName:name
                                                 object:nil
                                                  queue:nil
                                             usingBlock:^(NSNotification*) {
                                               posts->post([weak, event] {
                                                   if (const auto observe = weak.lock())
                                                       (*observe)(event);
                                               });
                                             }];
        registrations.push_back({center, token});
    }
};

MacSessionWatch::MacSessionWatch(EventLoop& loop) : loop_(loop), native_(std::make_unique<Native>()) {}

MacSessionWatch::~MacSessionWatch() {
    for (const Native::Registration& registration : native_->registrations)
        [registration.center removeObserver:registration.token];
}

void MacSessionWatch::start(std::function<void(SessionEvent)> observer) {
    native_->call = std::make_shared<std::function<void(SessionEvent)>>(std::move(observer));
    NSNotificationCenter* workspace = NSWorkspace.sharedWorkspace.notificationCenter;
    NSNotificationCenter* everybody = NSDistributedNotificationCenter.defaultCenter;
    const auto watch = [this](NSNotificationCenter* center, NSString* name, SessionEvent event) {
        native_->watch(center, name, event, &loop_);
    };
    watch(workspace, NSWorkspaceWillSleepNotification, SessionEvent::fallingAsleep);
    watch(workspace, NSWorkspaceDidWakeNotification, SessionEvent::awake);
    // Another user takes the screen over.
    watch(workspace, NSWorkspaceSessionDidResignActiveNotification, SessionEvent::locked);
    watch(workspace, NSWorkspaceSessionDidBecomeActiveNotification, SessionEvent::unlocked);
    watch(everybody, @"com.apple.screenIsLocked", SessionEvent::locked);
    watch(everybody, @"com.apple.screenIsUnlocked", SessionEvent::unlocked);
}

} // namespace varnel
