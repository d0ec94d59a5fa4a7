#pragma once

#include "base/EventLoop.h"
#include "keyboard/KeyboardMonitoring.h"
#include "keyboard/notation/PostedKeyLedger.h"

#include <functional>
#include <memory>
#include <string>

namespace varnel {

/// What an X11 tap is made with. Everything named here must outlive the sessions.
struct XcbKeyboardTapOptions {
    std::string displayName;           ///< empty: as $DISPLAY says
    PostedKeyLedger* ledger = nullptr; ///< keys that the program posts itself; may be null
    /// Path of `varnel-keyguard`, which frees the keyboard when this process is stopped in mid-capture; empty
    /// does without.
    std::string guardProgram;
    /// The X server is gone and did not come back. Main thread, never inside a call into the session; the
    /// session is dead then.
    std::function<void()> onConnectionLost;
    /// `trouble()` of the session has a new answer. Main thread.
    std::function<void()> onTroubleChanged;
};

/// Opens taps on an X server with XInput 2.2 or later, each with a connection of its own. Main thread only.
///
/// While keys are only watched, nothing but the keys asked for ever reaches us, so that typing costs nobody
/// anything. A key asked for freezes the keyboard in the server until we have decided; while a sequence is
/// captured all keys do, one by one. Whatever ends our connection ends the capture: the server lets go of
/// every key by itself. A thread of its own frees the keyboard after one second if the main thread is stuck
/// meanwhile.
class XcbKeyboardEventTapSessionFactory final : public KeyboardEventTapSessionCreating {
public:
    XcbKeyboardEventTapSessionFactory(EventLoop& loop, XcbKeyboardTapOptions options);
    ~XcbKeyboardEventTapSessionFactory() override;

    /// Null when there is no server, or none that can do this; `error()` then says why. The session watches
    /// nothing until it is enabled and told an interest.
    std::unique_ptr<KeyboardEventTapSession> createSession(KeyboardTapCallback callback) override;

    /// Why the last `createSession` answered null, as a sentence; else empty.
    [[nodiscard]] const std::string& error() const { return error_; }

private:
    EventLoop& loop_;
    XcbKeyboardTapOptions options_;
    std::string error_;
};

} // namespace varnel
