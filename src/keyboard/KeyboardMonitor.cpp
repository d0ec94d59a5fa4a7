#include "keyboard/KeyboardMonitor.h"

#include "keyboard/KeyboardTokenStream.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <bitset>
#include <utility>

namespace varnel {

/// What the tap's callback works on. The callback holds it weakly and keeps it alive while it runs, so a
/// handler may stop or destroy the monitor.
struct KeyboardMonitor::Core {
    Core(EventLoop& eventLoop, std::function<Duration()> tapThreshold, KeyTokenHandler tokenHandler)
        : loop(eventLoop)
        , handler(std::move(tokenHandler))
        , tokenStream([this] { return now(); }, std::move(tapThreshold)) {}

    /// The time of the event being handled, else the clock's.
    [[nodiscard]] TimePoint now() const { return eventTime ? *eventTime : loop.now(); }

    TapVerdict receive(const KeyboardEvent& event);
    [[nodiscard]] bool completesPanicKeys(const KeyboardEvent& event);
    void postedByUs(const KeyboardEvent& event) const;
    void stop();
    void suppress(std::optional<Duration> duration, const std::weak_ptr<Core>& self);
    void endSuppression();

    EventLoop& loop;
    KeyTokenHandler handler;
    KeyboardTokenStream tokenStream;
    std::unique_ptr<KeyboardEventTapSession> eventTapSession;
    KeyInterest interest;
    KeyboardNotices notices;
    PanicKeys panicKeys;
    std::optional<TimePoint> suppressUntil; ///< everything is swallowed before it
    Subscription suppressTimer;
    std::optional<TimePoint> eventTime;
    std::bitset<0x10000> swallowedPresses; ///< keys whose last press was swallowed
    std::uint64_t sessionNumber = 0;
};

namespace {

/// Sets a value for as long as it lives; the event within an event gets its own time and the outer one its
/// again.
class EventTimeScope {
public:
    EventTimeScope(std::optional<TimePoint>& slot, TimePoint time)
        : slot_(slot)
        , before_(std::exchange(slot, time)) {}
    ~EventTimeScope() { slot_ = before_; }
    EventTimeScope(const EventTimeScope&) = delete;
    EventTimeScope& operator=(const EventTimeScope&) = delete;

private:
    std::optional<TimePoint>& slot_;
    std::optional<TimePoint> before_;
};

} // namespace

TapVerdict KeyboardMonitor::Core::receive(const KeyboardEvent& event) {
    const EventTimeScope scope(eventTime, event.time);
    const bool isKeyDown = event.type == KeyboardEvent::Type::keyDown;
    const std::uint64_t session = sessionNumber;
    if (completesPanicKeys(event)) {
        if (isKeyDown)
            swallowedPresses[event.keyCode] = true;
        notices.panicKeysHeld();
        return TapVerdict::swallow;
    }
    if (event.type == KeyboardEvent::Type::postedByUs) {
        postedByUs(event);
        return TapVerdict::pass;
    }
    const StreamToken* token = tokenStream.feed(event);
    if (event.type == KeyboardEvent::Type::modifiersUsed)
        return TapVerdict::pass;
    if (isKeyDown && event.isRepeat)
        return swallowedPresses[event.keyCode] ? TapVerdict::swallow : TapVerdict::pass;
    if (const auto& late = tokenStream.lateRelease(); late && notices.heldTooLong)
        notices.heldTooLong(late->modifier, late->held, late->limit, event.time);

    const bool consumed = token && handler(token->text, event.time);
    const bool isSuppressed = suppressUntil && event.time < *suppressUntil;
    const bool isSwallowed = consumed || isSuppressed;
    if (isKeyDown && session == sessionNumber)
        swallowedPresses[event.keyCode] = isSwallowed;
    return isSwallowed ? TapVerdict::swallow : TapVerdict::pass;
}

/// Asks the session only where ctrl is held: everywhere else the press cannot be the one.
bool KeyboardMonitor::Core::completesPanicKeys(const KeyboardEvent& event) {
    const bool isPress =
        event.type == KeyboardEvent::Type::keyDown || event.type == KeyboardEvent::Type::flagsChanged;
    if (!isPress || event.isSynthetic || !notices.panicKeysHeld || !PanicKeys::isOne(event.keyCode) ||
        !(event.flags & kControlFlag))
        return false;
    const auto held = eventTapSession->panicKeysHeldByHand();
    const auto kind = event.isRepeat ? PanicKeys::Press::repeat : PanicKeys::Press::first;
    return held && panicKeys.press(event.keyCode, kind, *held);
}

void KeyboardMonitor::Core::postedByUs(const KeyboardEvent& event) const {
    if (!notices.postedByUs)
        return;
    std::string token;
    KeyTokenCodec::formatLive(event.keyCode, event.flags, token);
    notices.postedByUs(token, event.time);
}

void KeyboardMonitor::Core::stop() {
    if (auto session = std::exchange(eventTapSession, nullptr)) {
        ++sessionNumber;
        session->invalidate();
        swallowedPresses.reset();
        // From inside its own callback the session must not be destroyed before that has returned.
        if (eventTime)
            loop.post([retired = std::shared_ptr(std::move(session))] {});
    }
    tokenStream.reset();
    endSuppression();
}

void KeyboardMonitor::Core::suppress(std::optional<Duration> duration, const std::weak_ptr<Core>& self) {
    suppressTimer.reset();
    suppressUntil = duration ? now() + *duration : TimePoint::max();
    if (!duration)
        return;
    suppressTimer = loop.after(std::max(*suppressUntil - loop.now(), Duration::zero()), [self] {
        if (auto core = self.lock())
            core->endSuppression();
    });
}

void KeyboardMonitor::Core::endSuppression() {
    suppressTimer.reset();
    suppressUntil.reset();
}

KeyboardMonitor::KeyboardMonitor(EventLoop& loop, KeyboardEventTapSessionCreating& eventTapFactory,
                                 std::function<Duration()> tapThreshold, KeyTokenHandler handler)
    : eventTapFactory_(eventTapFactory)
    , core_(std::make_shared<Core>(loop, std::move(tapThreshold), std::move(handler))) {}

KeyboardMonitor::~KeyboardMonitor() {
    core_->stop();
}

bool KeyboardMonitor::start() {
    stop();
    core_->eventTapSession =
        eventTapFactory_.createSession([weak = std::weak_ptr(core_)](const KeyboardEvent& event) {
            const auto core = weak.lock();
            return core && core->eventTapSession ? core->receive(event) : TapVerdict::pass;
        });
    if (!core_->eventTapSession)
        return false;
    core_->eventTapSession->setInterest(core_->interest);
    core_->eventTapSession->enable();
    return true;
}

void KeyboardMonitor::stop() {
    core_->stop();
}

void KeyboardMonitor::suppress(std::optional<Duration> duration) {
    core_->suppress(duration, core_);
}

void KeyboardMonitor::endSuppression() {
    core_->endSuppression();
}

void KeyboardMonitor::setInterest(const KeyInterest& interest) {
    const bool watchesPanicKeysAgain = interest.panicChords && !core_->interest.panicChords;
    core_->interest = interest;
    if (!core_->eventTapSession)
        return;
    // Nobody has told meanwhile whether they were let go.
    if (watchesPanicKeysAgain)
        core_->panicKeys.look(core_->eventTapSession->panicKeysHeldByHand().value_or(PanicKeySet{}));
    core_->eventTapSession->setInterest(interest);
}

bool KeyboardMonitor::isKeyboardHeldElsewhere() const {
    return core_->eventTapSession && core_->eventTapSession->isKeyboardHeldElsewhere();
}

void KeyboardMonitor::setNotices(KeyboardNotices notices) {
    core_->notices = std::move(notices);
}

std::string KeyboardMonitor::trouble() const {
    return core_->eventTapSession ? core_->eventTapSession->trouble() : std::string();
}

KeyboardMonitorFactory::KeyboardMonitorFactory(EventLoop& loop,
                                               KeyboardEventTapSessionCreating& eventTapFactory,
                                               std::function<Duration()> tapThreshold)
    : loop_(loop)
    , eventTapFactory_(eventTapFactory)
    , tapThreshold_(std::move(tapThreshold)) {}

std::unique_ptr<KeyboardMonitoring> KeyboardMonitorFactory::createMonitor(KeyTokenHandler handler) {
    return std::make_unique<KeyboardMonitor>(loop_, eventTapFactory_, tapThreshold_, std::move(handler));
}

} // namespace varnel
