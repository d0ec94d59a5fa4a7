#include "base/macos/RunLoopEventLoop.h"

#include "base/macos/CoreFoundationValues.h"

#include <algorithm>
#include <utility>

namespace varnel {

namespace {

constexpr double kNever = 1e10; // seconds

/// A descriptor that the run loop looks at. The system disarms it with every call.
class WatchedDescriptor {
public:
    WatchedDescriptor(int descriptor, CallbackList& callbacks)
        : descriptor_(descriptor)
        , callbacks_(callbacks) {
        const CFFileDescriptorContext context{0, this, nullptr, nullptr, nullptr};
        file_.reset(CFFileDescriptorCreate(kCFAllocatorDefault, descriptor, false, readable, &context));
        source_.reset(CFFileDescriptorCreateRunLoopSource(kCFAllocatorDefault, file_.get(), 0));
        CFFileDescriptorEnableCallBacks(file_.get(), kCFFileDescriptorReadCallBack);
        CFRunLoopAddSource(CFRunLoopGetMain(), source_.get(), kCFRunLoopCommonModes);
    }
    ~WatchedDescriptor() { CFFileDescriptorInvalidate(file_.get()); }
    WatchedDescriptor(const WatchedDescriptor&) = delete;
    WatchedDescriptor& operator=(const WatchedDescriptor&) = delete;

private:
    static void readable(CFFileDescriptorRef file, CFOptionFlags, void* context) {
        // Armed again before the call, which may end the watch and this object.
        CFFileDescriptorEnableCallBacks(file, kCFFileDescriptorReadCallBack);
        const auto* watch = static_cast<WatchedDescriptor*>(context);
        CallbackList& callbacks = watch->callbacks_;
        callbacks.call(watch->descriptor_);
    }

    int descriptor_;
    CallbackList& callbacks_;
    CoreFoundationOwned<CFFileDescriptorRef> file_;
    CoreFoundationOwned<CFRunLoopSourceRef> source_;
};

} // namespace

struct RunLoopEventLoop::Native {
    CoreFoundationOwned<CFRunLoopSourceRef> wake;
    CoreFoundationOwned<CFRunLoopTimerRef> timer;
    CoreFoundationOwned<CFRunLoopObserverRef> observer;
    std::map<int, std::unique_ptr<WatchedDescriptor>> descriptors;
};

RunLoopEventLoop::RunLoopEventLoop()
    : native_(std::make_unique<Native>()) {
    static constexpr auto kLoopOf = [](void* context) { return static_cast<RunLoopEventLoop*>(context); };

    CFRunLoopSourceContext wake{};
    wake.info = this;
    wake.perform = [](void* context) { kLoopOf(context)->runPosted(); };
    native_->wake.reset(CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &wake));
    CFRunLoopAddSource(CFRunLoopGetMain(), native_->wake.get(), kCFRunLoopCommonModes);

    CFRunLoopTimerContext timer{};
    timer.info = this;
    // A timer with an interval stays valid after it has fired.
    native_->timer.reset(CFRunLoopTimerCreate(
        kCFAllocatorDefault, CFAbsoluteTimeGetCurrent() + kNever, kNever, 0, 0,
        [](CFRunLoopTimerRef, void* context) { kLoopOf(context)->runTimers(); }, &timer));
    CFRunLoopAddTimer(CFRunLoopGetMain(), native_->timer.get(), kCFRunLoopCommonModes);

    CFRunLoopObserverContext observer{};
    observer.info = this;
    native_->observer.reset(CFRunLoopObserverCreate(
        kCFAllocatorDefault, kCFRunLoopBeforeWaiting | kCFRunLoopAfterWaiting, true, 0,
        [](CFRunLoopObserverRef, CFRunLoopActivity activity, void* context) {
            const Phase phase = activity == kCFRunLoopBeforeWaiting ? Phase::beforeSleep : Phase::afterWake;
            kLoopOf(context)->observers_.call(static_cast<int>(phase));
        },
        &observer));
    CFRunLoopAddObserver(CFRunLoopGetMain(), native_->observer.get(), kCFRunLoopCommonModes);
    watches_.onChange([this] { updateWatches(); });
}

RunLoopEventLoop::~RunLoopEventLoop() {
    watches_.onChange(nullptr);
    CFRunLoopSourceInvalidate(native_->wake.get());
    CFRunLoopTimerInvalidate(native_->timer.get());
    CFRunLoopObserverInvalidate(native_->observer.get());
}

TimePoint RunLoopEventLoop::now() const {
    return std::chrono::steady_clock::now();
}

void RunLoopEventLoop::post(Task task) {
    if (!posted_.add(std::move(task)))
        return;
    CFRunLoopSourceSignal(native_->wake.get());
    CFRunLoopWakeUp(CFRunLoopGetMain());
}

Subscription RunLoopEventLoop::after(Duration delay, Task task) {
    auto subscription = timers_.add(now() + std::max(delay, Duration::zero()), std::move(task));
    armTimer();
    return subscription;
}

Subscription RunLoopEventLoop::watchReadable(int descriptor, Task task) {
    return watches_.add(descriptor, std::move(task));
}

Subscription RunLoopEventLoop::observe(Phase phase, Task task) {
    return observers_.add(static_cast<int>(phase), std::move(task));
}

void RunLoopEventLoop::run() {
    if (!posted_.empty()) // left over when the last run ended
        CFRunLoopSourceSignal(native_->wake.get());
    armTimer();
    while (!quit_)
        CFRunLoopRun();
    quit_ = false;
}

void RunLoopEventLoop::quit() {
    quit_ = true;
    CFRunLoopStop(CFRunLoopGetMain());
}

void RunLoopEventLoop::runPosted() {
    for (std::size_t left = posted_.size(); left > 0 && !quit_; --left)
        posted_.takeFirst()();
    if (!posted_.empty() && !quit_) {
        CFRunLoopSourceSignal(native_->wake.get());
        CFRunLoopWakeUp(CFRunLoopGetMain());
    }
}

void RunLoopEventLoop::runTimers() {
    const auto mark = timers_.mark();
    while (!quit_) {
        const Task task = timers_.takeDue(now(), mark);
        armTimer();
        if (!task)
            return;
        task();
    }
}

void RunLoopEventLoop::armTimer() {
    const auto deadline = timers_.nextDeadline();
    const double wait = deadline ? std::max(seconds(*deadline - now()), 0.0) : kNever;
    CFRunLoopTimerSetNextFireDate(native_->timer.get(), CFAbsoluteTimeGetCurrent() + wait);
}

void RunLoopEventLoop::updateWatches() {
    std::map<int, std::unique_ptr<WatchedDescriptor>> kept;
    for (const auto& entry : watches_.snapshot()) {
        auto& watch = kept[entry->tag];
        if (watch)
            continue;
        watch = std::move(native_->descriptors[entry->tag]);
        if (!watch)
            watch = std::make_unique<WatchedDescriptor>(entry->tag, watches_);
    }
    native_->descriptors = std::move(kept); // the rest is no longer looked at
}

} // namespace varnel
