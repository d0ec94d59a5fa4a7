#include "keyboard/x11/XcbTap.h"

#include "keyboard/notation/x11/XcbReply.h"

#include <sys/ioctl.h>
#include <sys/socket.h>

namespace varnel {
namespace {

constexpr std::size_t kMaximumReconnections = 5;
constexpr Duration kReconnectionWindow = 20s;
constexpr Duration kTailTime = 1s;
/// Longer than fast typing leaves between two keys, and shorter than it takes to open a menu.
constexpr Duration kIdleGrabTime = 250ms;

/// Counts calls, so that nothing is torn down beneath one.
class Depth {
public:
    explicit Depth(int& depth)
        : depth_(depth) {
        ++depth_;
    }
    ~Depth() { --depth_; }
    Depth(const Depth&) = delete;
    Depth& operator=(const Depth&) = delete;

private:
    int& depth_;
};

} // namespace

std::expected<std::shared_ptr<XcbTap>, std::string>
XcbTap::open(EventLoop& loop, const XcbKeyboardTapOptions& options, KeyboardTapCallback callback) {
    auto server = XcbServer::connect(options.displayName);
    if (!server)
        return std::unexpected(server.error());
    std::shared_ptr<XcbTap> tap(new XcbTap(loop, options, std::move(callback)));
    tap->attach(std::move(*server));
    return tap;
}

XcbTap::XcbTap(EventLoop& loop, const XcbKeyboardTapOptions& options, KeyboardTapCallback callback)
    : loop_(loop)
    , options_(options)
    , callback_(std::move(callback)) {}

XcbTap::~XcbTap() = default;

void XcbTap::attach(XcbServer server) {
    server_ = std::move(server);
    requests_.retarget({.connection = server_.connection.get(),
                        .root = server_.root,
                        .keyboard = server_.keyboard,
                        .minimumKey = server_.minimumKey,
                        .maximumKey = server_.maximumKey});
    requests_.testGuard();
    requests_.setMap(server_.loadMap());
    plans_.clear();
    findFreePanicKeys();
    clock_ = {};
    protocol_.emplace(requests_, *this);
    const int descriptor = xcb_get_file_descriptor(server_.connection.get());
    setSocket(descriptor);
    const std::weak_ptr<XcbTap> weak = weak_from_this();
    readable_ = loop_.watchReadable(descriptor, [weak] {
        if (const auto self = weak.lock())
            self->wake();
    });
    beforeSleep_ = loop_.observe(EventLoop::Phase::beforeSleep, [weak] {
        if (const auto self = weak.lock())
            self->beforeSleep();
    });
    afterWake_ = loop_.observe(EventLoop::Phase::afterWake, [weak] {
        if (const auto self = weak.lock(); self && self->watchdog_)
            self->watchdog_->workBegins();
    });
    if (enabled_)
        applyInterest();
}

void XcbTap::enable() {
    if (invalidated_ || enabled_)
        return;
    enabled_ = true;
    watchdog_.emplace(
        [this] {
            const std::lock_guard lock(socketMutex_);
            int unread = 0;
            return socket_ >= 0 && (frozen_ || (::ioctl(socket_, FIONREAD, &unread) == 0 && unread > 0));
        },
        [this] {
            // The server lets go of everything when its client is gone.
            const std::lock_guard lock(socketMutex_);
            if (socket_ >= 0)
                ::shutdown(socket_, SHUT_RDWR);
        });
    applyInterest();
    // Whoever hears that keys are being captured may type at once.
    if (protocol_)
        waitUntilInForce();
}

void XcbTap::invalidate() {
    if (invalidated_)
        return;
    invalidated_ = true;
    if (depth_ == 0)
        closeDown();
}

void XcbTap::closeDown() {
    if (protocol_) {
        // An event that waits unread goes to the application.
        requests_.removeGuard();
        requests_.answerReplay();
        requests_.answerUngrab(false);
        requests_.answerUngrab(true);
        server_.waitForRequests();
    }
    detach();
    afterWake_.reset();
    beforeSleep_.reset();
    watchdog_.reset();
}

void XcbTap::detach() {
    readable_.reset();
    reissueSoon_.reset();
    reissueLater_.reset();
    refusalsRetry_.reset();
    tailTimer_.reset();
    idleGrabTimer_.reset();
    hadTail_ = guardTold_ = false;
    setSocket(-1);
    protocol_.reset();
    server_.connection.reset();
    guard_.reset();
}

void XcbTap::setSocket(int descriptor) {
    const std::lock_guard lock(socketMutex_);
    socket_ = descriptor;
}

void XcbTap::wake() {
    drain();
}

void XcbTap::beforeSleep() {
    drain();
    if (watchdog_)
        watchdog_->workEnds();
}

void XcbTap::drain() {
    const auto self = shared_from_this();
    if (!protocol_ || depth_ > 0)
        return;
    xcb_connection_t* const connection = server_.connection.get();
    const auto handleOne = [this](xcb_generic_event_t* memory) {
        const XcbOwned<xcb_generic_event_t> event(memory);
        if (event)
            handle(*event);
        return event && !invalidated_;
    };
    do {
        while (handleOne(xcb_poll_for_event(connection))) {
        }
        if (!invalidated_ && requests_.collectReplies())
            refusalsChanged();
        // Looking for replies may have read events, for which nothing would wake us.
    } while (!invalidated_ && handleOne(xcb_poll_for_queued_event(connection)));
    if (invalidated_)
        closeDown();
    else if (xcb_connection_has_error(connection) != 0)
        connectionBroke();
}

void XcbTap::handle(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7F) {
    case XCB_GE_GENERIC: {
        const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
        if (generic.extension == server_.inputOpcode)
            handleInput(generic);
        return;
    }
    case XCB_KEY_PRESS:
    case XCB_KEY_RELEASE:
        handleCoreKey(reinterpret_cast<const xcb_key_press_event_t&>(event));
        return;
    case XCB_MAPPING_NOTIFY:
        scheduleReissue(false);
        return;
    case XCB_PROPERTY_NOTIFY:
        if (reinterpret_cast<const xcb_property_notify_event_t&>(event).atom == server_.managerAtom)
            scheduleReissue(true);
        return;
    default:
        if (server_.xkbFirstEvent != 0 && (event.response_type & 0x7F) == server_.xkbFirstEvent)
            scheduleReissue(false);
    }
}

void XcbTap::handleInput(const xcb_ge_generic_event_t& event) {
    switch (event.event_type) {
    case XCB_INPUT_KEY_PRESS:
    case XCB_INPUT_KEY_RELEASE:
        handleKey(reinterpret_cast<const xcb_input_key_press_event_t&>(event));
        return;
    case XCB_INPUT_RAW_KEY_PRESS:
    case XCB_INPUT_RAW_KEY_RELEASE:
    case XCB_INPUT_RAW_BUTTON_PRESS:
        handleRaw(reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event));
        return;
    default:
        return;
    }
}

void XcbTap::handleKey(const xcb_input_key_press_event_t& event) {
    GrabbedKey key{.key = static_cast<std::uint8_t>(event.detail),
                   .isPress = event.event_type == XCB_INPUT_KEY_PRESS,
                   .isRepeat = (event.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT) != 0,
                   .modifiers = requests_.map().withoutLocks(event.mods.effective),
                   .isSynthetic = event.sourceid == server_.postingDevice,
                   .time = event.time,
                   .settled = requests_.settled(event.full_sequence)};
    key.isOurs = key.isSynthetic && options_.ledger != nullptr &&
                 options_.ledger->take({.key = key.key, .isPress = key.isPress});
    answer(key, static_cast<std::uint8_t>(event.mods.locked));
}

void XcbTap::handleCoreKey(const xcb_key_press_event_t& event) {
    GrabbedKey key{.key = event.detail,
                   .isPress = (event.response_type & 0x7F) == XCB_KEY_PRESS,
                   .modifiers = requests_.map().withoutLocks(event.state),
                   .isCore = true,
                   .time = event.time,
                   .settled =
                       requests_.settled(reinterpret_cast<const xcb_generic_event_t&>(event).full_sequence)};
    // The core protocol does not mark repeats.
    key.isRepeat = key.isPress && protocol_->isSwallowed(key.key);
    answer(key, static_cast<std::uint8_t>(event.state));
}

void XcbTap::answer(GrabbedKey event, std::uint8_t locked) {
    const KeyboardMap& map = requests_.map();
    event.isModifier = map.isModifier(event.key);
    event.isPosting = options_.ledger != nullptr && options_.ledger->isPosting();
    const std::uint8_t locks = map.locksOf(event.key);
    const bool wasSwallowed = protocol_->isSwallowed(event.key);
    frozen_ = true;
    {
        const Depth depth(depth_);
        if (event.isOurs && event.isPress && !event.isModifier)
            tellOwnKey(event);
        requests_.checkReplies(false);
        protocol_->handle(event);
        requests_.checkReplies(true);
        // A lock acts in the server even though nobody else sees its key.
        if (locks != 0 && event.isPress && !wasSwallowed)
            locksBefore_ = locked;
        if (locks != 0 && !event.isPress && wasSwallowed)
            server_.setLocks(locks, locksBefore_ & locks);
        xcb_flush(server_.connection.get());
    }
    frozen_ = false;
    if (!invalidated_)
        followUp();
}

void XcbTap::handleRaw(const xcb_input_raw_key_press_event_t& event) {
    // The master's copies cease while the keyboard is grabbed; those of the devices themselves are complete.
    if (event.deviceid == server_.keyboard)
        return;
    const bool isButton = event.event_type == XCB_INPUT_RAW_BUTTON_PRESS;
    {
        const Depth depth(depth_);
        protocol_->handleRaw({.key = isButton ? std::uint8_t{0} : static_cast<std::uint8_t>(event.detail),
                              .isPress = event.event_type != XCB_INPUT_RAW_KEY_RELEASE,
                              .time = event.time});
        xcb_flush(server_.connection.get());
    }
    if (!invalidated_)
        followUp();
}

void XcbTap::followUp() {
    if (!protocol_)
        return;
    xcb_flush(server_.connection.get());
    const std::weak_ptr<XcbTap> weak = weak_from_this();
    if (protocol_->hasTail() && !hadTail_)
        tailTimer_ = loop_.after(kTailTime, [weak] {
            const auto self = weak.lock();
            if (!self || !self->protocol_)
                return;
            self->protocol_->dropTail();
            self->followUp();
        });
    hadTail_ = protocol_->hasTail();
    if (!protocol_->holdsIdleGrab())
        idleGrabTimer_.reset();
    else if (!idleGrabTimer_)
        dropIdleGrabAfter(interest_.mode == KeyInterest::Mode::capture ? kIdleGrabTime : Duration::zero());
    const bool holds = protocol_->holdsKeyboard();
    if (holds == guardTold_ || options_.guardProgram.empty())
        return;
    guardTold_ = holds;
    if (guard_) {
        guard_->tell(holds);
    } else if (holds && !guardWanted_) {
        // Starting it takes longer than a key may wait.
        guardWanted_ = true;
        loop_.post([weak] {
            const auto self = weak.lock();
            if (!self || !self->protocol_ || self->invalidated_)
                return;
            self->guardWanted_ = false;
            self->guard_ = std::make_unique<CaptureGuard>(self->options_.guardProgram,
                                                          self->options_.displayName, self->server_.probe);
            self->guard_->tell(self->guardTold_);
        });
    }
}

void XcbTap::dropIdleGrabAfter(Duration time) {
    idleGrabTimer_ = loop_.after(time, [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->dropIdleGrab();
    });
}

void XcbTap::dropIdleGrab() {
    idleGrabTimer_.reset();
    PostedKeyLedger* const ledger = options_.ledger;
    const std::uint64_t begun = ledger != nullptr ? ledger->postingsBegun() : 0;
    const bool isAnyDown = server_.isAnyKeyDown();
    // What was told ahead of the answer comes first.
    drain();
    if (!protocol_ || !protocol_->holdsIdleGrab())
        return;
    const auto drop = [this] {
        protocol_->dropIdleGrab();
        server_.waitForRequests();
    };
    // A key of our own that came in between would not reach the application.
    if (isAnyDown || !(ledger != nullptr ? ledger->unlessPostingSince(begun, drop) : (drop(), true)))
        dropIdleGrabAfter(kIdleGrabTime);
    followUp();
}

TapVerdict XcbTap::offer(const GrabbedKey& event) {
    const KeyboardMap& map = requests_.map();
    KeyboardEvent translated{.keyCode = map.keyCode(event.key),
                             .flags = map.flags(event.modifiers),
                             .isRepeat = event.isRepeat,
                             .time = clock_.translate(event.time, loop_.now()),
                             .isSynthetic = event.isSynthetic};
    if (event.isModifier) {
        translated.type = KeyboardEvent::Type::flagsChanged;
        translated.isRepeat = false;
        if (event.isPress)
            translated.flags |= map.flagOf(event.key);
        else
            translated.flags &= ~map.flagOf(event.key);
    }
    TapVerdict verdict = TapVerdict::pass;
    call(translated, verdict);
    return verdict;
}

void XcbTap::tellOwnKey(const GrabbedKey& event) {
    TapVerdict ignored{};
    call({.type = KeyboardEvent::Type::postedByUs,
          .keyCode = requests_.map().keyCode(event.key),
          .flags = requests_.map().flags(event.modifiers),
          .isRepeat = false,
          .time = clock_.translate(event.time, loop_.now())},
         ignored);
}

void XcbTap::offerTapRelease(std::uint8_t key, std::uint32_t time) {
    TapVerdict ignored{};
    call({.type = KeyboardEvent::Type::flagsChanged,
          .keyCode = requests_.map().keyCode(key),
          .flags = 0,
          .isRepeat = false,
          .time = clock_.translate(time, loop_.now())},
         ignored);
}

void XcbTap::offerModifiersUsed(std::uint32_t time) {
    TapVerdict ignored{};
    call({.type = KeyboardEvent::Type::modifiersUsed,
          .keyCode = 0,
          .flags = 0,
          .isRepeat = false,
          .time = clock_.translate(time, loop_.now())},
         ignored);
}

void XcbTap::call(const KeyboardEvent& event, TapVerdict& verdict) {
    if (!invalidated_ && callback_)
        verdict = callback_(event);
}

void XcbTap::connectionBroke() {
    detach();
    loop_.post([weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->reconnect();
    });
}

void XcbTap::reconnect() {
    if (invalidated_)
        return;
    const TimePoint now = loop_.now();
    while (!reconnections_.empty() && now - reconnections_.front() > kReconnectionWindow)
        reconnections_.pop_front();
    reconnections_.push_back(now);
    auto server = XcbServer::connect(options_.displayName);
    if (server && reconnections_.size() <= kMaximumReconnections) {
        attach(std::move(*server));
        drain();
        return;
    }
    lost_ = true;
    publishTrouble();
    if (options_.onConnectionLost)
        options_.onConnectionLost();
}

} // namespace varnel
