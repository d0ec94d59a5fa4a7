#pragma once

#include "base/TimePoint.h"
#include "keyboard/PanicKeys.h"
#include "keyboard/notation/KeyToken.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// A key event of the system, translated.
struct KeyboardEvent {
    enum class Type {
        keyDown,
        flagsChanged,
        /// Something else was done while modifiers are held (a key that went elsewhere, a click, a scroll):
        /// they are part of a chord from now on. Produces no token and is never swallowed.
        modifiersUsed,
        /// A key-down that this program itself posted. Passes whatever is answered and produces no token; it
        /// is told so that somebody who wonders why it triggered nothing can be answered.
        postedByUs,
    } type = Type::keyDown;
    KeyCode keyCode = 0;
    KeyFlags flags = 0;    ///< after the event for flagsChanged, during it for keyDown
    bool isRepeat = false; ///< keyDown only: an auto-repeat
    TimePoint time{}; ///< when it happened, on the loop's clock; the tap rules use this and not the clock
    /// A program posted it (on macOS: it has a source process; on X11: it comes from the server's XTEST
    /// keyboard). Such keys open sequences like any other, but never count as panic keys.
    bool isSynthetic = false;
};

enum class TapVerdict { pass, swallow };

/// Which keys matter to the listener now. A tap that sees every event anyway ignores it; one that must ask
/// the system for keys beforehand (X11) asks for just these.
struct KeyInterest {
    enum class Mode {
        watch,   ///< only `tokens` can be swallowed; everything else goes its way untouched
        capture, ///< a sequence is open: every key is offered before any application sees it
    } mode = Mode::watch;
    /// Live spellings, chords and bare modifiers; shared and never changed once published, so that comparing
    /// pointers tells whether they changed. Null is none.
    std::shared_ptr<const std::vector<std::string>> tokens;
    /// Chords that are to be offered in either mode although nothing is bound to them, and whose refusal by
    /// the system is no trouble; they pass unless the verdict says otherwise. Null is none.
    std::shared_ptr<const std::vector<std::string>> panicChords = {};
    friend bool operator==(const KeyInterest&, const KeyInterest&) = default;
};

/// An open tap. Main thread only.
class KeyboardEventTapSession {
public:
    virtual ~KeyboardEventTapSession() = default;
    /// Arms it, or re-arms it after the system disabled it; nothing once invalidated.
    virtual void enable() = 0;
    /// Closes it for good: nothing stays grabbed, frozen or pressed. Idempotent; may be called from inside
    /// the callback.
    virtual void invalidate() = 0;
    /// May be called at any time, also inside the callback (it then takes effect with that event's verdict).
    virtual void setInterest(const KeyInterest& interest) = 0;
    /// Which panic keys a hand holds down now, whoever has the keyboard and whatever was seen before. Asked
    /// inside the callback, when one of them is pressed with ctrl. None: the system cannot tell, and panic
    /// keys do nothing.
    [[nodiscard]] virtual std::optional<PanicKeySet> panicKeysHeldByHand() const { return std::nullopt; }
    /// One line for the status: empty when all is well, else what is in the way ("another program holds the
    /// keyboard").
    [[nodiscard]] virtual std::string trouble() const { return {}; }
    /// Whether another program has the keyboard to itself at this moment. May ask the system.
    [[nodiscard]] virtual bool isKeyboardHeldElsewhere() const { return false; }
};

/// Called on the main thread for each event; decides before it returns.
using KeyboardTapCallback = std::function<TapVerdict(const KeyboardEvent&)>;

class KeyboardEventTapSessionCreating {
public:
    virtual ~KeyboardEventTapSessionCreating() = default;
    /// Null when the system refuses. The callback is called until the session is invalidated.
    virtual std::unique_ptr<KeyboardEventTapSession> createSession(KeyboardTapCallback callback) = 0;
};

/// Told of a token; true swallows the event it came from. `isRepeat` never reaches it.
using KeyTokenHandler = std::function<bool(const std::string& token, TimePoint time)>;

/// What a monitor notices beside tokens. Each may be empty.
struct KeyboardNotices {
    /// The panic keys are held. Called before anything else is done with the press that completes them, which
    /// is then swallowed. May stop or destroy the monitor.
    std::function<void()> panicKeysHeld;
    /// A bare modifier was let go too late to count as a tap.
    std::function<void(Modifier modifier, Duration held, Duration limit, TimePoint time)> heldTooLong;
    /// This program posted the key of this token itself.
    std::function<void(const std::string& token, TimePoint time)> postedByUs;
};

/// Watches the keyboard and offers tokens to a handler. Main thread only.
class KeyboardMonitoring {
public:
    virtual ~KeyboardMonitoring() = default;
    /// False when no tap could be made (permission missing, no keyboard server). Replaces a running session.
    virtual bool start() = 0;
    virtual void stop() = 0;
    /// Swallows every key event for `duration`, without one until told otherwise.
    virtual void suppress(std::optional<Duration> duration) = 0;
    virtual void endSuppression() = 0;
    /// Which tokens matter from now on; kept for sessions that are started later.
    virtual void setInterest(const KeyInterest& interest) = 0;
    /// Kept for sessions that are started later.
    virtual void setNotices(KeyboardNotices) {}
    [[nodiscard]] virtual std::string trouble() const { return {}; }
    /// Whether another program has the keyboard to itself at this moment. May ask the system.
    [[nodiscard]] virtual bool isKeyboardHeldElsewhere() const { return false; }
};

class KeyboardMonitorCreating {
public:
    virtual ~KeyboardMonitorCreating() = default;
    virtual std::unique_ptr<KeyboardMonitoring> createMonitor(KeyTokenHandler handler) = 0;
};

} // namespace varnel
