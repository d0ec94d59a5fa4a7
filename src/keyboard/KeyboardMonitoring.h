#pragma once

#include "base/TimePoint.h"
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
    } type = Type::keyDown;
    KeyCode keyCode = 0;
    KeyFlags flags = 0;    ///< after the event for flagsChanged, during it for keyDown
    bool isRepeat = false; ///< keyDown only: an auto-repeat
    TimePoint time{}; ///< when it happened, on the loop's clock; the tap rules use this and not the clock
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
    /// One line for the status: empty when all is well, else what is in the way ("another program holds the
    /// keyboard").
    [[nodiscard]] virtual std::string trouble() const { return {}; }
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
    [[nodiscard]] virtual std::string trouble() const { return {}; }
};

class KeyboardMonitorCreating {
public:
    virtual ~KeyboardMonitorCreating() = default;
    virtual std::unique_ptr<KeyboardMonitoring> createMonitor(KeyTokenHandler handler) = 0;
};

} // namespace varnel
