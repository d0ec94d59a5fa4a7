#pragma once

#include "keyboard/StallWatchdog.h"
#include "keyboard/x11/CaptureGuard.h"
#include "keyboard/x11/CaptureProtocol.h"
#include "keyboard/x11/ServerClock.h"
#include "keyboard/x11/XcbCaptureRequests.h"
#include "keyboard/x11/XcbKeyboardEventTapSession.h"
#include "keyboard/x11/XcbServer.h"

#include <xcb/xinput.h>

#include <atomic>
#include <deque>
#include <expected>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace varnel {

/// What a session is made of: translates between the server, the protocol and the callback, and comes back
/// when the connection was cut. Lives on while one of its calls is under way. Main thread only.
class XcbTap final : public CaptureProtocol::Listener, public std::enable_shared_from_this<XcbTap> {
public:
    /// The error is a sentence.
    static std::expected<std::shared_ptr<XcbTap>, std::string>
    open(EventLoop& loop, const XcbKeyboardTapOptions& options, KeyboardTapCallback callback);
    ~XcbTap() override;

    void enable();
    void invalidate();
    void setInterest(const KeyInterest& interest);
    [[nodiscard]] std::string trouble() const;
    [[nodiscard]] bool isKeyboardHeldElsewhere() const;
    [[nodiscard]] std::optional<PanicKeySet> panicKeysHeldByHand() const;

    TapVerdict offer(const GrabbedKey& event) override;
    void offerTapRelease(std::uint8_t key, std::uint32_t time) override;
    void offerModifiersUsed(std::uint32_t time) override;

private:
    XcbTap(EventLoop& loop, const XcbKeyboardTapOptions& options, KeyboardTapCallback callback);

    void attach(XcbServer server);
    void detach();
    void connectionBroke();
    void reconnect();
    void closeDown();

    void wake();
    void beforeSleep();
    void drain();
    void handle(const xcb_generic_event_t& event);
    void handleInput(const xcb_ge_generic_event_t& event);
    void handleKey(const xcb_input_key_press_event_t& event);
    void handleCoreKey(const xcb_key_press_event_t& event);
    void handleRaw(const xcb_input_raw_key_press_event_t& event);
    void answer(GrabbedKey event, std::uint8_t locked);
    void tellOwnKey(const GrabbedKey& event);

    void waitUntilInForce();
    void refusalsChanged();
    void retryRefusedAfter(Duration time);
    void applyInterest();
    std::shared_ptr<const GrabPlan> planFor(const KeyInterest& interest);
    [[nodiscard]] std::vector<GrabCombination> panicCombinations() const;
    bool findFreePanicKeys();
    [[nodiscard]] std::vector<GrabCombination> refusedAndBound() const;
    void scheduleReissue(bool managerChanged);
    void reissue();
    void followUp();
    void dropIdleGrabAfter(Duration time);
    void dropIdleGrab();
    void call(const KeyboardEvent& event, TapVerdict& verdict);
    void setSocket(int descriptor);
    void publishTrouble();

    EventLoop& loop_;
    XcbKeyboardTapOptions options_;
    KeyboardTapCallback callback_;
    KeyInterest interest_;
    bool enabled_ = false;
    bool invalidated_ = false;
    bool lost_ = false;
    int depth_ = 0; ///< calls of ours that are under way
    std::deque<TimePoint> reconnections_;

    XcbServer server_;
    XcbCaptureRequests requests_;
    std::optional<CaptureProtocol> protocol_; ///< none while there is no connection
    ServerClock clock_;
    struct CachedPlan {
        std::shared_ptr<const std::vector<std::string>> tokens;
        bool withPanicKeys;
        std::shared_ptr<const GrabPlan> plan;
    };
    std::deque<CachedPlan> plans_;               ///< the latest first
    std::vector<GrabCombination> freePanicKeys_; ///< panic chords that are nobody else's, sorted
    bool managerChanged_ = false;
    bool hadTail_ = false;
    std::uint8_t locksBefore_ = 0;

    std::unique_ptr<CaptureGuard> guard_;
    bool guardWanted_ = false;
    bool guardTold_ = false;

    std::mutex socketMutex_;
    int socket_ = -1; ///< guarded by `socketMutex_`
    std::atomic<bool> frozen_{false};
    std::optional<StallWatchdog> watchdog_;

    Subscription readable_, afterWake_, beforeSleep_, reissueSoon_, reissueLater_, refusalsRetry_, tailTimer_,
        idleGrabTimer_;
};

} // namespace varnel
